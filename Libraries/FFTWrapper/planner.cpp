// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/planner.h"

#include <mutex>
#include <stdexcept>
#include <string>

#include <fftw3.h>

namespace dft::planner {

namespace {

std::mutex plannerMutex;

fftw_plan_s* requirePlan(fftw_plan plan, const char* kind, int n_i, int n_j, int n_k) {
    if (plan == nullptr) {
        throw std::runtime_error(std::string("no ") + kind + " transform for a grid of " +
                                 std::to_string(n_i) + " x " + std::to_string(n_j) + " x " +
                                 std::to_string(n_k));
    }
    return plan;
}

} // namespace

fftw_plan_s* planForward(int n_i, int n_j, int n_k, const double* in, double (*out)[2]) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    // The library's type is not const, but an out-of-place forward transform preserves its input by default.
    const fftw_plan plan = fftw_plan_dft_r2c_3d(n_i, n_j, n_k, const_cast<double*>(in), out, FFTW_ESTIMATE);
    return requirePlan(plan, "forward", n_i, n_j, n_k);
}

fftw_plan_s* planInverse(int n_i, int n_j, int n_k, double (*in)[2], double* out) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    const fftw_plan plan = fftw_plan_dft_c2r_3d(n_i, n_j, n_k, in, out, FFTW_ESTIMATE);
    return requirePlan(plan, "inverse", n_i, n_j, n_k);
}

void destroy(fftw_plan_s* plan) {
    const std::lock_guard<std::mutex> lock(plannerMutex);
    fftw_destroy_plan(plan);
}

} // namespace dft::planner
