// SPDX-License-Identifier: GPL-3.0-or-later
// The scan in which every worker moves its model to the best nearby state at each rotation.
#include <stdexcept>
#include <string>
#include <tuple>

#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "Interface/CrossCorrelationOracle.h"
#include "NMAEngine/NormalModeEngine.h"
#include "Optimization/TrustRegionSolver.h"
#include "app/VantorHexaust.h"

namespace {

/// Of the soft maximum. Correlation values are what it multiplies, so it sets how sharp a peak counts alone.
constexpr double softMaxBeta = 10000.0;

// Of the solve at each rotation.
constexpr double relativeResidual = 1e-11;
constexpr unsigned long mostSteps = 20000;

} // namespace

bool VantorHexaust::isMultistep() const {
    return m_workflow.m_multistep.getValue();
}

std::shared_ptr<CrossCorrelationOracle> VantorHexaust::makeOracle(double* target) const {
    auto oracle = std::make_shared<CrossCorrelationOracle>(target, m_paddedStructureGrid, m_positions,
                                                           m_sigma, m_nma, softMaxBeta, false);
    oracle->initAsThirdOrder();
    return oracle;
}

/// Each worker's model goes its own way, so that each has a pattern of its own.
void VantorHexaust::initLocalOracle(unsigned long threadId) {
    CrossCorrelationOracle& oracle = *m_localOracles[threadId];
    oracle.setRotationCenter(modelRotationCenter());
    oracle.initPatternEdm();
    std::call_once(m_patternMade, [&] { dumpPattern(*oracle.getThirdOrder()->getPattern()->density); });
}

void VantorHexaust::initTweenDof(unsigned long threadId) {
    const std::shared_ptr<CrossCorrelationOracle> oracle =
        threadId < m_localOracles.size() ? m_localOracles[threadId] : nullptr;
    if (!oracle) {
        throw std::domain_error("m_local_ccf[" + std::to_string(threadId) + "] is null");
    }
    TrustRegionSolver solver(oracle, m_nma->m_nModes + 6UL, 1.0);
    solver.m_radius = m_trustNorm[0];
    solver.solve(relativeResidual, mostSteps);
    const auto [tau, theta, eta] = oracle->getTweenDof(solver.m_x);
    oracle->getThirdOrder()->setTweenDof(tau, theta, eta);
}

void VantorHexaust::releaseOracles() {
    for (const auto& oracle : m_localOracles) {
        if (oracle) {
            oracle->clearMemory();
        }
    }
    m_localOracles.clear();
}
