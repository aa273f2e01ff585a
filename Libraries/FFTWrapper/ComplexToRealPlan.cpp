// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/ComplexToRealPlan.h"

#include <fftw3.h>

#include "FFTWrapper/planner.h"

namespace dft {

ComplexToRealPlan::ComplexToRealPlan(int n_i, int n_j, int n_k, double (*in)[2], double* out)
    : m_plan(planner::planInverse(n_i, n_j, n_k, in, out)) {}

ComplexToRealPlan::~ComplexToRealPlan() {
    planner::destroy(m_plan);
}

void ComplexToRealPlan::execute() const {
    fftw_execute(m_plan);
}

} // namespace dft
