// SPDX-License-Identifier: GPL-3.0-or-later
// The stages of a run, in their order, with the stopwatch between them.
#include <csignal>
#include <memory>
#include <string>

#include "IO/cSequentialTimer.h"
#include "IO/printHeader.h"
#include "app/DynamicParallelForEach.h"
#include "app/StaticParallelForEach.h"
#include "app/VantorHexaust.h"
#include "app/VantorRefineConformationThread.h"
#include "app/VantorRotationThread.h"
#include "app/VantorThread.h"
#include "app/fail.h"

// The workers are the parallelism of a run; a matrix library with threads of its own would only multiply
// them.
extern "C" void openblas_set_num_threads(int count);

namespace {

constexpr int lineWidth = 80;

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

    printHeader(lineWidth);
    fit.initThreaded();
    fit.loadEdm();
    save();
    fit.loadPdb();
    save();
    info.m_silent = true;
    fit.buildHessian();
    save();
    fit.performNMA();
    save();
    info.m_silent = false;
    fit.computeStructureEdm(timer);
    save();
    fit.zeroPadd();
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

    if (fit.workflow().m_multistep.getValue()) {
        info.printInfo(" Optimizing the sof-max solution ");
        fit.initThreadedRefineTopConformations(); // for the trust radius of the scan
    }
    info.printInfo((" Scaning " + std::to_string(angles.size()) + " rotations ").c_str());
    StaticParallelForEach<VantorRotationThread> scan(workers, angles.size(), "rotations");
    for (auto& thread : scan.m_threads) {
        thread->setContext(&fit, angles.data());
    }
    scan.run();
    save();

    fit.mergeConformationOpt();
    save();
    if (fit.workflow().useClustering()) {
        fit.clusterSolutions();
        save();
    }

    info.printInfo(" Saving solutions ");
    fit.saveTopSolution("Rigid_solution");
    save();

    info.printInfo(" Optimizing the top solutions ");
    fit.initThreadedRefineTopConformations();
    const unsigned long tasks = fit.workflow().useClustering() ? fit.getNClusteres() : fit.getNSolutions();
    DynamicParallelForEach<VantorRefineConformationThread> refinement(workers, tasks, "poses");
    for (auto& thread : refinement.m_threads) {
        thread->m_fit = &fit;
    }
    refinement.run();
    save();
    info.printInfo("non-convex problem", fit.nonConvexPercentage(tasks), "%");

    info.printInfo(" Saving optimized solutions ");
    fit.saveTopSolution("Solution");
    save();

    info.setTotalTime(timer.getTime());
    info.printTimings();
    return fit.hasIncompleteFiles() || !scan.allDone() || !refinement.allDone() ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    installTerminateHandler();
    // A file that would grow beyond the limit of the user fails as one on a full disk, with a message.
    std::signal(SIGXFSZ, SIG_IGN);
    openblas_set_num_threads(1);
    return run(argc, argv);
}
