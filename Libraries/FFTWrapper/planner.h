// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_PLANNER_H
#define SELVANE_FFTWRAPPER_PLANNER_H

#include "FFTWrapper/ComplexBatchPlan.h"

struct fftw_plan_s;
struct fftwf_plan_s;

/// The FFT library's planner behind one lock, for it is not thread-safe. Internal to the module.
namespace dft::planner {

/// All throw std::runtime_error with the sizes if the library returns no plan.
fftw_plan_s* planForward(int n_i, int n_j, int n_k, const double* in, double (*out)[2]);
fftw_plan_s* planInverse(int n_i, int n_j, int n_k, double (*in)[2], double* out);
fftw_plan_s* planBatch(const BatchLayout& layout, TransformSign sign, double (*in)[2], double (*out)[2]);
fftwf_plan_s* planBatch(const BatchLayout& layout, TransformSign sign, float (*in)[2], float (*out)[2]);
void destroy(fftw_plan_s* plan);
void destroy(fftwf_plan_s* plan);

} // namespace dft::planner

#endif // SELVANE_FFTWRAPPER_PLANNER_H
