// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/ComplexBatchPlan.h"

#include <fftw3.h>

#include "FFTWrapper/planner.h"

namespace dft {

namespace {

void executePlan(fftw_plan plan) {
    fftw_execute(plan);
}

void executePlan(fftwf_plan plan) {
    fftwf_execute(plan);
}

void executePlan(fftw_plan plan, double (*in)[2], double (*out)[2]) {
    fftw_execute_dft(plan, in, out);
}

void executePlan(fftwf_plan plan, float (*in)[2], float (*out)[2]) {
    fftwf_execute_dft(plan, in, out);
}

/// Of columns that lie side by side, how many can be transformed four at a time, if not all; else all.
template <class Real>
int countAtOnce(const BatchLayout& layout) {
    constexpr int columnsAtOnce = 4;
    const bool isSplit =
        sizeof(Real) == sizeof(float) && layout.distance == 1 && layout.count > columnsAtOnce;
    return isSplit ? layout.count - layout.count % columnsAtOnce : layout.count;
}

} // namespace

template <class Real>
BasicComplexBatchPlan<Real>::BasicComplexBatchPlan(const BatchLayout& layout, TransformSign sign,
                                                   Real (*in)[2], Real (*out)[2])
    : m_restBegin(countAtOnce<Real>(layout)) {
    BatchLayout part = layout;
    part.count = countAtOnce<Real>(layout);
    m_plan.reset(planner::planBatch(part, sign, in, out));
    if (part.count < layout.count) {
        part.count = layout.count - part.count;
        m_rest.reset(planner::planBatch(part, sign, in + m_restBegin, out + m_restBegin));
    }
}

template <class Real>
void BasicComplexBatchPlan<Real>::Destroy::operator()(Plan* plan) const {
    planner::destroy(plan);
}

template <class Real>
void BasicComplexBatchPlan<Real>::execute() const {
    executePlan(m_plan.get());
    if (m_rest) {
        executePlan(m_rest.get());
    }
}

template <class Real>
void BasicComplexBatchPlan<Real>::execute(Real (*in)[2], Real (*out)[2]) const {
    executePlan(m_plan.get(), in, out);
    if (m_rest) {
        executePlan(m_rest.get(), in + m_restBegin, out + m_restBegin);
    }
}

template class BasicComplexBatchPlan<double>;
template class BasicComplexBatchPlan<float>;

} // namespace dft
