// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_BFGSTRUSTREGIONSOLVER_H
#define SELVANE_OPTIMIZATION_BFGSTRUSTREGIONSOLVER_H

#include <memory>

#include <armadillo>

#include "Optimization/SecondOrderOracle.h"
#include "Optimization/Solver.h"

/// Unconstrained minimiser from values and gradients alone: TrustRegionSolver with a Hessian of its own
/// making, which starts as the identity and learns the curvature along each accepted step s from the change y
/// of the gradient (J. Nocedal, S. Wright, Numerical Optimization, 2006, section 6.1):
///   B += y y^T / (y^T s) - B s s^T B / (s^T B s).
/// y^T s isn't held positive, so that B may become indefinite; the sub-problem in the ball copes.
class BfgsTrustRegionSolver : public Solver {
public:
    /// Starts at the origin of n dimensions.
    BfgsTrustRegionSolver(std::shared_ptr<SecondOrderOracle> oracle, unsigned long n, double radius);
    /// Starts at x0.
    BfgsTrustRegionSolver(std::shared_ptr<SecondOrderOracle> oracle, const arma::Col<double>& x0,
                          double radius);

    /// One trial: a value at the trial point and, if the point has moved since the latest one, a gradient.
    /// A reduction below a quarter of the predicted one is refused: m_x stays and the radius becomes a
    /// quarter of itself, without a lower limit. Otherwise m_x moves, and above three quarters the radius
    /// doubles, without an upper limit. A ratio that isn't a number accepts without growth.
    void doStep() override;

    /// The squared norm of the gradient that the latest trial started from; 0 once the radius has collapsed.
    double getResiduals() override;

    std::shared_ptr<SecondOrderOracle> m_oracle; ///< the function
    double m_value = 0.0;         ///< its value at the point that the latest trial started from
    arma::Col<double> m_gradient; ///< its gradient there; zero before the first trial
    arma::Mat<double> m_hessian;  ///< B, the approximation of its Hessian
    arma::Col<double> m_step;     ///< s, the latest step; zero after a refusal
    double m_radius;              ///< trust-region radius; callers may overwrite it
    bool m_needGradient = true;   ///< m_x has moved since m_gradient was computed

private:
    void updateModel();
};

#endif
