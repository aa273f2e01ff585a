// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Report/summaryJson.h"
#include "Report/tests/summaryOfTwo.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

std::vector<std::string> keysOf(const Json& json) {
    std::vector<std::string> keys;
    for (const auto& item : json.items()) {
        keys.push_back(item.key());
    }
    return keys;
}

using Keys = std::vector<std::string>;

} // namespace

TEST(SummaryJson, HasTheKeysThatProgramsReadInTheirOrder) {
    const Json json = Json::parse(summaryJson(summaryOfTwo()));
    EXPECT_EQ(keysOf(json),
              (Keys{"version", "command", "map", "model", "settings", "confidence", "reason", "poses",
                    "copies", "hand", "warnings", "seconds", "cpu_seconds", "peak_bytes"}));
    EXPECT_EQ(keysOf(json["map"]), (Keys{"path", "sha256", "voxels", "voxel_size", "origin", "level"}));
    EXPECT_EQ(keysOf(json["model"]), (Keys{"path", "sha256", "atoms", "atoms_used", "radius_of_gyration"}));
    EXPECT_EQ(keysOf(json["settings"]),
              (Keys{"resolution", "scan_resolution", "voxel_size", "step", "rotations", "score", "threads"}));
    EXPECT_EQ(keysOf(json["poses"][0]), (Keys{"rank", "confidence", "local_correlation", "correlation", "z",
                                              "gap", "score", "mean_density", "inside", "equivalent_to",
                                              "hits", "rotation", "translation", "amplitudes"}));
    EXPECT_EQ(keysOf(json["seconds"]), (Keys{"reading", "scan"}));
}

TEST(SummaryJson, GivesValuesBackAsTheyWere) {
    const Json json = Json::parse(summaryJson(summaryOfTwo()));
    EXPECT_EQ(json["map"]["voxels"], Json::array({10, 11, 12}));
    EXPECT_EQ(json["map"]["origin"], Json::array({-3.0, 0.1, 4.0}));
    EXPECT_EQ(json["model"]["path"], "b \"quoted\".pdb");
    EXPECT_EQ(json["settings"]["rotations"], 1839);
    EXPECT_EQ(json["confidence"], "high");
    EXPECT_EQ(json["poses"][0]["rank"], 1);
    EXPECT_TRUE(json["poses"][0]["equivalent_to"].is_null());
    EXPECT_EQ(json["poses"][1]["equivalent_to"], 1);
    EXPECT_EQ(json["poses"][0]["local_correlation"], 0.83);
    EXPECT_EQ(json["poses"][0]["score"], 0.4);
    EXPECT_EQ(json["poses"][0]["rotation"],
              Json::array({{0.0, -1.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 0.0, 1.0}}));
    EXPECT_EQ(json["poses"][0]["translation"], Json::array({0.1, 2.0 / 3.0, -7.0}));
    EXPECT_EQ(json["poses"][0]["amplitudes"], Json::array());
    EXPECT_EQ(json["poses"][1]["amplitudes"], Json::array({1.5, -0.25}));
    EXPECT_EQ(json["copies"], Json::array({1, 2}));
    EXPECT_TRUE(json["hand"].is_null());
    EXPECT_EQ(json["warnings"], Json::array({"first", "second"}));
    EXPECT_EQ(json["seconds"]["scan"], 2.25);
    EXPECT_EQ(json["peak_bytes"], 123456789);
}

TEST(SummaryJson, StaysJsonForAnEmptySummaryAndForOddValues) {
    EXPECT_EQ(Json::parse(summaryJson(FitSummary()))["poses"], Json::array());
    FitSummary odd = summaryOfTwo();
    odd.hand = "kept";
    odd.map.level = std::numeric_limits<double>::quiet_NaN();
    odd.model.path = "\xff\xfe.pdb";
    const Json json = Json::parse(summaryJson(odd));
    EXPECT_TRUE(json["map"]["level"].is_null());
    EXPECT_EQ(json["hand"], "kept");
    EXPECT_EQ(json["model"]["path"], "\xEF\xBF\xBD\xEF\xBF\xBD.pdb");
}

TEST(SummaryJson, AddsUpAStageThatCameTwice) {
    FitSummary summary = summaryOfTwo();
    summary.seconds = {{"scan", 1.5}, {"judging", 0.25}, {"scan", 2.0}};
    const Json json = Json::parse(summaryJson(summary));
    EXPECT_EQ(json["seconds"], Json({{"scan", 3.5}, {"judging", 0.25}}));
}
