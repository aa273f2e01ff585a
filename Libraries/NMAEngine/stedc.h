// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_STEDC_H
#define SELVANE_NMAENGINE_STEDC_H

/// Eigenpairs of a symmetric tridiagonal matrix by LAPACK's divide and conquer (J. J. M. Cuppen, 1981).
/// @param n            rows of the matrix
/// @param diagonal     n; becomes the eigenvalues, ascending
/// @param subDiagonal  n - 1; overwritten
/// @param vectors      n x n, column by column; becomes the eigenvectors, of unit length
/// @return the info of LAPACK, for checkStedc()
/// @throws std::length_error  if the workspace of so large a matrix can't be counted in an int
int stedc(int n, double* diagonal, double* subDiagonal, double* vectors);

/// Raises what an info of stedc() tells; 0 is success.
/// @throws std::invalid_argument  "Lapack stedc: illegal value", below 0
/// @throws std::logic_error       "Lapack stedc: failed to compute all the eigenvalues", above 0
void checkStedc(int info);

#endif
