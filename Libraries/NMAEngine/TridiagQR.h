// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_TRIDIAGQR_H
#define SELVANE_NMAENGINE_TRIDIAGQR_H

#include <stdexcept>

#include "NMAEngine/UpperHessenbergQR.h"

/// The same factorisation of a symmetric tridiagonal matrix with at least two rows, by work on the band
/// alone: R has two superdiagonals, and R Q is symmetric tridiagonal again.
template <typename Scalar>
class TridiagQR : public UpperHessenbergQR<Scalar> {
public:
    /// Only the three diagonals of mat are read.
    /// @throws std::invalid_argument  if mat isn't square or has fewer than two rows
    void compute(const arma::Mat<Scalar>& mat) override;

    /// @return R Q = Q^T T Q, symmetric and tridiagonal to the last bit
    /// @throws std::logic_error  "TridiagQR: need to call compute() first"
    arma::Mat<Scalar> matrix_RQ() const override;

    using UpperHessenbergQR<Scalar>::m_n;
    using UpperHessenbergQR<Scalar>::m_matT;
    using UpperHessenbergQR<Scalar>::m_rotCos;
    using UpperHessenbergQR<Scalar>::m_rotSin;
    using UpperHessenbergQR<Scalar>::m_computed;
};

template <typename Scalar>
void TridiagQR<Scalar>::compute(const arma::Mat<Scalar>& mat) {
    if (!mat.is_square() || mat.n_rows < 2) {
        throw std::invalid_argument("TridiagQR: matrix must be square, with two rows or more");
    }
    this->setSize(mat);
    m_matT.zeros(mat.n_rows, mat.n_cols);
    for (const arma::sword k : {-1, 0, 1}) {
        m_matT.diag(k) = mat.diag(k);
    }
    const arma::uword last = mat.n_rows - 2;
    for (arma::uword i = 0; i <= last; ++i) {
        const auto [c, s, length] = this->rotationOf(m_matT(i, i), m_matT(i + 1, i));
        m_rotCos[i] = c;
        m_rotSin[i] = s;
        m_matT(i, i) = length;
        m_matT(i + 1, i) = Scalar(0);
        const Scalar upper = m_matT(i, i + 1);
        const Scalar lower = m_matT(i + 1, i + 1);
        m_matT(i, i + 1) = c * upper - s * lower;
        m_matT(i + 1, i + 1) = s * upper + c * lower;
        if (i == last) {
            break;
        }
        m_matT(i, i + 2) = -s * m_matT(i + 1, i + 2); // the rotation fills the second superdiagonal
        m_matT(i + 1, i + 2) *= c;
    }
    m_computed = true;
}

template <typename Scalar>
arma::Mat<Scalar> TridiagQR<Scalar>::matrix_RQ() const {
    if (!m_computed) {
        throw std::logic_error("TridiagQR: need to call compute() first");
    }
    arma::Mat<Scalar> product(m_matT.n_rows, m_matT.n_cols, arma::fill::zeros);
    product.diag() = m_matT.diag();
    product.diag(1) = m_matT.diag(1);
    Scalar diagonal = product(0, 0); // of column i, after the rotation of the columns i - 1 and i
    for (arma::uword i = 0; i < m_rotCos.n_elem; ++i) {
        const Scalar c = m_rotCos[i];
        const Scalar s = m_rotSin[i];
        product(i, i) = c * diagonal - s * product(i, i + 1);
        product(i + 1, i) = -s * product(i + 1, i + 1);
        diagonal = c * product(i + 1, i + 1);
        product(i + 1, i + 1) = diagonal;
    }
    product.diag(1) = product.diag(-1); // symmetric, so that the superdiagonal needs no rotation
    return product;
}

#endif
