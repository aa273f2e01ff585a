// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_TRIDIAGEIGEN_H
#define SELVANE_NMAENGINE_TRIDIAGEIGEN_H

#include <armadillo>

/// All eigenpairs of a small symmetric tridiagonal matrix, T v = e v. Made for double.
template <typename Scalar>
class TridiagEigen {
public:
    /// Only the diagonal and the first subdiagonal of mat are read.
    /// @throws std::invalid_argument  "TridiagEigen: matrix must be square"; "Lapack stedc: illegal value"
    /// @throws std::logic_error       "Lapack stedc: failed to compute all the eigenvalues", also for entries
    ///                                that aren't finite
    void compute(const arma::Mat<Scalar>& mat);

    /// @return n, ascending
    /// @throws std::logic_error  "TridiagEigen: need to call compute() first"
    const arma::Col<Scalar>& eigenvalues() const;

    /// @return n x n, orthonormal columns in the order of the eigenvalues
    /// @throws std::logic_error  "TridiagEigen: need to call compute() first"
    const arma::Mat<Scalar>& eigenvectors() const;

private:
    void requireComputed() const;

    int m_n = 0;
    arma::Col<Scalar> m_mainDiag; ///< n; the eigenvalues after compute()
    arma::Col<Scalar> m_subDiag;  ///< n - 1; of no meaning after compute()
    arma::Mat<Scalar> m_evecs;
    bool m_computed = false;
};

extern template class TridiagEigen<double>;

#endif
