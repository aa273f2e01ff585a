// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_TRUSTREGIONSOLVER_H
#define SELVANE_OPTIMIZATION_TRUSTREGIONSOLVER_H

#include <memory>
#include <utility>

#include <armadillo>

#include "Optimization/Solver.h"
#include "Optimization/ThirdOrderOracle.h"

/// Unconstrained minimiser with exact second derivatives: each step minimises the quadratic model of the
/// function inside a ball, whose radius follows the ratio of actual to predicted reduction
/// (J. Nocedal, S. Wright, Numerical Optimization, 2006, chapter 4).
class TrustRegionSolver : public Solver {
public:
    /// Starts at the origin of n dimensions.
    TrustRegionSolver(std::shared_ptr<ThirdOrderOracle> oracle, unsigned long n, double radius);
    /// Starts at x0.
    TrustRegionSolver(std::shared_ptr<ThirdOrderOracle> oracle, const arma::Col<double>& x0, double radius);

    /// One accepted step; the radius shrinks by 4 until the reduction is at least a quarter of the predicted
    /// one and doubles, without an upper bound, above three quarters. A ratio that isn't a number accepts.
    void doStep() override;

    /// The squared norm of the gradient that the latest step started from; 0 once the radius has collapsed.
    double getResiduals() override;

    /// Minimises p^T A p - 2 b^T p over |p| <= radius (J. J. More, D. C. Sorensen, 1983): finds lambda >= 0
    /// and p with (A + lambda I) p = b and lambda (radius - |p|) = 0. Note that b stands on the right as it
    /// is, so that a gradient has to be passed negated. Lengths are met to a relative 1e-11.
    /// In the hard case "Hard case !" goes to std::cout.
    /// @param b       n entries
    /// @param A       n x n; of an unsymmetric one the factorisations read the upper triangle, the bounds on
    ///                lambda and the choice between hard-case candidates read all of it
    /// @throws std::logic_error  if A isn't square or the sizes don't match
    static arma::Col<double> solveSubProblem(const arma::Col<double>& b, const arma::Mat<double>& A,
                                             double radius);

    /// @return (true, solveSubProblem(b, A, radius)) if A is positive definite, else (false, a zero column)
    /// @throws std::logic_error  as solveSubProblem
    static std::pair<bool, arma::Col<double>>
    solveConvexSubProblem(const arma::Col<double>& b, const arma::Mat<double>& A, double radius);

    std::shared_ptr<ThirdOrderOracle> m_oracle; ///< the function
    double m_value = 0.0;                       ///< its value at the point that the latest step started from
    arma::Col<double> m_gradient;               ///< its gradient there
    arma::Mat<double> m_hessian;                ///< its Hessian there; empty before the first step
    arma::Col<double> m_step;                   ///< the latest step
    double m_radius;                            ///< trust-region radius; callers may overwrite it

private:
    double reductionRatio();
};

#endif
