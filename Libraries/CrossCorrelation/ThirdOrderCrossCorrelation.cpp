// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "CrossCorrelation/localModel.h"

ThirdOrderCrossCorrelation::ThirdOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                                       const std::vector<std::array<double, 3>>& atoms,
                                                       double sigma,
                                                       std::shared_ptr<const NormalModeEngine> nma,
                                                       bool initPattern)
    : AnyOrderCrossCorrelation(targetEdm, std::move(grid), atoms, sigma, std::move(nma),
                               Derivatives::Second) {
    if (initPattern) {
        initPatternEdm();
    }
}

void ThirdOrderCrossCorrelation::setRotationCenter(const cVector3& center) {
    moveRotationCenter(center);
    usePattern(getPattern());
}

void ThirdOrderCrossCorrelation::execute(cInfo& info) {
    announce(info);
    execute();
}

double ThirdOrderCrossCorrelation::getSoftMaximumGradientAndHessian(arma::Col<double>& gradient,
                                                                    arma::Mat<double>& hessian,
                                                                    double beta) const {
    const double softMaximum = getSoftMaximum(beta);
    addSoftMaximumDerivatives(targetAsExecuted(), softMaximum, beta, gradient, hessian);
    return softMaximum;
}

double ThirdOrderCrossCorrelation::getSoftMaximumGradientAndHessianOfPresentTarget(
    arma::Col<double>& gradient, arma::Mat<double>& hessian, double beta) const {
    const double softMaximum = getSoftMaximum(beta);
    addSoftMaximumDerivatives(m_targetEdm, softMaximum, beta, gradient, hessian);
    return softMaximum;
}

/// What is linear in the derivatives is summed over the voxels first and turned into derivatives then; only
/// the products of gradients need the gradient of every voxel.
void ThirdOrderCrossCorrelation::addSoftMaximumDerivatives(const double* target, double softMaximum,
                                                           double beta, arma::Col<double>& gradient,
                                                           arma::Mat<double>& hessian) const {
    const std::size_t n = nDof();
    gradient.zeros(n);
    hessian.zeros(n, n);
    if (!hasExecuted()) {
        return;
    }
    const std::vector<WeightedVoxel> voxels = weightedVoxels(softMaximum, beta);
    const std::vector<double> sums = weightedDerivatives(voxels, target);
    HexaustFlexibleFitConformation linear;
    setLocalModel(sums.data(), n, linear);
    hessian = linear.m_hessian;
    std::vector<double> gradients;
    if (voxels.size() == 1) {
        for (std::size_t i = 0; i < n; ++i) {
            gradients.push_back(sums[i] / voxels.front().weight);
        }
    } else {
        gradients = gradientsAt(voxels, target);
    }
    for (std::size_t p = 0; p < voxels.size(); ++p) {
        const double* a = gradients.data() + p * n;
        const double w = voxels[p].weight;
        for (std::size_t i = 0; i < n; ++i) {
            gradient(i) += w * a[i];
            // Deliberate: gradient(i) is the running sum up to this voxel, not the finished gradient, and the
            // Hessian is left as unsymmetric as that makes it.
            const double bend = w * beta * (gradient(i) - a[i]);
            for (std::size_t j = 0; j < n; ++j) {
                hessian(i, j) -= bend * a[j];
            }
        }
    }
}

std::tuple<arma::Col<double>, arma::Mat<double>>
ThirdOrderCrossCorrelation::getGradAndHessian(std::size_t s) const {
    HexaustFlexibleFitConformation voxel;
    setLocalModel(derivativesAt({s}).data(), nDof(), voxel);
    return {voxel.m_gradient, voxel.m_hessian};
}

double ThirdOrderCrossCorrelation::getMaximumGradientAndHessian(arma::Col<double>& gradient,
                                                                arma::Mat<double>& hessian) const {
    const auto best = std::max_element(m_ccf.begin(), m_ccf.end());
    std::tie(gradient, hessian) = getGradAndHessian(static_cast<std::size_t>(best - m_ccf.begin()));
    return *best;
}

template <class RowsAt>
void ThirdOrderCrossCorrelation::completeVoxels(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                                RowsAt&& rowsAt) const {
    completeConformations(set, rowsAt, [&](const double* row, auto& conformation) {
        setLocalModel(row, nDof(), conformation);
    });
}

void ThirdOrderCrossCorrelation::addConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                                                  double alpha, double beta, double gamma) const {
    offerVoxels(set, alpha, beta, gamma);
    completeVoxels(set, [&](const auto& shifts) { return derivativesAt(shifts); });
}

void ThirdOrderCrossCorrelation::addConformationsOfPresentTarget(
    LimitedSizeSet<HexaustFlexibleFitConformation>& set, double alpha, double beta, double gamma) const {
    offerVoxels(set, alpha, beta, gamma);
    completeVoxels(set, [&](const auto& shifts) { return derivativesAt(shifts, m_targetEdm); });
}

std::vector<HexaustFlexibleFitConformation>
ThirdOrderCrossCorrelation::getAllConformations(std::size_t maxCount) const {
    LimitedSizeSet<HexaustFlexibleFitConformation> set(maxCount);
    offerVoxels(set, 0.0, 0.0, 0.0);
    completeVoxels(set, [&](const auto& shifts) { return derivativesAt(shifts); });
    return set.toStdVector();
}

std::vector<HexaustFlexibleFitConformation> ThirdOrderCrossCorrelation::getAllConformations() const {
    return allConformations<HexaustFlexibleFitConformation>(
        [&](const double* row, auto& conformation) { setLocalModel(row, nDof(), conformation); });
}
