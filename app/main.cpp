// SPDX-License-Identifier: GPL-3.0-or-later
// The stages of a run, in their order, with the stopwatch between them.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "IO/cSequentialTimer.h"
#include "IO/message.h"
#include "IO/printHeader.h"
#include "app/Checkpoint.h"
#include "app/CheckpointLock.h"
#include "app/DynamicParallelForEach.h"
#include "app/ScanCheckpoints.h"
#include "app/StaticParallelForEach.h"
#include "app/VantorHexaust.h"
#include "app/VantorRefineConformationThread.h"
#include "app/VantorRotationThread.h"
#include "app/VantorThread.h"
#include "app/fail.h"
#include "app/interruption.h"
#include "app/resources.h"

// The workers are the parallelism of a run; a matrix library with threads of its own would only multiply
// them.
extern "C" void openblas_set_num_threads(int count);

namespace {

constexpr int lineWidth = 80;

// The tests build the program with a shorter interval: it is no option of a run.
#ifndef SELVANE_CHECKPOINT_MILLISECONDS
#define SELVANE_CHECKPOINT_MILLISECONDS 60000
#endif
constexpr std::chrono::milliseconds checkpointInterval{SELVANE_CHECKPOINT_MILLISECONDS};

/// Ends a run that cannot be resumed before it costs time, and tells of a scan that this run would lose.
void checkForCheckpoint(const VantorHexaust& fit, const CheckpointLock& lock) {
    const std::string path = fit.getCheckpointPath();
    const bool isResumed = fit.settings().resume;
    if (lock.isOfAnotherRun()) {
        const std::string text = path + " is in use by another run with the same --odir";
        if (isResumed) {
            fail(text + ". Wait for its end, or give another --odir without --resume.");
        }
        warn(text + ". This run takes no checkpoints, and whichever ends last leaves its results.");
        return;
    }
    if (!isResumed) {
        if (checkpoint::exists(path)) {
            warn(path +
                 " is left of an interrupted run. This run begins anew and will replace it if it takes "
                 "more than a minute; the command of that run with --resume would continue it.");
        }
        return;
    }
    try {
        checkpoint::require(path);
    } catch (const checkpoint::Error& error) {
        fail(error.what());
    }
    interruption::setCheckpoint(path);
}

/// Leaves out what the checkpoint has, if the run goes on from one.
template <class Scan>
void skipDone(Scan& scan, const std::vector<unsigned long>& done, std::size_t rotations,
              const VantorHexaust& fit) {
    const std::string path = fit.getCheckpointPath();
    if (!scan.skip(done)) {
        fail(path + ": the checkpoint is damaged. Remove it and start from the beginning without --resume.");
    }
    if (fit.settings().resume) {
        const unsigned long sum = std::accumulate(done.begin(), done.end(), 0UL);
        warn("going on from " + path + ", where " + std::to_string(sum) + " of " + std::to_string(rotations) +
             " rotations are done");
    }
}

ScanCheckpoints::Steps checkpointSteps(const VantorHexaust& fit) {
    const std::string path = fit.getCheckpointPath();
    return {[&fit](unsigned long worker, unsigned long done) { return fit.encodeWorker(worker, done); },
            [path, identity = fit.checkpointIdentity()](const std::vector<std::string>& parts) {
                checkpoint::write(path, identity, parts);
            },
            [](const std::string& reason) {
                warn("no checkpoint could be written (" + reason +
                     "); the scan goes on, but an interruption loses what it has done since the last one.");
            }};
}

/// A complete run has no use for its checkpoint; one that left something undone can be resumed from it.
void releaseCheckpoint(const VantorHexaust& fit, bool isComplete, bool isOwn) {
    const std::string path = fit.getCheckpointPath();
    if (isComplete && isOwn) {
        std::remove(path.c_str());
        interruption::setCheckpoint("");
    } else if (isOwn) {
        warn("this run is not complete; the same command with --resume goes on from " + path);
    }
}

/// Ends a run whose workers could not be started at all: empty results would take the place of earlier ones.
void requireScan(const std::vector<bool>& started, const std::vector<unsigned long>& resumed) {
    const bool isStarted = std::find(started.begin(), started.end(), true) != started.end();
    if (!isStarted && std::accumulate(resumed.begin(), resumed.end(), 0UL) == 0) {
        fail("no worker could be started for the scan, so no solutions are written and earlier ones stay as "
             "they "
             "are. Give the run more memory or a higher limit of processes (ulimit -v, -u, -s), or fewer "
             "workers "
             "(--nthread).");
    }
}

/// Runs one worker per buffer; what a worker that could not be started leaves undone is done here.
template <class Thread, class Step>
void runOnAllWorkers(ParallelRunner<Thread>& runner, Vantor& fit, Step step) {
    for (auto& thread : runner.m_threads) {
        thread->m_fit = &fit;
    }
    const std::vector<bool> done = runner.run();
    for (unsigned long i = 0; i < done.size(); ++i) {
        if (!done[i]) {
            (fit.*step)(i);
        }
    }
}

int run(int argc, char** argv) {
    cSequentialTimer timer;
    VantorHexaust fit(argc, argv, lineWidth);
    cInfo& info = fit.info();
    const auto save = [&] { info.saveTimeInterval(timer.getTimeInterval()); };
    const unsigned long workers = fit.getNThread();

    const CheckpointLock lock(fit.getCheckpointPath());
    checkForCheckpoint(fit, lock);
    fit.tryOutputDirectory();
    printHeader(lineWidth);
    fit.initThreaded();
    fit.loadEdm();
    save();
    fit.loadPdb();
    save();
    // Deliberate: the silent stages have no rows, so that their intervals take the place of the model's.
    info.m_silent = true;
    fit.buildHessian();
    save();
    fit.performNMA();
    save();
    info.m_silent = false;
    fit.computeStructureEdm(timer);
    save();
    fit.zeroPadd();
    const std::vector<unsigned long> done = fit.resumeScan();
    save();

    info.printInfo(" Zero padding the local grids and densities ");
    ParallelRunner<VantorZeroPaddThread> padding(workers);
    runOnAllWorkers(padding, fit, &Vantor::threadedZeroPadd);
    save();

    fit.initCrossCorrelation(true);
    save();

    info.printInfo(" Initializing the local Cross Correlation function ");
    ParallelRunner<VantorInitCrossCorrelationThread> initialization(workers);
    runOnAllWorkers(initialization, fit, &Vantor::threadedInitCrossCorrelation);
    save();

    const auto angles = fit.getEulerAngles();
    save();

    if (fit.settings().multistep) {
        info.printInfo(" Optimizing the sof-max solution ");
        fit.initThreadedRefineTopConformations(); // for the trust radius of the scan
    }
    info.printInfo((" Scaning " + std::to_string(angles.size()) + " rotations ").c_str());
    // Deliberate: both loops live on to the end, and the line ends of their bars come behind the table.
    StaticParallelForEach<VantorRotationThread> scan(workers, angles.size(), "rotations");
    skipDone(scan, done, angles.size(), fit);
    ScanCheckpoints checkpoints(checkpointInterval, done, checkpointSteps(fit));
    for (auto& thread : scan.m_threads) {
        thread->setContext(&fit, angles.data());
        thread->setCheckpoints(&checkpoints);
    }
    if (!lock.isOfAnotherRun()) {
        checkpoints.start();
    }
    const std::vector<bool> started = scan.run();
    checkpoints.stop();
    requireScan(started, done);
    save();

    fit.mergeConformationOpt();
    save();
    if (fit.settings().clustering) {
        fit.clusterSolutions();
        save();
    }

    info.printInfo(" Saving solutions ");
    fit.holdSolutions(); // two files, of one run or none
    fit.saveTopSolution("Rigid_solution");
    save();

    info.printInfo(" Optimizing the top solutions ");
    fit.initThreadedRefineTopConformations();
    const unsigned long tasks = fit.settings().clustering ? fit.getNClusteres() : fit.getNSolutions();
    DynamicParallelForEach<VantorRefineConformationThread> refinement(workers, tasks, "poses");
    for (auto& thread : refinement.m_threads) {
        thread->m_fit = &fit;
    }
    refinement.run();
    save();
    info.printInfo("non-convex problem", fit.nonConvexPercentage(tasks), "%");
    if (refinement.allDone()) {
        fit.tellUnmovedPoses(tasks);
    }

    info.printInfo(" Saving optimized solutions ");
    fit.saveTopSolution("Solution");
    fit.placeSolutions();
    save();

    info.setTotalTime(timer.getTime());
    info.printTimings();
    const bool isComplete = !fit.hasIncompleteFiles() && scan.allDone() && refinement.allDone();
    releaseCheckpoint(fit, isComplete && !fit.hasMissingFiles(),
                      checkpoints.isStored() || fit.settings().resume);
    return isComplete ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    resources::spareAddressSpace(argv);
    installTerminateHandler();
    setMessageSink(warn);
    installReportCheck();
    interruption::install();
    // A file that would grow beyond the limit of the user fails as one on a full disk, with a message.
    std::signal(SIGXFSZ, SIG_IGN);
    openblas_set_num_threads(1);
    return run(argc, argv);
}
