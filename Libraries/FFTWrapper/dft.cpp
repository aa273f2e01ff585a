// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/dft.h"

namespace dft {

RealToComplexPlan* create_plan(int n_i, int n_j, int n_k, double* in, double (*out)[2]) {
    return new RealToComplexPlan(n_i, n_j, n_k, in, out);
}

ComplexToRealPlan* create_plan(int n_i, int n_j, int n_k, double (*in)[2], double* out) {
    return new ComplexToRealPlan(n_i, n_j, n_k, in, out);
}

void destroy_plan(RealToComplexPlan* plan) {
    delete plan;
}

void destroy_plan(ComplexToRealPlan* plan) {
    delete plan;
}

void execute_plan(RealToComplexPlan* plan) {
    plan->execute();
}

void execute_plan(ComplexToRealPlan* plan) {
    plan->execute();
}

} // namespace dft
