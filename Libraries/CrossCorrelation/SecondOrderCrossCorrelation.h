// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SECONDORDERCROSSCORRELATION_H
#define SELVANE_CROSSCORRELATION_SECONDORDERCROSSCORRELATION_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include <armadillo>

#include "CrossCorrelation/AnyOrderCrossCorrelation.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"

/// The correlation grid with its gradient. In place of the Hessian stands one fixed matrix, mu I with mu the
/// mean of the target at construction, whatever becomes of the target later.
class SecondOrderCrossCorrelation : public AnyOrderCrossCorrelation {
public:
    /// @param targetEdm   T, grid->getTotalSize() values, owned and rewritten by the caller; must not move
    /// @param initPattern whether to evaluate the pattern at x = 0 at once
    SecondOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                const std::vector<std::array<double, 3>>& atoms, double sigma,
                                std::shared_ptr<const NormalModeEngine> nma, bool initPattern);

    /// Moves the centre that small rotations turn about; the pattern and its flag stay.
    void setRotationCenter(const cVector3& center);

    using AnyOrderCrossCorrelation::execute;

    /// Announces the correlation in the report and correlates with the pattern of the last execute(), even if
    /// it has changed since; a grid of zeros before the first. The gradients stay those of the last
    /// execute().
    void execute(cInfo& info);

    /// mu I, n x n.
    const arma::Mat<double>& getApproxHessian() const { return m_approxHessian; }

    /// Gradient (n) of c[s] at the voxel with flat index s.
    arma::Col<double> getGradient(std::size_t s) const;

    /// The gradient at the first voxel that holds the maximum; returns the maximum.
    /// @param gradient n entries, overwritten
    /// @throws std::length_error for another number of entries
    double getMaximumGradient(arma::Col<double>& gradient) const;

    /// Gradient of the soft maximum; returns S.
    double getSoftMaximumGradient(arma::Col<double>& gradient, double beta) const;

    /// One conformation per voxel in flat order, angles zero.
    std::vector<HexaustFlexibleFitConformation> getAllConformations() const;

    /// The best maxCount conformations above ElectronDensity::EPSILON, best first, angles zero.
    std::vector<HexaustFlexibleFitConformation> getAllConformations(std::size_t maxCount) const;

    /// Offers every voxel above ElectronDensity::EPSILON to the set, under the rotation (alpha, beta, gamma).
    /// Candidates carry their gradient and mu I.
    void addConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set, double alpha, double beta,
                          double gamma) const;

private:
    void fillDerivatives(const double* row, HexaustFlexibleFitConformation& conformation) const;
    void offerCompleteVoxels(LimitedSizeSet<HexaustFlexibleFitConformation>& set, double alpha, double beta,
                             double gamma) const;

    arma::Mat<double> m_approxHessian;
};

#endif
