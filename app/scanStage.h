// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_SCANSTAGE_H
#define SELVANE_APP_SCANSTAGE_H

#include <array>
#include <chrono>
#include <vector>

#include "Search/RecoverableScan.h"
#include "app/StaticParallelForEach.h"
#include "app/VantorRotationThread.h"

class VantorHexaust;

/// Takes up the checkpoint of the run's directory, or ends a run that cannot be resumed before it costs time.
/// From now on a signal that ends the run tells of the checkpoint that stands.
RecoverableScan openScan(const VantorHexaust& fit, std::chrono::milliseconds interval);

/// Runs the rotations that the checkpoint does not have. Ends the run if the checkpoint is of another scan,
/// or if there is nothing that results could be made of: empty ones would take the place of earlier ones.
/// @param scan  of one task per rotation
void runScan(StaticParallelForEach<VantorRotationThread>& scan, RecoverableScan& recovery, VantorHexaust& fit,
             const std::vector<std::array<double, 3>>& angles);

#endif
