// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_SCANPOSES_H
#define SELVANE_FIT_SCANPOSES_H

#include <cstddef>
#include <vector>

#include "Math/RigidMotion.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/PreparedModel.h"
#include "Preparation/ScanChoice.h"
#include "Search/SearchObserver.h"

/// A place of the model.
struct FoundPose {
    double score = 0.0; ///< of the scan, by which poses are ranked
    RigidMotion motion;
};

/// How a scan is made, here and by the command line for the same files.
struct ScanLimits {
    static constexpr double everyValue =
        -1e6; ///< standard deviations below the mean at which a filter keeps all
    static constexpr int places = 100;
    static constexpr int solutions = 200; ///< per place, before neighbours are joined
    /// Two poses of which the model's atoms are nearer than this on average count as one place, angstrom.
    static double placeDistance(const ScanChoice& choice) { return choice.resolution / 2.0; }
};

/// Scores every rotation of an even set at every translation.
/// @param threads  at least 1
/// @return motions in the prepared frame, of the model with its middle at the middle of the map, best score
///         first; none whose middle is farther out than the map has room for
/// @throws std::invalid_argument, std::length_error for what no search can be made with
std::vector<FoundPose> scanPoses(const PreparedMap& map, const PreparedModel& model, const ScanChoice& choice,
                                 std::size_t threads, SearchObserver& observer);

#endif
