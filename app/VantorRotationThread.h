// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTORROTATIONTHREAD_H
#define SELVANE_APP_VANTORROTATIONTHREAD_H

#include <array>

#include "app/StaticForEachThread.h"

class ScanCheckpoints;
class Vantor;

/// A worker of the scan: for each rotation of its range it rotates the map, correlates, and offers the voxels
/// to its own set of candidates.
class VantorRotationThread : public StaticForEachThread {
public:
    using StaticForEachThread::StaticForEachThread;

    /// @param angles all rotations of the scan; not owned
    void setContext(Vantor* fit, const std::array<double, 3>* angles);
    /// @param checkpoints  to be told of each rotation that is done; not owned. Without them none is.
    void setCheckpoints(ScanCheckpoints* checkpoints);
    void runInternal() override;
    void doStep(unsigned long task) override;

private:
    const std::array<double, 3>* m_angles = nullptr;
    ScanCheckpoints* m_checkpoints = nullptr;
    Vantor* m_fit = nullptr;
};

#endif
