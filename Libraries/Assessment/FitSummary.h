// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_FITSUMMARY_H
#define SELVANE_ASSESSMENT_FITSUMMARY_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Assessment/assessPoses.h"
#include "Math/cVector3.h"

struct MapSummary {
    std::string path, sha256;
    std::array<std::size_t, 3> voxels{}; ///< along x, y, z
    cVector3 voxelSize = cVector3(0.0);  ///< angstrom
    cVector3 origin = cVector3(0.0);     ///< place of the first voxel, angstrom
    double level = 0.0;
};

struct ModelSummary {
    std::string path, sha256;
    std::size_t atoms = 0;
    std::size_t atomsUsed = 0; ///< in the search
    double radiusOfGyration = 0.0;
};

struct SettingsSummary {
    double resolution = 0.0;     ///< of the map, angstrom
    double scanResolution = 0.0; ///< angstrom
    double voxelSize = 0.0;      ///< of the scan, angstrom
    double step = 0.0;           ///< degrees
    std::size_t rotations = 0;
    std::string score; ///< by which the scan ranks
    std::size_t threads = 0;
};

/// All that is told about a fit when it is done.
struct FitSummary {
    std::string version, command;
    MapSummary map;
    ModelSummary model;
    SettingsSummary settings;
    Assessment assessment;
    std::optional<std::string> hand; ///< of the map, where it was asked for
    std::vector<std::string> warnings;
    std::vector<std::pair<std::string, double>> seconds; ///< of each stage, in their order
    double cpuSeconds = 0.0;
    std::size_t peakBytes = 0;
};

#endif
