// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_SOLVER_H
#define SELVANE_OPTIMIZATION_SOLVER_H

#include <armadillo>

/// Loop and stopping rule of an iterative minimiser; a derived class supplies the step.
class Solver {
public:
    virtual ~Solver() = default;

    /// Takes one step: moves m_x and whatever state belongs to it.
    virtual void doStep() = 0;
    /// How far the latest step's starting point was from a stationary point; 0 stops solve().
    virtual double getResiduals() = 0;

    /// Takes at most max(maxIter, 1) steps.
    /// The first residual r0 is tested absolutely, by r0 <= eps; the later ones relative to r0, by r / r0 <
    /// eps.
    /// @return m_x
    const arma::Col<double>& solve(double eps, unsigned long maxIter);

    arma::Col<double> m_x;    ///< the current point
    bool m_converged = false; ///< set when the relative test of solve() fires
};

#endif
