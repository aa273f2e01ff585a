// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_SMALLDENSE_H
#define SELVANE_OPTIMIZATION_SMALLDENSE_H

#include <optional>

#include <armadillo>

/// Dense linear algebra on as many unknowns as a pose has degrees of freedom.
///
/// None of it goes through BLAS or LAPACK: their library takes 128 MiB of address space for each thread that
/// is inside it at a time, and under a limit of address space it asks for them again without an end.
namespace smallDense {

/// Upper factor R of A = R^T R, read from the upper triangle of A; empty if A isn't positive definite, or not
/// finite.
/// @throws std::logic_error  "chol(): given matrix is not square"
std::optional<arma::Mat<double>> factorise(const arma::Mat<double>& A);

/// Solution of R^T q = b for an upper triangular R.
/// @throws std::logic_error  if the sizes don't match
arma::Col<double> solveTransposed(const arma::Mat<double>& R, const arma::Col<double>& b);

/// Solution of R p = b for an upper triangular R.
/// @throws std::logic_error  if the sizes don't match
arma::Col<double> solveUpper(const arma::Mat<double>& R, const arma::Col<double>& b);

/// A x.
/// @throws std::logic_error  if the sizes don't match
arma::Col<double> multiply(const arma::Mat<double>& A, const arma::Col<double>& x);

/// The largest singular value; 0 if A is empty or not finite.
double spectralNorm(const arma::Mat<double>& A);

/// Eigenvalues of the matrix that A's upper triangle and its mirror image make, ascending, and orthonormal
/// eigenvectors, a column each. The number of sweeps is bounded.
/// @return false, with the results as they were, if A is empty or not finite, or nothing converged
bool decompose(const arma::Mat<double>& A, arma::Col<double>& eigenvalues, arma::Mat<double>& eigenvectors);

} // namespace smallDense

#endif
