// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/ComplexBatchPlan.h"

#include <fftw3.h>

#include "FFTWrapper/planner.h"

namespace dft {

ComplexBatchPlan::ComplexBatchPlan(const Layout& layout, Sign sign, double (*in)[2], double (*out)[2])
    : m_plan(planner::planBatch(layout, static_cast<int>(sign), in, out)) {}

ComplexBatchPlan::~ComplexBatchPlan() {
    planner::destroy(m_plan);
}

void ComplexBatchPlan::execute() const {
    fftw_execute(m_plan);
}

void ComplexBatchPlan::execute(double (*in)[2], double (*out)[2]) const {
    fftw_execute_dft(m_plan, in, out);
}

} // namespace dft
