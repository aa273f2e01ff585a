// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_RESULTS_H
#define SELVANE_FIT_RESULTS_H

#include <cstddef>
#include <string>
#include <vector>

#include "fit/FitOptions.h"
#include "fit/Journal.h"
#include "fit/scanPoses.h"

/// The name of a pose's file without its extension: pose_01, with as many digits as the last one needs.
std::string poseName(std::size_t rank, std::size_t count);

/// The table of all places, best first. A line per place: rank, score, the rotation R row by row, the
/// translation t in angstrom of x' = R x + t from the model's file to the map's frame, and the file that
/// shows it. Numbers read back as they were.
/// @param files  of the first poses
std::string posesTable(const std::vector<FoundPose>& poses, const std::vector<std::string>& files);

/// What was done: version, command, settings, choices, warnings, seconds of the stages.
std::string logText(const FitOptions& options, const Journal& journal);

#endif
