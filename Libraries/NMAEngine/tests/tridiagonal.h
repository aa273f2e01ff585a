// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_TESTS_TRIDIAGONAL_H
#define SELVANE_NMAENGINE_TESTS_TRIDIAGONAL_H

#include <armadillo>

/// A symmetric tridiagonal matrix of numbers in (-1, 1), the same in every run.
inline arma::Mat<double> randomTridiagonal(arma::uword n, unsigned seed = 1) {
    arma::arma_rng::set_seed(seed);
    arma::Mat<double> T(n, n, arma::fill::zeros);
    T.diag() = 2.0 * arma::randu(n) - 1.0;
    T.diag(-1) = 2.0 * arma::randu(n - 1) - 1.0;
    T.diag(1) = T.diag(-1);
    return T;
}

#endif
