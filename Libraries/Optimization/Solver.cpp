// SPDX-License-Identifier: GPL-3.0-or-later
#include "Optimization/Solver.h"

const arma::Col<double>& Solver::solve(double eps, unsigned long maxIter) {
    doStep();
    const double firstResidual = getResiduals();
    if (!(firstResidual > eps) || maxIter < 2) {
        return m_x;
    }

    for (unsigned long iteration = 1; iteration < maxIter; ++iteration) {
        doStep();
        if (eps > getResiduals() / firstResidual) {
            m_converged = true;
            break;
        }
    }
    return m_x;
}
