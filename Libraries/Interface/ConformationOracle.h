// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_INTERFACE_CONFORMATIONORACLE_H
#define SELVANE_INTERFACE_CONFORMATIONORACLE_H

#include <array>
#include <cstddef>
#include <memory>
#include <tuple>
#include <vector>

#include <armadillo>

#include "Optimization/ThirdOrderOracle.h"

class ElectronDensity;

/// How badly a model fits a map at one placement, without any search: with P(x) the simulated density at the
/// degrees of freedom x and < , > the mean of the products over the L nodes of a fixed grid,
///   f(x) = -<T, P(x)>,  gradient_i = -<T, dP/dx_i>,  hessian(i, j) = -<T, d2P/dx_i dx_j>.
/// The derivatives are those of ElectronDensity, for contacts and weights held fixed, so that f follows them
/// only to the order of the variation of the weights. Values are means over voxels and can't be compared with
/// the scores of a correlation grid.
///
/// Gradient and Hessian are written element by element into what comes in: TrustRegionSolver, whose m_hessian
/// is empty at first, needs it sized by its caller.
///
/// Every call moves the shared density to x and leaves it there. The oracle belongs to one thread.
class ConformationOracle final : public ThirdOrderOracle {
public:
    /// @param targetEdm  T, L values in cGrid order; not copied, must outlive the oracle
    /// @param density    on the same grid
    /// @param nDof       n, the density's degrees of freedom: 6 + modes
    ConformationOracle(const std::vector<double>& targetEdm, std::shared_ptr<ElectronDensity> density,
                       std::size_t nDof);

    /// f(x). It computes first derivatives, too, in maps that it doesn't size: ask for derivatives once
    /// before.
    /// @throws std::length_error  of ElectronDensity::evalRigidFlex when it is the first call, and, as the
    ///                            others, if T has another length than the grid
    double getFunctionValue(const arma::Col<double>& x) override;

    /// @param gradient  n elements or more, of which n are written
    /// @throws std::out_of_range or std::logic_error  of the matrix library if it has fewer
    double getFunctionGradient(const arma::Col<double>& x, arma::Col<double>& gradient) override;

    /// @param gradient  n elements or more, of which n are written
    /// @param hessian   n x n or more, of which n x n are written; symmetric as far as the maps are
    /// @throws std::out_of_range or std::logic_error  of the matrix library if one has fewer
    double getFunctionGradiantAndHessian(const arma::Col<double>& x, arma::Col<double>& gradient,
                                         arma::Mat<double>& hessian) override;

    /// x in its parts: translation in angstrom, infinitesimal rotation in radians, mode amplitudes.
    std::tuple<std::array<double, 3>, std::array<double, 3>, arma::Col<double>>
    getTweenDof(const arma::Col<double>& x) const;

    std::shared_ptr<ElectronDensity> m_density;
    const std::vector<double>& m_targetEdm;            ///< T
    std::vector<double> m_patternEdm;                  ///< P, L values
    std::vector<std::vector<double>> m_gradPatternEdm; ///< n maps, empty until derivatives are asked for
    std::vector<std::vector<double>> m_hessPatternEdm; ///< n * n maps, (i, j) at i * n + j; likewise
    std::size_t m_nDof;                                ///< n

private:
    void sizeMaps(std::vector<std::vector<double>>& maps) const;
    void moveTo(const arma::Col<double>& x);
    double overlap(const std::vector<double>& map) const;
};

#endif
