// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VantorHexaust.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "IO/resources.h"
#include "NMAEngine/NormalModeEngine.h"
#include "Search/MultistepScanMethod.h"
#include "app/fail.h"

namespace {

bool isMoved(const FlexibleFitConformation& before, const FlexibleFitConformation& after) {
    const auto increments = [](const FlexibleFitConformation& pose) {
        return std::array<double, 6>{pose.m_ddx,    pose.m_ddy,   pose.m_ddz,
                                     pose.m_dalpha, pose.m_dbeta, pose.m_dgamma};
    };
    return increments(before) != increments(after) ||
           !std::equal(before.m_eta.begin(), before.m_eta.end(), after.m_eta.begin(), after.m_eta.end());
}

} // namespace

VantorHexaust::VantorHexaust(int argc, char** argv, int width) : Vantor(argc, argv, width) {}

VantorHexaust::~VantorHexaust() = default;

/// Ends the run if not even the empty per-worker members fit; what they hold later is checked with the grids.
void VantorHexaust::checkWorkerCount() const {
    constexpr std::size_t bytesPerWorker =
        sizeof(decltype(m_localEulerAngles)::value_type) + sizeof(decltype(m_workers)::value_type) +
        sizeof(decltype(m_localConformations)::value_type) + sizeof(decltype(m_localEdmValues)::value_type) +
        sizeof(decltype(m_localTopConformations)::value_type);
    if (static_cast<double>(m_nThread) * static_cast<double>(bytesPerWorker) > resources::memory().total) {
        fail(std::to_string(m_nThread) + " workers do not fit into the memory of this machine or its control "
                                         "group. Use fewer (--nthread).");
    }
}

void VantorHexaust::initThreaded() {
    checkWorkerCount();
    m_localEulerAngles.resize(m_nThread);
    m_workers.resize(m_nThread);
    m_localConformations.resize(m_nThread);
    m_localEdmValues.resize(m_nThread);
    const auto capacity = static_cast<std::size_t>(m_settings.capacity());
    for (unsigned long i = 0; i < m_nThread; ++i) {
        m_localTopConformations.emplace_back(capacity);
    }
}

ScanMethod& VantorHexaust::method() {
    if (!m_method) {
        m_method =
            ScanMethod::choose({&m_edmValues, &m_edm.m_grid, &m_paddedGrid, m_paddedStructureGrid,
                                &m_positions, m_nma, m_sigma, m_settings.filterSigmas, &m_trustNorm[0]},
                               m_settings.multistep);
    }
    return *m_method;
}

void VantorHexaust::threadedZeroPadd(unsigned long threadId) {
    if (method().usesBuffer()) {
        Vantor::threadedZeroPadd(threadId);
    }
}

void VantorHexaust::initCrossCorrelation(bool perThread) {
    m_info.printInfo(" Initializing the Cross Correlation function ");
    m_ccf.reset();
    if (!perThread) {
        if (m_paddedEdmValues.empty()) {
            fillPaddedMap(m_paddedEdmValues);
        }
        m_ccf = std::make_unique<ThirdOrderCrossCorrelation>(m_paddedEdmValues.data(), m_paddedStructureGrid,
                                                             m_positions, m_sigma, m_nma, true);
        return;
    }
    for (unsigned long i = 0; i < m_nThread; ++i) {
        // The thread that was to fill it may not have been started.
        if (m_localEdmValues[i].empty()) {
            threadedZeroPadd(i);
        }
        m_workers[i] = method().makeWorker(m_localEdmValues[i]);
    }
}

void VantorHexaust::threadedInitCrossCorrelation(unsigned long threadId) {
    if (const auto density = method().makePattern(*m_workers[threadId])) {
        dumpPattern(*density);
    }
}

/// Writes the simulated density, a diagnostic.
// Deliberate: to the working directory, whatever the output directory.
void VantorHexaust::dumpPattern(const ElectronDensity& density) {
    cDensityMapCCP4 dump(m_edm);
    std::vector<double> values(m_paddedStructureGrid->getTotalSize(), 0.0);
    density.eval(values);
    dump.loadFromValues(values, m_paddedGrid);
    writeResult("density.map", [&](std::FILE* file) { return dump.write(file); });
}

void VantorHexaust::threadedSetEulerAngles(const std::array<double, 3>& angles, unsigned long threadId) {
    m_localEulerAngles[threadId] = angles;
    m_workers[threadId]->rotate(angles);
}

void VantorHexaust::threadedComputeCrossCorrelation(unsigned long threadId) {
    m_workers[threadId]->score();
}

void VantorHexaust::threadedGetTopConformationsOpt(unsigned long threadId) {
    m_workers[threadId]->offer(m_localTopConformations[threadId]);
}

void VantorHexaust::initTweenDof(unsigned long threadId) {
    ScanWorker* const worker = threadId < m_workers.size() ? m_workers[threadId].get() : nullptr;
    auto* const mover = dynamic_cast<MultistepScanWorker*>(worker);
    if (mover == nullptr) {
        throw std::domain_error("m_local_ccf[" + std::to_string(threadId) + "] is null");
    }
    mover->moveModel();
}

void VantorHexaust::computeCrossCorrelation() {
    m_ccf->execute(m_info);
}

void VantorHexaust::mergeConformationOpt() {
    m_info.printInfo(" Releasing local ccf memory ");
    m_localEulerAngles.clear();
    m_ccf.reset();
    method().releaseWorkers(m_workers);
    m_localEdmValues.clear();
    const std::string title =
        " Merging " + std::to_string(m_localConformations.size()) + " local conformations";
    m_info.printInfo(title.c_str());
    m_topConformations = mergeCandidates(m_localTopConformations);
    m_localTopConformations.clear();
    method().keepFor(m_topConformations);
    tellNoPoses();
}

/// Nothing else tells empty solution files from a run that went wrong.
void VantorHexaust::tellNoPoses() const {
    if (m_topConformations.empty()) {
        warn(m_settings.mapPath + ": no voxel of any rotation scored above " +
             std::to_string(ElectronDensity::EPSILON) +
             ", so the solution files are empty. Check that the map holds density above the cut of "
             "--filtersigma, that its voxel size is right and that --sigma is not far below it.");
    }
}

void VantorHexaust::refineTopConformation(unsigned long, unsigned long solution) {
    HexaustFlexibleFitConformation& pose = m_topConformations[solution];
    const FlexibleFitConformation before = pose;
    if (!method().refine(pose)) {
        countNonConvex();
    }
    if (isMoved(before, pose)) {
        noteMovedPose();
    }
}

unsigned long VantorHexaust::getNSolutions() {
    return std::min<unsigned long>(m_topConformations.size(),
                                   static_cast<unsigned long>(m_settings.capacity()));
}

unsigned long VantorHexaust::getNClusteres() {
    return std::min<unsigned long>(m_topConformations.size(),
                                   static_cast<unsigned long>(m_settings.clusters));
}

/// A lower bound from what is known before the pattern is evaluated; docs/cost.md derives it.
double VantorHexaust::estimateScanBytes() {
    const double map = 8.0 * static_cast<double>(m_edm.m_grid.getTotalSize());
    return scanBytes(method(), m_settings, m_nThread) + 2.0 * map;
}

/// An upper bound, unlike that of the bytes: what the limit refuses ends the run.
double VantorHexaust::estimateAddressSpace() {
    const double map = 8.0 * static_cast<double>(m_edm.m_grid.getTotalSize());
    const double workers = static_cast<double>(m_nThread);
    const double nDof = static_cast<double>(m_nma->m_nModes) + 6.0;
    const double slice =
        m_paddedGrid.m_size[2] * static_cast<double>(m_paddedGrid.m_size[0] + m_paddedGrid.m_size[1]);
    // Planes, slabs and their transforms, and what spectra lose to the bounds of huge pages.
    constexpr double hugePage = 2097152.0;
    const double beside = (32.0 * slice + 2.0 * hugePage) * (workers + 1.0);
    // One more stack for the thread of the checkpoints.
    const double stacks = resources::threadStack() * (workers + 1.0);
    // The table of derivatives comes when the spectra have gone.
    const cBBox box = ElectronDensity::getBoundingBox(m_positions, m_sigma, ElectronDensity::EPSILON, 1.0);
    const cVector3 cell = m_edm.m_grid.m_cellDim;
    const auto nodes = [](double edge, double step) { return edge / step + 2.0; };
    const double reached =
        std::min<double>(m_paddedGrid.getTotalSize(), nodes(box.m_max.x - box.m_min.x, cell.x) *
                                                          nodes(box.m_max.y - box.m_min.y, cell.y) *
                                                          nodes(box.m_max.z - box.m_min.z, cell.z));
    const double table = 8.0 * reached * (nDof + nDof * (nDof + 1.0) / 2.0 + 1.0);
    constexpr double program = 8.0 * 1048576.0; // plans, lines of output, atoms
    const double atoms = (56.0 + 24.0 * nDof) * static_cast<double>(m_atoms.size()) *
                         static_cast<double>(method().modelCount(m_nThread));
    // Both voxels and flat array of the map are there already.
    const double scan = estimateScanBytes() - 2.0 * map + beside;
    return std::max(scan, table) + stacks + atoms + program;
}
