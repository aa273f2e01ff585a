// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_THIRDORDERCROSSCORRELATION_H
#define SELVANE_CROSSCORRELATION_THIRDORDERCROSSCORRELATION_H

#include <array>
#include <cstddef>
#include <memory>
#include <tuple>
#include <vector>

#include <armadillo>

#include "CrossCorrelation/CorrelationPattern.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "FFTWrapper/SpectralCorrelator.h"

class cGrid;
class cInfo;
class cVector3;
class ElectronDensity;
struct DerivativeReader;
class NormalModeEngine;

/// Correlation of a target map with the simulated density of a model at every translation of the grid, with
/// gradient and Hessian by the degrees of freedom x (translation, small rotation, mode amplitudes).
///
/// For a shift s, with T the target and P(x) the density, indices wrapped around the grid of N voxels:
///   c[s](x) = (2 pi)^-3 * sum over v of T(v) P(x)(v + s).
/// Nothing is subtracted and no norm is divided out. The derivatives of c[s] are the same sums with the
/// derivative maps of P.
///
/// The object behaves as if execute() had filled 1 + n + n^2 grids, n = 6 + modes. It keeps the correlation
/// grid, the spectrum of T and a pointer to the immutable pattern of that moment, and makes derivatives from
/// these when they are read: by direct sums over the pattern's nodes for a few voxels, by transforms for
/// many. So a reading is right even if T or the pattern has changed since.
///
/// Used by one thread at a time; the grid, the modes and patterns are shared read-only. Neither copied nor
/// moved.
class ThirdOrderCrossCorrelation {
public:
    /// @param targetEdm   T, grid->getTotalSize() values, owned and rewritten by the caller; must not move
    /// @param initPattern whether to evaluate the pattern at x = 0 at once
    ThirdOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                               const std::vector<std::array<double, 3>>& atoms, double sigma,
                               std::shared_ptr<const NormalModeEngine> nma, bool initPattern);
    ~ThirdOrderCrossCorrelation();
    ThirdOrderCrossCorrelation(const ThirdOrderCrossCorrelation&) = delete;
    ThirdOrderCrossCorrelation& operator=(const ThirdOrderCrossCorrelation&) = delete;

    /// Moves the centre that small rotations turn about; initPatternEdm() must follow.
    void setRotationCenter(const cVector3& center);

    /// Evaluates the pattern at the density's present state.
    void initPatternEdm();

    /// Moves the model to x = (tau, theta, eta) and evaluates the pattern there.
    void setTweenDof(const std::array<double, 3>& tau, const std::array<double, 3>& theta,
                     const arma::Col<double>& eta);

    /// The present pattern, null before the first evaluation.
    std::shared_ptr<const CorrelationPattern> getPattern() const { return m_pattern; }

    /// Takes over the pattern of another object on the same grid in the same state, in place of evaluating
    /// it.
    void adoptPattern(std::shared_ptr<const CorrelationPattern> pattern);

    /// Correlates the target, as it stands now, with the present pattern.
    /// @throws std::logic_error if no pattern was evaluated before
    void execute();

    /// The same, announced by a title line of the report.
    void execute(cInfo& info);

    /// c[s] for every voxel in flat order; zeros before the first execute().
    const std::vector<double>& getCorrelation() const { return m_ccf; }

    /// Largest element of the correlation grid.
    double getMaximum() const;

    /// S = M + (1/beta) log(sum over s of exp(beta (c[s] - M))), M the maximum.
    double getSoftMaximum(double beta) const;

    /// Gradient and Hessian of the soft maximum; returns S.
    double getSoftMaximumGradientAndHessian(arma::Col<double>& gradient, arma::Mat<double>& hessian,
                                            double beta) const;

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
    ElectronDensity& density();
    std::size_t nDof() const;
    std::size_t columns() const;
    std::vector<double> derivativesAt(const std::vector<std::size_t>& shifts) const;
    std::vector<double> derivativesByTransforms(const std::vector<std::size_t>& shifts) const;
    const double* targetAsExecuted() const;
    void fillDerivatives(const double* row, HexaustFlexibleFitConformation& conformation) const;
    HexaustFlexibleFitConformation conformationAt(std::size_t s, double alpha, double beta,
                                                  double gamma) const;
    void offerVoxels(LimitedSizeSet<HexaustFlexibleFitConformation>& set, bool skipBelowWorst, double alpha,
                     double beta, double gamma) const;
    template <class DerivativesAt>
    void completeConformations(LimitedSizeSet<HexaustFlexibleFitConformation>& set,
                               DerivativesAt&& derivatives) const;

    double* m_targetEdm;
    std::shared_ptr<const cGrid> m_grid;
    std::vector<std::array<double, 3>> m_atoms;
    double m_sigma;
    std::shared_ptr<const NormalModeEngine> m_nma;
    std::unique_ptr<ElectronDensity> m_density; ///< made on first need: a pattern may come from elsewhere
    std::shared_ptr<const CorrelationPattern> m_pattern;
    std::shared_ptr<const CorrelationPattern> m_executedPattern; ///< the pattern of the last execute()
    std::vector<double> m_ccf;
    dft::SpectralCorrelator m_correlator;
    std::array<double, 3> m_tau{0.0, 0.0, 0.0};
    std::array<double, 3> m_theta{0.0, 0.0, 0.0};
    arma::Col<double> m_eta;
    mutable std::unique_ptr<DerivativeReader> m_reader; ///< of the last execute(), made by the first reading
};

#endif
