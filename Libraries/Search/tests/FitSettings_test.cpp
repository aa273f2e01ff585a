// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Math/cGrid.h"
#include "Search/FitSettings.h"

namespace {

/// The option at fault; empty if there is none.
std::string faultOf(const std::function<void(FitSettings&)>& change) {
    FitSettings settings;
    change(settings);
    try {
        settings.check();
    } catch (const SettingError& error) {
        return error.option();
    }
    return "";
}

TEST(FitSettings, DefaultsAreUsable) {
    EXPECT_EQ(faultOf([](FitSettings&) {}), "");
}

TEST(FitSettings, NamesTheOptionThatCannotBeUsed) {
    const double infinite = std::numeric_limits<double>::infinity();
    const std::vector<std::pair<std::string, std::function<void(FitSettings&)>>> faults = {
        {"nthread", [](FitSettings& s) { s.workers = 0; }},
        {"nmodes", [](FitSettings& s) { s.modes = 1UL << 31; }},
        {"nsolutions", [](FitSettings& s) { s.solutions = 0; }},
        {"nclusters", [](FitSettings& s) { s.clusters = 0; }},
        {"nclusters",
         [](FitSettings& s) {
             s.clustering = true;
             s.solutions = 1 << 16;
             s.clusters = 1 << 15;
         }},
        {"cutoff", [](FitSettings& s) { s.cutoff = 0.0; }},
        {"stiffness", [](FitSettings& s) { s.stiffness = std::nan(""); }},
        {"maxrmsd", [](FitSettings& s) { s.maxRmsd = 1e200; }},
        {"sigma", [](FitSettings& s) { s.sigma = 75.0; }},
        {"sigma", [](FitSettings& s) { s.sigma = 0.0; }},
        {"filtersigma", [&](FitSettings& s) { s.filterSigmas = infinite; }},
        {"dangle", [](FitSettings& s) { s.step = -1.0; }},
        {"dangle", [](FitSettings& s) { s.step = 1e-9; }},
        {"score",
         [](FitSettings& s) {
             s.score = ScanScore::Local;
             s.multistep = true;
         }},
        {"score",
         [](FitSettings& s) {
             s.score = ScanScore::Local;
             s.varianceFloor = std::nan("");
         }},
        {"clusterThreshold", [&](FitSettings& s) { s.clusterThreshold = infinite; }},
    };
    for (const auto& [option, change] : faults) {
        EXPECT_EQ(faultOf(change), option);
    }
}

TEST(FitSettings, ProductOfPosesAndClustersCountsOnlyWhenClustering) {
    EXPECT_EQ(faultOf([](FitSettings& s) {
                  s.solutions = 1 << 16;
                  s.clusters = 1 << 15;
              }),
              "");
}

TEST(FitSettings, ResolvesWidthAndStepFromTheMap) {
    const unsigned int sizes[3] = {21, 101, 41};
    const cGrid map(cBBox(cVector3(0, 0, 0), cVector3(40, 250, 120)), sizes); // cells of 2, 2.5 and 3
    FitSettings settings;
    settings.resolve(map);
    EXPECT_DOUBLE_EQ(settings.sigma.value(), 3.0);
    EXPECT_NEAR(settings.step.value(), 360.0 / std::cbrt(101.0 * 4.0 * std::acos(-1.0)), 1e-12);
    EXPECT_GT(settings.rotationCount(), 0.0);
}

TEST(FitSettings, KeepsWhatWasGiven) {
    const unsigned int sizes[3] = {11, 11, 11};
    FitSettings settings;
    settings.sigma = 1.25;
    settings.step = 17.0;
    settings.clusterThreshold = 0.0;
    settings.resolve(cGrid(cBBox(cVector3(0, 0, 0), cVector3(40, 40, 40)), sizes));
    settings.resolve({{0.0, 0.0, 0.0}, {8.0, 0.0, 0.0}});
    EXPECT_EQ(settings.sigma, 1.25);
    EXPECT_EQ(settings.step, 17.0);
    EXPECT_EQ(settings.clusterThreshold, 0.0);
}

TEST(FitSettings, ResolvesTheThresholdOfClustersFromTheModel) {
    FitSettings settings;
    settings.resolve({{-3.0, 1.0, 0.0}, {3.0, 1.0, 0.0}, {0.0, 5.0, 0.0}, {0.0, -3.0, 0.0}});
    EXPECT_NEAR(settings.clusterThreshold.value(), std::sqrt((9.0 + 9.0 + 16.0 + 16.0) / 4.0), 1e-12);
}

TEST(FitSettings, CapacityIsMultipliedByTheClustersThatAreSought) {
    FitSettings settings;
    settings.solutions = 30;
    settings.clusters = 4;
    EXPECT_EQ(settings.capacity(), 30);
    settings.clustering = true;
    EXPECT_EQ(settings.capacity(), 120);
}

} // namespace
