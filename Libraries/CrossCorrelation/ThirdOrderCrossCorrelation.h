// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_THIRDORDERCROSSCORRELATION_H
#define SELVANE_CROSSCORRELATION_THIRDORDERCROSSCORRELATION_H

#include <array>
#include <cstddef>
#include <memory>
#include <tuple>
#include <vector>

#include <armadillo>

#include "CrossCorrelation/AnyOrderCrossCorrelation.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"

/// The correlation grid with gradient and Hessian by the degrees of freedom at every voxel: a local quadratic
/// model of the score at every translation.
class ThirdOrderCrossCorrelation : public AnyOrderCrossCorrelation {
public:
    /// @param targetEdm   T, grid->getTotalSize() values, owned and rewritten by the caller; must not move
    /// @param initPattern whether to evaluate the pattern at x = 0 at once
    ThirdOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                               const std::vector<std::array<double, 3>>& atoms, double sigma,
                               std::shared_ptr<const NormalModeEngine> nma, bool initPattern);

    /// Moves the centre that small rotations turn about; initPatternEdm() must follow.
    void setRotationCenter(const cVector3& center);

    using AnyOrderCrossCorrelation::execute;

    /// The same, announced by a title line of the report.
    void execute(cInfo& info);

    /// Gradient (n) and Hessian (n x n) of the soft maximum, the voxels weighted by w = exp(-beta (S -
    /// c[s])):
    ///   g_i = sum over s of w dc[s]/dx_i,
    ///   H_ij = sum over s of w (d2c[s]/dx_i dx_j - beta (g_i(s) - dc[s]/dx_i) dc[s]/dx_j),
    /// where g_i(s) is the partial sum of g_i up to and including s, in flat order.
    /// @return S
    double getSoftMaximumGradientAndHessian(arma::Col<double>& gradient, arma::Mat<double>& hessian,
                                            double beta) const;

    /// The same taken from the target itself, which must not have been rewritten since execute().
    double getSoftMaximumGradientAndHessianOfPresentTarget(arma::Col<double>& gradient,
                                                           arma::Mat<double>& hessian, double beta) const;

    /// Gradient (n) and Hessian (n x n) of c[s] at the voxel with flat index s.
    std::tuple<arma::Col<double>, arma::Mat<double>> getGradAndHessian(std::size_t s) const;

    /// Those at the first voxel that holds the maximum; returns the maximum.
    double getMaximumGradientAndHessian(arma::Col<double>& gradient, arma::Mat<double>& hessian) const;

    /// One conformation per voxel in flat order, angles zero.
    std::vector<HexaustFlexibleFitConformation> getAllConformations() const;

    /// The best maxCount conformations above ElectronDensity::EPSILON, best first, angles zero.
    std::vector<HexaustFlexibleFitConformation> getAllConformations(std::size_t maxCount) const;

    /// Offers every voxel above ElectronDensity::EPSILON to the set, under the rotation (alpha, beta, gamma).
    void addConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set, double alpha, double beta,
                          double gamma) const;

    /// As addConformations, for the scan: takes the derivatives of what stays from the target itself, which
    /// must not have been rewritten since execute().
    void addConformationsOfPresentTarget(LimitedSizeSet<HexaustFlexibleFitConformation>& set, double alpha,
                                         double beta, double gamma) const;

private:
    void addSoftMaximumDerivatives(const double* target, double softMaximum, double beta,
                                   arma::Col<double>& gradient, arma::Mat<double>& hessian) const;
    template <class RowsAt>
    void completeVoxels(LimitedSizeSet<HexaustFlexibleFitConformation>& set, RowsAt&& rowsAt) const;
};

#endif
