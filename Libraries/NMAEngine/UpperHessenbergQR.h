// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_UPPERHESSENBERGQR_H
#define SELVANE_NMAENGINE_UPPERHESSENBERGQR_H

#include <cmath>
#include <limits>
#include <stdexcept>

#include <armadillo>

/// QR factorisation H = Q R of an upper Hessenberg matrix by n - 1 Givens rotations (G. H. Golub and C. F.
/// Van Loan, Matrix Computations). Rotation i makes the entry (i + 1, i) vanish, by
///   (a, b) -> (c a - s b, s a + c b)   of the rows i and i + 1, c = m_rotCos[i], s = m_rotSin[i].
/// Q is the product of their transposes in the order i = 0 ... n - 2.
template <typename Scalar>
class UpperHessenbergQR {
public:
    virtual ~UpperHessenbergQR() = default;

    /// Factorises mat; entries below the first subdiagonal count as zero.
    /// @throws std::invalid_argument  if mat isn't square
    virtual void compute(const arma::Mat<Scalar>& mat);

    /// @return R Q = Q^T H Q, again upper Hessenberg
    /// @throws std::logic_error  "UpperHessenbergQR: need to call compute() first"
    virtual arma::Mat<Scalar> matrix_RQ() const;

    long m_n = 0;               ///< rows of the matrix
    arma::Mat<Scalar> m_matT;   ///< n x n, R
    arma::Col<Scalar> m_rotCos; ///< n - 1
    arma::Col<Scalar> m_rotSin; ///< n - 1
    bool m_computed = false;

protected:
    struct Rotation {
        Scalar cos, sin;
        Scalar length; ///< what x becomes while y vanishes
    };

    /// The rotation that turns (x, y) to (length, 0). A pair no longer than the machine epsilon counts as
    /// zero.
    static Rotation rotationOf(Scalar x, Scalar y) {
        const Scalar length = std::sqrt(x * x + y * y);
        if (length <= std::numeric_limits<Scalar>::epsilon()) {
            return {Scalar(1), Scalar(0), Scalar(0)};
        }
        return {x / length, -y / length, length};
    }

    /// Takes the size of mat and makes room for the rotations.
    void setSize(const arma::Mat<Scalar>& mat) {
        m_computed = false;
        m_n = static_cast<long>(mat.n_rows);
        const arma::uword nRotations = mat.n_rows > 0 ? mat.n_rows - 1 : 0;
        m_rotCos.set_size(nRotations);
        m_rotSin.set_size(nRotations);
    }
};

template <typename Scalar>
void UpperHessenbergQR<Scalar>::compute(const arma::Mat<Scalar>& mat) {
    if (!mat.is_square()) {
        throw std::invalid_argument("UpperHessenbergQR: matrix must be square");
    }
    setSize(mat);
    m_matT = mat;
    for (arma::uword i = 0; i < m_rotCos.n_elem; ++i) {
        for (arma::uword below = i + 2; below < mat.n_rows; ++below) {
            m_matT(below, i) = Scalar(0);
        }
        const Rotation rotation = rotationOf(m_matT(i, i), m_matT(i + 1, i));
        m_rotCos[i] = rotation.cos;
        m_rotSin[i] = rotation.sin;
        m_matT(i, i) = rotation.length;
        m_matT(i + 1, i) = Scalar(0);
        for (arma::uword j = i + 1; j < mat.n_cols; ++j) {
            const Scalar upper = m_matT(i, j);
            const Scalar lower = m_matT(i + 1, j);
            m_matT(i, j) = rotation.cos * upper - rotation.sin * lower;
            m_matT(i + 1, j) = rotation.sin * upper + rotation.cos * lower;
        }
    }
    m_computed = true;
}

template <typename Scalar>
arma::Mat<Scalar> UpperHessenbergQR<Scalar>::matrix_RQ() const {
    if (!m_computed) {
        throw std::logic_error("UpperHessenbergQR: need to call compute() first");
    }
    arma::Mat<Scalar> product = arma::trimatu(m_matT);
    for (arma::uword i = 0; i < m_rotCos.n_elem; ++i) {
        const Scalar c = m_rotCos[i];
        const Scalar s = m_rotSin[i];
        for (arma::uword k = 0; k <= i + 1; ++k) {
            const Scalar left = product(k, i);
            const Scalar right = product(k, i + 1);
            product(k, i) = c * left - s * right;
            product(k, i + 1) = s * left + c * right;
        }
    }
    return product;
}

#endif
