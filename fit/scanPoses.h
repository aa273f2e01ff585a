// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_SCANPOSES_H
#define SELVANE_FIT_SCANPOSES_H

#include <cstddef>
#include <optional>
#include <vector>

#include "Math/RigidMotion.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/PreparedModel.h"
#include "Preparation/ScanChoice.h"
#include "Search/SearchObserver.h"
#include "fit/FitOptions.h"

/// A place of the model.
struct FoundPose {
    double score = 0.0;              ///< of the scan, by which the poses of a list are ranked
    FitScore list = FitScore::Local; ///< that the score is of
    RigidMotion motion;
};

/// How a scan is made, here and by the command line for the same files.
struct ScanLimits {
    static constexpr double everyValue =
        -1e6;                             ///< standard deviations below the mean at which a filter keeps all
    static constexpr int places = 100;    ///< at least
    static constexpr int solutions = 200; ///< per place, before neighbours are joined
    /// Two poses of which the model's atoms are nearer than this on average count as one place, angstrom.
    static double placeDistance(const ScanChoice& choice) { return choice.resolution / 2.0; }
};

struct ScanRequest {
    FitScore score = FitScore::Local;
    std::optional<double> nearDegrees; ///< from the model's orientation in its file; none: every orientation
    std::size_t threads = 1;           ///< at least 1
    int places = ScanLimits::places;   ///< that are sought, for each list
};

/// How many rotations are scored for a request.
std::size_t rotationCount(const PreparedModel& model, const ScanChoice& choice,
                          const std::optional<double>& nearDegrees);

/// Scores every rotation of an even set at every translation. With FitScore::Local there are two lists, that
/// of the local score and that of the overlap of the same fields, Laplacian: where one of them is misled the
/// other need not be. A place may be in both.
/// @return motions in the prepared frame, of the model with its middle at the middle of the map, best score
///         of each list first, one list behind the other; none whose middle is farther out than the map has
///         room for
/// @throws std::invalid_argument, std::length_error for what no search can be made with
std::vector<FoundPose> scanPoses(const PreparedMap& map, const PreparedModel& model, const ScanChoice& choice,
                                 const ScanRequest& request, SearchObserver& observer);

#endif
