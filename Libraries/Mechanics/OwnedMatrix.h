// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MECHANICS_OWNEDMATRIX_H
#define SELVANE_MECHANICS_OWNEDMATRIX_H

#include <cstddef>
#include <memory>
#include <utility>

#include <armadillo>

/// A sparse matrix or none. Unlike a plain pointer it passes its constness on: who may only read its owner
/// may only read the matrix.
class OwnedMatrix {
public:
    using Matrix = arma::SpMat<double>;

    OwnedMatrix& operator=(std::unique_ptr<Matrix> matrix) {
        m_matrix = std::move(matrix);
        return *this;
    }
    void reset() { m_matrix.reset(); }

    const Matrix* get() const { return m_matrix.get(); }
    const Matrix& operator*() const { return *m_matrix; }
    const Matrix* operator->() const { return m_matrix.get(); }
    Matrix* get() { return m_matrix.get(); }
    Matrix& operator*() { return *m_matrix; }
    Matrix* operator->() { return m_matrix.get(); }

    explicit operator bool() const { return m_matrix != nullptr; }
    bool operator==(std::nullptr_t) const { return m_matrix == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_matrix != nullptr; }

private:
    std::unique_ptr<Matrix> m_matrix;
};

#endif
