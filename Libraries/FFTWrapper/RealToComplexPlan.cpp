// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/RealToComplexPlan.h"

#include <fftw3.h>

#include "FFTWrapper/planner.h"

namespace dft {

RealToComplexPlan::RealToComplexPlan(int n_i, int n_j, int n_k, const double* in, double (*out)[2])
    : m_plan(planner::planForward(n_i, n_j, n_k, in, out)) {}

RealToComplexPlan::~RealToComplexPlan() {
    planner::destroy(m_plan);
}

void RealToComplexPlan::execute() const {
    fftw_execute(m_plan);
}

} // namespace dft
