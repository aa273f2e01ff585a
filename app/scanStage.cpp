// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/scanStage.h"

#include <algorithm>

#include "app/VantorHexaust.h"
#include "app/fail.h"
#include "app/interruption.h"

RecoverableScan openScan(const VantorHexaust& fit, std::chrono::milliseconds interval) {
    try {
        return RecoverableScan(
            {fit.getCheckpointPath(), fit.settings().resume, interval, warn, interruption::setCheckpoint});
    } catch (const checkpoint::Error& error) {
        fail(error.what());
    }
}

void runScan(StaticParallelForEach<VantorRotationThread>& scan, RecoverableScan& recovery, VantorHexaust& fit,
             const std::vector<std::array<double, 3>>& angles) {
    try {
        recovery.start(angles.size());
    } catch (const checkpoint::Error& error) {
        fail(error.what());
    }
    scan.skip(recovery.done());
    for (auto& thread : scan.m_threads) {
        thread->setContext(&fit, angles.data());
        thread->setCheckpoints(&recovery.clock());
    }
    const std::vector<bool> started = scan.run();
    recovery.stop();
    const bool isStarted = std::find(started.begin(), started.end(), true) != started.end();
    if (!isStarted && recovery.doneInAll() == 0) {
        fail("no worker could be started for the scan, so no solutions are written and earlier ones stay as "
             "they are. Give the run more memory or a higher limit of processes (ulimit -v, -u, -s), or "
             "fewer workers (--nthread).");
    }
}
