// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/planner.h"

#include <mutex>
#include <stdexcept>
#include <string>

#include <fftw3.h>

namespace dft::planner {

namespace {

std::mutex plannerMutex;

template <class Plan>
Plan* requirePlan(Plan* plan, const std::string& what) {
    if (plan == nullptr) {
        throw std::runtime_error("no " + what);
    }
    return plan;
}

std::string transformOf(const char* kind, int n_i, int n_j, int n_k) {
    return std::string(kind) + " transform for a grid of " + std::to_string(n_i) + " x " +
           std::to_string(n_j) + " x " + std::to_string(n_k);
}

std::string transformsOf(const BatchLayout& layout) {
    return std::to_string(layout.count) + " transforms of " + std::to_string(layout.length) + " elements";
}

} // namespace

fftw_plan_s* planForward(int n_i, int n_j, int n_k, const double* in, double (*out)[2]) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    // The library's type is not const, but an out-of-place forward transform preserves its input by default.
    fftw_plan_s* const plan =
        fftw_plan_dft_r2c_3d(n_i, n_j, n_k, const_cast<double*>(in), out, FFTW_ESTIMATE);
    return requirePlan(plan, transformOf("forward", n_i, n_j, n_k));
}

fftw_plan_s* planInverse(int n_i, int n_j, int n_k, double (*in)[2], double* out) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    fftw_plan_s* const plan = fftw_plan_dft_c2r_3d(n_i, n_j, n_k, in, out, FFTW_ESTIMATE);
    return requirePlan(plan, transformOf("inverse", n_i, n_j, n_k));
}

fftw_plan_s* planBatch(const BatchLayout& layout, TransformSign sign, double (*in)[2], double (*out)[2]) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    fftw_plan_s* const plan =
        fftw_plan_many_dft(1, &layout.length, layout.count, in, nullptr, layout.stride, layout.distance, out,
                           nullptr, layout.stride, layout.distance, static_cast<int>(sign), FFTW_ESTIMATE);
    return requirePlan(plan, transformsOf(layout));
}

fftwf_plan_s* planBatch(const BatchLayout& layout, TransformSign sign, float (*in)[2], float (*out)[2]) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    fftwf_plan_s* const plan =
        fftwf_plan_many_dft(1, &layout.length, layout.count, in, nullptr, layout.stride, layout.distance, out,
                            nullptr, layout.stride, layout.distance, static_cast<int>(sign), FFTW_ESTIMATE);
    return requirePlan(plan, transformsOf(layout));
}

void destroy(fftw_plan_s* plan) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    fftw_destroy_plan(plan);
}

void destroy(fftwf_plan_s* plan) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    fftwf_destroy_plan(plan);
}

} // namespace dft::planner
