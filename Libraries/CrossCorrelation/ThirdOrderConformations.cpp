// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "CrossCorrelation/shiftedSums.h"
#include "Math/cGrid.h"

HexaustFlexibleFitConformation ThirdOrderCrossCorrelation::conformationAt(std::size_t s, double alpha,
                                                                          double beta, double gamma) const {
    const auto [i, j, k] = m_grid->m_flatIndex2Index[s];
    HexaustFlexibleFitConformation conformation(m_ccf[s], static_cast<int>(i), static_cast<int>(j),
                                                static_cast<int>(k), m_eta, m_grid, alpha, beta, gamma);
    conformation.setTweenDof(m_tau, m_theta, m_eta);
    return conformation;
}

/// Candidates enter the set without derivatives, which take no part in its order; most of them are pushed out
/// again by later voxels of the same rotation.
void ThirdOrderCrossCorrelation::offerVoxels(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                             bool skipBelowWorst, double alpha, double beta,
                                             double gamma) const {
    for (std::size_t s = 0; s < m_ccf.size(); ++s) {
        if (!(m_ccf[s] > ElectronDensity::EPSILON)) {
            continue;
        }
        if (skipBelowWorst && set.isFull() && !(m_ccf[s] > set.last().m_rigidScore)) {
            continue;
        }
        set.add(conformationAt(s, alpha, beta, gamma));
    }
}

/// Gives gradient and Hessian to the elements that have none: those of this rotation that stayed.
template <class DerivativesAt>
void ThirdOrderCrossCorrelation::completeConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                                       DerivativesAt&& derivatives) const {
    std::vector<std::size_t> shifts;
    std::vector<HexaustFlexibleFitConformation*> incomplete;
    set.forEach([&](HexaustFlexibleFitConformation& conformation) {
        if (conformation.m_gradient.is_empty()) {
            shifts.push_back(m_grid->indexToFlatIndex(conformation.m_i, conformation.m_j, conformation.m_k));
            incomplete.push_back(&conformation);
        }
    });
    if (shifts.empty()) {
        return;
    }
    const std::vector<double> rows = derivatives(shifts);
    for (std::size_t p = 0; p < shifts.size(); ++p) {
        fillDerivatives(rows.data() + p * columns(), *incomplete[p]);
    }
}

void ThirdOrderCrossCorrelation::addConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                                  double alpha, double beta, double gamma) const {
    offerVoxels(set, true, alpha, beta, gamma);
    completeConformations(set, [&](const auto& shifts) { return derivativesAt(shifts); });
}

void ThirdOrderCrossCorrelation::addConformationsOfPresentTarget(
    LimitedSizeSet<HexaustFlexibleFitConformation>& set, double alpha, double beta, double gamma) const {
    offerVoxels(set, true, alpha, beta, gamma);
    completeConformations(set, [&](const auto& shifts) {
        return shiftedSums(m_executedPattern->table, *m_grid, m_targetEdm, shifts);
    });
}

std::vector<HexaustFlexibleFitConformation>
ThirdOrderCrossCorrelation::getAllConformations(std::size_t maxCount) const {
    LimitedSizeSet<HexaustFlexibleFitConformation> set(maxCount);
    offerVoxels(set, false, 0.0, 0.0, 0.0);
    completeConformations(set, [&](const auto& shifts) { return derivativesAt(shifts); });
    return set.toStdVector();
}

std::vector<HexaustFlexibleFitConformation> ThirdOrderCrossCorrelation::getAllConformations() const {
    std::vector<std::size_t> shifts(m_ccf.size());
    for (std::size_t s = 0; s < shifts.size(); ++s) {
        shifts[s] = s;
    }
    const std::vector<double> rows = derivativesAt(shifts);
    std::vector<HexaustFlexibleFitConformation> conformations(m_ccf.size());
    for (std::size_t s = 0; s < shifts.size(); ++s) {
        conformations[s] = conformationAt(s, 0.0, 0.0, 0.0);
        fillDerivatives(rows.data() + s * columns(), conformations[s]);
    }
    return conformations;
}
