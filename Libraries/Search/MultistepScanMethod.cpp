// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/MultistepScanMethod.h"

#include <cstddef>

#include "CrossCorrelation/MapRotator.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "Interface/CrossCorrelationOracle.h"
#include "NMAEngine/NormalModeEngine.h"
#include "Optimization/TrustRegionSolver.h"

namespace {

/// Of the soft maximum. Correlation values are what it multiplies, so it sets how sharp a peak counts alone.
constexpr double softMaxBeta = 10000.0;

// Of the solve at each rotation.
constexpr double relativeResidual = 1e-11;
constexpr unsigned long mostSteps = 20000;

} // namespace

MultistepScanWorker::MultistepScanWorker(const SearchScene& scene, std::vector<double>& buffer)
    : m_scene(scene)
    , m_buffer(buffer)
    , m_oracle(std::make_shared<CrossCorrelationOracle>(buffer.data(), scene.paddedStructure,
                                                        *scene.positions, scene.sigma, scene.modes,
                                                        softMaxBeta, false)) {
    m_oracle->initAsThirdOrder();
}

MultistepScanWorker::~MultistepScanWorker() = default;

void MultistepScanWorker::rotate(const Rotation& angles) {
    m_angles = angles;
    ElectronDensity::rotateNonZeroPadded(*m_scene.mapValues, *m_scene.map, angles, *m_scene.padded,
                                         m_buffer.data(), m_scene.filterSigmas);
}

void MultistepScanWorker::score() {
    moveModel();
    m_oracle->getThirdOrder()->execute();
}

void MultistepScanWorker::offer(CandidateSet& set) {
    m_oracle->getThirdOrder()->addConformationsOfPresentTarget(set, m_angles[0], m_angles[1], m_angles[2]);
}

void MultistepScanWorker::moveModel() {
    TrustRegionSolver solver(m_oracle, m_scene.modes->m_nModes + 6UL, 1.0);
    solver.m_radius = *m_scene.trustRadius;
    solver.solve(relativeResidual, mostSteps);
    const auto [tau, theta, eta] = m_oracle->getTweenDof(solver.m_x);
    m_oracle->getThirdOrder()->setTweenDof(tau, theta, eta);
}

void MultistepScanWorker::makePattern() {
    m_oracle->setRotationCenter(m_scene.rotationCenter());
    m_oracle->initPatternEdm();
}

std::shared_ptr<const ElectronDensity> MultistepScanWorker::density() const {
    return m_oracle->getThirdOrder()->getPattern()->density;
}

/// The rotated map and the oracle's copy of it, and correlation, two spectra and two spectra of patterns for
/// the first and for the third order.
double MultistepScanMethod::bytesNeeded(std::size_t workers, double, double) const {
    constexpr double arraysPerWorker = 12.0;
    return arraysPerWorker * static_cast<double>(workers) * 8.0 *
           static_cast<double>(scene().padded->getTotalSize());
}

std::unique_ptr<ScanWorker> MultistepScanMethod::makeWorker(std::vector<double>& buffer) {
    return std::make_unique<MultistepScanWorker>(scene(), buffer);
}

std::shared_ptr<const ElectronDensity> MultistepScanMethod::makePattern(ScanWorker& worker) {
    auto& mover = static_cast<MultistepScanWorker&>(worker);
    mover.makePattern();
    std::shared_ptr<const ElectronDensity> density;
    std::call_once(m_patternMade, [&] { density = mover.density(); });
    return density;
}
