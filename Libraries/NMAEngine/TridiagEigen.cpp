// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/TridiagEigen.h"

#include <stdexcept>

#include "NMAEngine/stedc.h"

template <typename Scalar>
void TridiagEigen<Scalar>::compute(const arma::Mat<Scalar>& mat) {
    m_computed = false;
    if (!mat.is_square()) {
        throw std::invalid_argument("TridiagEigen: matrix must be square");
    }
    m_n = static_cast<int>(mat.n_rows);
    m_mainDiag = mat.diag();
    m_subDiag.reset();
    if (m_n > 1) {
        m_subDiag = mat.diag(-1);
    }
    m_evecs.set_size(mat.n_rows, mat.n_rows);
    // With entries that aren't finite LAPACK may print a message and go on.
    if (!m_mainDiag.is_finite() || !m_subDiag.is_finite()) {
        checkStedc(1);
    }
    checkStedc(stedc(m_n, m_mainDiag.memptr(), m_subDiag.memptr(), m_evecs.memptr()));
    m_computed = true;
}

template <typename Scalar>
const arma::Col<Scalar>& TridiagEigen<Scalar>::eigenvalues() const {
    requireComputed();
    return m_mainDiag;
}

template <typename Scalar>
const arma::Mat<Scalar>& TridiagEigen<Scalar>::eigenvectors() const {
    requireComputed();
    return m_evecs;
}

template <typename Scalar>
void TridiagEigen<Scalar>::requireComputed() const {
    if (!m_computed) {
        throw std::logic_error("TridiagEigen: need to call compute() first");
    }
}

template class TridiagEigen<double>;
