// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_REPORT_POSESCSV_H
#define SELVANE_REPORT_POSESCSV_H

#include <string>
#include <vector>

#include "Assessment/AssessedPose.h"

/// The table of all places, best first, a line each: rank, confidence, local_correlation, correlation, z,
/// gap, score, mean_density, inside, equivalent_to, hits, the rotation R row by row, the translation t of x'
/// = R x + t from the model's file to the map's frame, amplitudes a1, a2, ... where there are any, and the
/// file that shows it. equivalent_to is the rank of the first place that is equivalent, or nothing. Numbers
/// read back as they were.
/// @param files  of the first poses; their names hold no comma
std::string posesCsv(const std::vector<AssessedPose>& poses, const std::vector<std::string>& files);

#endif
