// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_REPORT_SUMMARYJSON_H
#define SELVANE_REPORT_SUMMARYJSON_H

#include <string>

#include "Assessment/FitSummary.h"

/// The summary of a fit for programs, with a line end: an object of
///   version, command
///   map         path, sha256, voxels [3], voxel_size [3], origin [3], level
///   model       path, sha256, atoms, atoms_used, radius_of_gyration
///   settings    resolution, scan_resolution, voxel_size, step, rotations, score, threads
///   confidence  "high", "medium" or "low"; reason, a sentence
///   poses       best first, of each rank (from 1), confidence, local_correlation, correlation, z, gap,
///               score (of the scan), mean_density, inside, equivalent_to (the rank of the first that is
///               equivalent, or null), hits, rotation [3][3], translation [3], amplitudes
///   copies      ranks of poses that stand beside each other
///   hand        a text, or null
///   warnings, seconds (of each stage), cpu_seconds, peak_bytes
/// Lengths are in angstrom, angles in degrees. A pose takes x of the model's file to rotation x + translation
/// in the frame of the map. A number that is none is null, bytes that are no UTF-8 become U+FFFD.
std::string summaryJson(const FitSummary& summary);

#endif
