// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VantorHexaust.h"

#include <algorithm>
#include <array>
#include <string>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/RotationScan.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "Interface/CrossCorrelationOracle.h"
#include "NMAEngine/NormalModeEngine.h"
#include "app/fail.h"
#include "app/resources.h"

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
        sizeof(decltype(m_localEulerAngles)::value_type) + sizeof(decltype(m_local_ccf)::value_type) +
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
    if (isMultistep()) {
        m_localOracles.resize(m_nThread);
    } else {
        m_local_ccf.resize(m_nThread);
    }
    m_localConformations.resize(m_nThread);
    m_localEdmValues.resize(m_nThread);
    const auto capacity = static_cast<std::size_t>(m_workflow.getCapacity());
    for (unsigned long i = 0; i < m_nThread; ++i) {
        m_localTopConformations.emplace_back(capacity);
    }
}

/// The plain scan rotates the map without padding and needs no buffer for it.
void VantorHexaust::threadedZeroPadd(unsigned long threadId) {
    if (isMultistep()) {
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
    if (!isMultistep()) {
        m_scanMap = std::make_unique<ScanMap>(m_edmValues, m_edm.m_grid);
    }
    for (unsigned long i = 0; i < m_nThread; ++i) {
        if (isMultistep()) {
            // Its worker may not have been started.
            if (m_localEdmValues[i].empty()) {
                threadedZeroPadd(i);
            }
            m_localOracles[i] = makeOracle(m_localEdmValues[i].data());
        } else {
            m_local_ccf[i] = std::make_unique<RotationScan>(*m_scanMap, m_paddedStructureGrid,
                                                            m_workflow.m_filtersigma.getValue());
        }
    }
}

/// Without multistep the model stays where it is during the scan, so one pattern serves all workers: the
/// first of them makes it.
void VantorHexaust::threadedInitCrossCorrelation(unsigned long threadId) {
    if (isMultistep()) {
        initLocalOracle(threadId);
        return;
    }
    std::call_once(m_patternMade, [&] { evaluatePattern(*m_local_ccf[threadId]); });
}

void VantorHexaust::evaluatePattern(RotationScan& scan) {
    m_patternDensity = modelDensity();
    m_pattern = scan.makePattern(m_patternDensity);
    dumpPattern(*m_patternDensity);
}

std::shared_ptr<const ElectronDensity> VantorHexaust::modelDensity() const {
    const arma::Col<double> eta(m_nma->m_nModes, arma::fill::zeros);
    auto density =
        std::make_shared<ElectronDensity>(m_positions.data(), m_sigma, m_positions.size(),
                                          m_paddedStructureGrid, *m_nma, eta, ElectronDensity::EPSILON);
    density->setRotationCenter(modelRotationCenter());
    return density;
}

/// The centre that small rotations of the model turn about.
cVector3 VantorHexaust::modelRotationCenter() const {
    const cBBox& map = m_edm.m_grid.m_box;
    return 0.5 * (map.m_min + map.m_max);
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
    if (isMultistep()) {
        Vantor::threadedSetEulerAngles(angles, threadId);
        return;
    }
    m_localEulerAngles[threadId] = angles;
    m_local_ccf[threadId]->rotate(angles);
}

void VantorHexaust::threadedComputeCrossCorrelation(unsigned long threadId) {
    if (isMultistep()) {
        initTweenDof(threadId);
        m_localOracles[threadId]->getThirdOrder()->execute();
        return;
    }
    m_local_ccf[threadId]->correlate(*m_pattern);
}

void VantorHexaust::threadedGetTopConformationsOpt(unsigned long threadId) {
    auto& set = m_localTopConformations[threadId];
    if (isMultistep()) {
        const std::array<double, 3>& angles = m_localEulerAngles[threadId];
        m_localOracles[threadId]->getThirdOrder()->addConformationsOfPresentTarget(set, angles[0], angles[1],
                                                                                   angles[2]);
        return;
    }
    m_local_ccf[threadId]->offer(set);
}

void VantorHexaust::computeCrossCorrelation() {
    m_ccf->execute(m_info);
}

void VantorHexaust::mergeConformationOpt() {
    m_info.printInfo(" Releasing local ccf memory ");
    m_localEulerAngles.clear();
    m_ccf.reset();
    releaseOracles();
    std::vector<Filters> filters;
    for (const auto& scan : m_local_ccf) {
        if (scan) {
            filters.push_back(scan->takeFilters());
        }
    }
    m_local_ccf.clear();
    m_pattern.reset();
    m_localEdmValues.clear();
    const std::string title =
        " Merging " + std::to_string(m_localConformations.size()) + " local conformations";
    m_info.printInfo(title.c_str());
    auto& merged = m_localTopConformations.front();
    for (std::size_t i = 1; i < m_localTopConformations.size(); ++i) {
        for (const auto& conformation : m_localTopConformations[i]) {
            merged.add(conformation);
        }
    }
    m_topConformations = merged.toStdVector();
    m_localTopConformations.clear();
    keepFilters(filters);
    tellNoPoses();
}

/// Of the workers' filters those of the rotations that the poses have.
void VantorHexaust::keepFilters(const std::vector<Filters>& filters) {
    for (const auto& pose : m_topConformations) {
        for (const Filters& ofWorker : filters) {
            const auto known = ofWorker.find({pose.m_alpha, pose.m_beta, pose.m_gamma});
            if (known != ofWorker.end()) {
                m_filters.insert(*known);
            }
        }
    }
}

/// Nothing else tells empty solution files from a run that went wrong.
void VantorHexaust::tellNoPoses() const {
    if (m_topConformations.empty()) {
        warn(m_workflow.m_iedm.getValue() + ": no voxel of any rotation scored above " +
             std::to_string(ElectronDensity::EPSILON) +
             ", so the solution files are empty. Check that the map holds density above the cut of "
             "--filtersigma, that its voxel size is right and that --sigma is not far below it.");
    }
}

void VantorHexaust::refineTopConformation(unsigned long, unsigned long solution) {
    HexaustFlexibleFitConformation& pose = m_topConformations[solution];
    if (pose.m_gradient.is_empty()) {
        completePose(pose);
    }
    const FlexibleFitConformation before = pose;
    if (!pose.solveConvexSubProblem(m_trustNorm[0])) {
        countNonConvex();
    }
    if (isMoved(before, pose)) {
        noteMovedPose();
    }
}

void VantorHexaust::completePose(HexaustFlexibleFitConformation& pose) {
    std::call_once(m_derivativesMade, [&] { m_derivatives = m_patternDensity->tabulate(); });
    const std::array<double, 3> angles{pose.m_alpha, pose.m_beta, pose.m_gamma};
    completeCandidate(m_derivatives, RotatedNodes(m_edmValues, m_edm.m_grid, angles, filterOf(angles)), pose);
}

/// A filter that the scan left behind spares rotating the whole map once more.
fccf::SigmaFilter VantorHexaust::filterOf(const std::array<double, 3>& angles) const {
    const auto known = m_filters.find(angles);
    if (known != m_filters.end()) {
        return known->second;
    }
    return MapRotator(m_edmValues, m_edm.m_grid, m_workflow.m_filtersigma.getValue()).filterOf(angles);
}

unsigned long VantorHexaust::getNSolutions() {
    return std::min<unsigned long>(m_topConformations.size(),
                                   static_cast<unsigned long>(m_workflow.getCapacity()));
}

unsigned long VantorHexaust::getNClusteres() {
    return std::min<unsigned long>(m_topConformations.size(),
                                   static_cast<unsigned long>(m_workflow.m_nclusters.getValue()));
}

/// A lower bound from what is known before the pattern is evaluated; docs/cost.md derives it.
double VantorHexaust::estimateScanBytes() const {
    const double padded = 8.0 * static_cast<double>(m_paddedGrid.getTotalSize());
    const double map = 8.0 * static_cast<double>(m_edm.m_grid.getTotalSize());
    const double nDof = static_cast<double>(m_nma->m_nModes) + 6.0;
    const double conformation = 600.0 + 8.0 * (nDof + nDof * nDof);
    const double workers = static_cast<double>(m_nThread);
    // With multistep target and copy of it, and correlation, two spectra and two spectra of patterns for the
    // first and for the third order. Else a spectrum, and the pattern's, which all share, as they do the map
    // in single precision; besides, before the scan, the diagnostic field and its copy in the dump.
    const double arrays = isMultistep() ? 12.0 * workers * padded : (workers + 3.0) * padded + 0.5 * map;
    const double rotations = rotationCount() + 1.0;
    // Two lists of triples while the sampling converts its angles.
    const double angles = 2.0 * 24.0 * rotations;
    const double kept = std::min<double>(m_workflow.getCapacity(), rotations * m_paddedGrid.getTotalSize());
    const double solutions = conformation * kept * (workers + 1.0);
    // A worker keeps the filters of no more rotations than twice its set has places; a node of their map.
    constexpr double bytesPerFilter = 96.0;
    const double filters = isMultistep() ? 0.0 : bytesPerFilter * std::min(2.0 * kept, rotations) * workers;
    return arrays + 2.0 * map + angles + solutions + filters;
}

/// An upper bound, unlike that of the bytes: what the limit refuses ends the run.
double VantorHexaust::estimateAddressSpace() const {
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
    const double atoms =
        (56.0 + 24.0 * nDof) * static_cast<double>(m_atoms.size()) * (isMultistep() ? 2.0 * workers : 2.0);
    // Both voxels and flat array of the map are there already.
    const double scan = estimateScanBytes() - 2.0 * map + beside;
    return std::max(scan, table) + stacks + atoms + program;
}
