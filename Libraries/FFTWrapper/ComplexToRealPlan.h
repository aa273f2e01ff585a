// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_COMPLEXTOREALPLAN_H
#define SELVANE_FFTWRAPPER_COMPLEXTOREALPLAN_H

struct fftw_plan_s;

namespace dft {

/// Inverse transform of one half spectrum into one real array, both fixed at construction. Unscaled: after
/// RealToComplexPlan it yields n_i n_j n_k times the original.
class ComplexToRealPlan {
public:
    /// @param in   n_i*n_j*(n_k/2+1) pairs (real, imaginary); not owned, must not move, destroyed by
    /// execute()
    /// @param out  n_i*n_j*n_k doubles, k fastest; not owned, must not move
    /// @throws std::runtime_error with the sizes if the library has no plan for them
    ComplexToRealPlan(int n_i, int n_j, int n_k, double (*in)[2], double* out);
    ~ComplexToRealPlan();

    ComplexToRealPlan(const ComplexToRealPlan&) = delete;
    ComplexToRealPlan& operator=(const ComplexToRealPlan&) = delete;

    /// Transforms what the input holds now and uses the input as scratch space.
    void execute() const;

private:
    fftw_plan_s* m_plan;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_COMPLEXTOREALPLAN_H
