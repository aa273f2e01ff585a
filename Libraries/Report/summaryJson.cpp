// SPDX-License-Identifier: GPL-3.0-or-later
#include "Report/summaryJson.h"

#include <nlohmann/json.hpp>

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const cVector3& v) {
    return Json::array({v.x, v.y, v.z});
}

Json jsonOf(const cMatrix33& m) {
    Json rows = Json::array();
    for (int row = 0; row < 3; ++row) {
        rows.push_back(jsonOf(cVector3(m(row, 0), m(row, 1), m(row, 2))));
    }
    return rows;
}

Json jsonOf(const MapSummary& map) {
    Json json;
    json["path"] = map.path;
    json["sha256"] = map.sha256;
    json["voxels"] = map.voxels;
    json["voxel_size"] = jsonOf(map.voxelSize);
    json["origin"] = jsonOf(map.origin);
    json["level"] = map.level;
    return json;
}

Json jsonOf(const ModelSummary& model) {
    Json json;
    json["path"] = model.path;
    json["sha256"] = model.sha256;
    json["atoms"] = model.atoms;
    json["atoms_used"] = model.atomsUsed;
    json["radius_of_gyration"] = model.radiusOfGyration;
    return json;
}

Json jsonOf(const SettingsSummary& settings) {
    Json json;
    json["resolution"] = settings.resolution;
    json["scan_resolution"] = settings.scanResolution;
    json["voxel_size"] = settings.voxelSize;
    json["step"] = settings.step;
    json["rotations"] = settings.rotations;
    json["score"] = settings.score;
    json["threads"] = settings.threads;
    return json;
}

Json jsonOf(const AssessedPose& pose, std::size_t index) {
    Json json;
    json["rank"] = index + 1;
    json["confidence"] = textOf(pose.confidence);
    json["local_correlation"] = pose.scores.localCorrelation;
    json["correlation"] = pose.scores.correlation;
    json["z"] = pose.z;
    json["gap"] = pose.gap;
    json["score"] = pose.scanScore;
    json["mean_density"] = pose.scores.meanDensity;
    json["inside"] = pose.scores.inside;
    json["equivalent_to"] = pose.equivalentTo == index ? Json() : Json(pose.equivalentTo + 1);
    json["hits"] = pose.hits;
    json["rotation"] = jsonOf(pose.motion.rotation);
    json["translation"] = jsonOf(pose.motion.translation);
    json["amplitudes"] = pose.amplitudes;
    return json;
}

void addAssessment(const Assessment& assessment, Json& json) {
    json["confidence"] = textOf(assessment.confidence);
    json["reason"] = assessment.reason;
    json["poses"] = Json::array();
    for (std::size_t n = 0; n < assessment.poses.size(); ++n) {
        json["poses"].push_back(jsonOf(assessment.poses[n], n));
    }
    json["copies"] = Json::array();
    for (const std::size_t copy : assessment.copies) {
        json["copies"].push_back(copy + 1);
    }
}

} // namespace

std::string summaryJson(const FitSummary& summary) {
    Json json;
    json["version"] = summary.version;
    json["command"] = summary.command;
    json["map"] = jsonOf(summary.map);
    json["model"] = jsonOf(summary.model);
    json["settings"] = jsonOf(summary.settings);
    addAssessment(summary.assessment, json);
    json["hand"] = summary.hand ? Json(*summary.hand) : Json();
    json["warnings"] = summary.warnings;
    json["seconds"] = Json::object();
    for (const auto& [stage, seconds] : summary.seconds) {
        json["seconds"][stage] = json["seconds"].value(stage, 0.0) + seconds; // a stage may come again
    }
    json["cpu_seconds"] = summary.cpuSeconds;
    json["peak_bytes"] = summary.peakBytes;
    constexpr int indent = 2;
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}
