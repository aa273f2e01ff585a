// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/SecondOrderCrossCorrelation.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

SecondOrderCrossCorrelation::SecondOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                                         const std::vector<std::array<double, 3>>& atoms,
                                                         double sigma,
                                                         std::shared_ptr<const NormalModeEngine> nma,
                                                         bool initPattern)
    : AnyOrderCrossCorrelation(targetEdm, std::move(grid), atoms, sigma, std::move(nma), Derivatives::First) {
    // Deliberate: one multiple of the identity for all voxels, of the target as it stands now, and with the
    // sign of its mean: no sub-problem is convex where that is positive.
    double mean = 0.0;
    for (std::size_t v = 0; v < m_ccf.size(); ++v) {
        mean += m_targetEdm[v];
    }
    mean /= static_cast<double>(m_ccf.size());
    m_approxHessian = mean * arma::eye(nDof(), nDof());
    if (initPattern) {
        initPatternEdm();
    }
}

// Deliberate: unlike the third order, the flag of the pattern stays as it is.
void SecondOrderCrossCorrelation::setRotationCenter(const cVector3& center) {
    moveRotationCenter(center);
}

// Deliberate: a pattern that changed is not transformed here, its flag stays, and so do the gradients.
void SecondOrderCrossCorrelation::execute(cInfo& info) {
    announce(info);
    executeWithOldPattern();
}

arma::Col<double> SecondOrderCrossCorrelation::getGradient(std::size_t s) const {
    return arma::Col<double>(derivativesAt({s}));
}

double SecondOrderCrossCorrelation::getMaximumGradient(arma::Col<double>& gradient) const {
    if (gradient.n_elem != nDof()) {
        throw std::length_error("gradient size must be " + std::to_string(nDof()) + " and is " +
                                std::to_string(gradient.n_elem) + ".");
    }
    const auto best = std::max_element(m_ccf.begin(), m_ccf.end());
    gradient = getGradient(static_cast<std::size_t>(best - m_ccf.begin()));
    return *best;
}

double SecondOrderCrossCorrelation::getSoftMaximumGradient(arma::Col<double>& gradient, double beta) const {
    const double softMaximum = getSoftMaximum(beta);
    gradient.zeros(nDof());
    if (hasExecuted()) {
        gradient =
            arma::Col<double>(weightedDerivatives(weightedVoxels(softMaximum, beta), targetAsExecuted()));
    }
    return softMaximum;
}

void SecondOrderCrossCorrelation::fillDerivatives(const double* row,
                                                  HexaustFlexibleFitConformation& conformation) const {
    conformation.m_gradient = arma::Col<double>(row, nDof());
    conformation.m_hessian = m_approxHessian;
}

void SecondOrderCrossCorrelation::offerCompleteVoxels(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                                      double alpha, double beta, double gamma) const {
    offerVoxels(set, alpha, beta, gamma);
    completeConformations(
        set, [&](const auto& shifts) { return derivativesAt(shifts); },
        [&](const double* row, auto& conformation) { fillDerivatives(row, conformation); });
}

void SecondOrderCrossCorrelation::addConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                                   double alpha, double beta, double gamma) const {
    offerCompleteVoxels(set, alpha, beta, gamma);
}

std::vector<HexaustFlexibleFitConformation>
SecondOrderCrossCorrelation::getAllConformations(std::size_t maxCount) const {
    LimitedSizeSet<HexaustFlexibleFitConformation> set(maxCount);
    offerCompleteVoxels(set, 0.0, 0.0, 0.0);
    return set.toStdVector();
}

std::vector<HexaustFlexibleFitConformation> SecondOrderCrossCorrelation::getAllConformations() const {
    return allConformations<HexaustFlexibleFitConformation>(
        [&](const double* row, auto& conformation) { fillDerivatives(row, conformation); });
}
