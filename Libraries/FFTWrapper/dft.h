// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_DFT_H
#define SELVANE_FFTWRAPPER_DFT_H

#include "FFTWrapper/ComplexToRealPlan.h"
#include "FFTWrapper/RealToComplexPlan.h"

/// Three-dimensional real Fourier transforms and the circular correlation built on them.
///
/// The only module that touches the FFT library; none of its headers includes the library's.
///
/// * Real arrays: n_i * n_j * n_k doubles in cGrid order, index k fastest.
/// * Complex arrays: the half spectrum, n_i * n_j * (n_k / 2 + 1) pairs (real, imaginary), integer division.
/// * Forward sign -1 in the exponent; neither direction is scaled, so a round trip multiplies by N = n_i n_j
/// n_k.
/// * Planning is deterministic (FFTW_ESTIMATE): it measures nothing and leaves the arrays alone.
///
/// Plans may be made and destroyed on any thread: one lock inside the module guards the planner. Different
/// plans run concurrently without a lock.
namespace dft {

/// New forward plan on the heap; hand it to destroy_plan().
/// @param in   n_i*n_j*n_k doubles, not owned, must not move
/// @param out  n_i*n_j*(n_k/2+1) pairs, not owned, must not move
/// @throws std::runtime_error if the library has no plan for these sizes
RealToComplexPlan* create_plan(int n_i, int n_j, int n_k, double* in, double (*out)[2]);

/// New inverse plan on the heap, sizes as above with the roles exchanged.
ComplexToRealPlan* create_plan(int n_i, int n_j, int n_k, double (*in)[2], double* out);

/// Destroys and frees a plan of create_plan(); a null pointer is ignored.
void destroy_plan(RealToComplexPlan* plan);
void destroy_plan(ComplexToRealPlan* plan);

/// Runs the transform on the arrays that the plan was made with.
void execute_plan(RealToComplexPlan* plan);
void execute_plan(ComplexToRealPlan* plan);

} // namespace dft

#endif // SELVANE_FFTWRAPPER_DFT_H
