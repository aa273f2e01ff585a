// SPDX-License-Identifier: GPL-3.0-or-later
// The stages of a run, in their order, with the stopwatch between them.
#include <chrono>
#include <csignal>
#include <string>
#include <vector>

#include "IO/cSequentialTimer.h"
#include "IO/message.h"
#include "IO/printHeader.h"
#include "IO/resources.h"
#include "Search/RecoverableScan.h"
#include "app/DynamicParallelForEach.h"
#include "app/StaticParallelForEach.h"
#include "app/VantorHexaust.h"
#include "app/VantorRefineConformationThread.h"
#include "app/VantorRotationThread.h"
#include "app/VantorThread.h"
#include "app/fail.h"
#include "app/interruption.h"
#include "app/scanStage.h"

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

    RecoverableScan recovery = openScan(fit, checkpointInterval);
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
    fit.resumeScan(recovery);
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
    runScan(scan, recovery, fit, angles);
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
    recovery.close(isComplete && !fit.hasMissingFiles());
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
