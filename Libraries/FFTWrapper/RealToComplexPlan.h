// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_REALTOCOMPLEXPLAN_H
#define SELVANE_FFTWRAPPER_REALTOCOMPLEXPLAN_H

struct fftw_plan_s;

namespace dft {

/// Forward transform of one real array into one half spectrum, both fixed at construction:
///   out[p, q, r] = sum_{i,j,k} in[i, j, k] exp(-2 pi i (p i / n_i + q j / n_j + r k / n_k)), r <= n_k / 2.
class RealToComplexPlan {
public:
    /// @param in   n_i*n_j*n_k doubles, k fastest; not owned, only read, must not move
    /// @param out  n_i*n_j*(n_k/2+1) pairs (real, imaginary); not owned, must not move
    /// @throws std::runtime_error with the sizes if the library has no plan for them
    RealToComplexPlan(int n_i, int n_j, int n_k, const double* in, double (*out)[2]);
    ~RealToComplexPlan();

    RealToComplexPlan(const RealToComplexPlan&) = delete;
    RealToComplexPlan& operator=(const RealToComplexPlan&) = delete;

    /// Transforms what the input holds now. Leaves the input as it is.
    void execute() const;

private:
    fftw_plan_s* m_plan;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_REALTOCOMPLEXPLAN_H
