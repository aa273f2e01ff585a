// SPDX-License-Identifier: GPL-3.0-or-later
#include "Optimization/smallDense.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include <Eigen/Core>
#include <Eigen/Eigenvalues>

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

Eigen::Index index(arma::uword n) {
    return static_cast<Eigen::Index>(n);
}

Eigen::Map<const Eigen::MatrixXd> view(const Matrix& A) {
    return {A.memptr(), index(A.n_rows), index(A.n_cols)};
}

void requireLength(const char* operation, arma::uword expected, arma::uword found) {
    if (expected != found) {
        throw std::logic_error(std::string(operation) + ": a vector of " + std::to_string(found) +
                               " elements where the matrix has " + std::to_string(expected));
    }
}

/// sum of R(i, column) R(i, row) over i below `count`.
double dotOfColumns(const Matrix& R, arma::uword row, arma::uword column, arma::uword count) {
    const double* a = R.colptr(row);
    const double* b = R.colptr(column);
    double sum = 0.0;
    for (arma::uword i = 0; i < count; ++i) {
        sum += a[i] * b[i];
    }
    return sum;
}

/// Of a symmetric matrix, the largest eigenvalue by magnitude; 0 without eigenvalues.
double largestEigenvalue(const Matrix& symmetric) {
    Vector eigenvalues;
    Matrix eigenvectors;
    if (!smallDense::decompose(symmetric, eigenvalues, eigenvectors)) {
        return 0.0;
    }
    return std::max(std::abs(eigenvalues.front()), std::abs(eigenvalues.back()));
}

bool isSymmetric(const Matrix& A) {
    if (!A.is_square()) {
        return false;
    }
    for (arma::uword j = 0; j < A.n_cols; ++j) {
        for (arma::uword i = 0; i < j; ++i) {
            if (A(i, j) != A(j, i)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

std::optional<arma::Mat<double>> smallDense::factorise(const arma::Mat<double>& A) {
    if (!A.is_square()) {
        throw std::logic_error("chol(): given matrix is not square");
    }
    Matrix R(A.n_rows, A.n_cols, arma::fill::zeros);
    for (arma::uword j = 0; j < A.n_cols; ++j) {
        for (arma::uword i = 0; i < j; ++i) {
            R(i, j) = (A(i, j) - dotOfColumns(R, i, j, i)) / R(i, i);
        }
        const double pivot = A(j, j) - dotOfColumns(R, j, j, j);
        // The comparison refuses what isn't a number, too.
        if (!(pivot > 0.0) || !std::isfinite(pivot)) {
            return std::nullopt;
        }
        R(j, j) = std::sqrt(pivot);
    }
    return R;
}

arma::Col<double> smallDense::solveTransposed(const arma::Mat<double>& R, const arma::Col<double>& b) {
    requireLength("solveTransposed", R.n_rows, b.n_elem);
    Vector q = b;
    for (arma::uword i = 0; i < q.n_elem; ++i) {
        const double* column = R.colptr(i);
        for (arma::uword k = 0; k < i; ++k) {
            q[i] -= column[k] * q[k];
        }
        q[i] /= column[i];
    }
    return q;
}

arma::Col<double> smallDense::solveUpper(const arma::Mat<double>& R, const arma::Col<double>& b) {
    requireLength("solveUpper", R.n_rows, b.n_elem);
    Vector p = b;
    for (arma::uword j = p.n_elem; j-- > 0;) {
        const double* column = R.colptr(j);
        p[j] /= column[j];
        for (arma::uword i = 0; i < j; ++i) {
            p[i] -= column[i] * p[j];
        }
    }
    return p;
}

arma::Col<double> smallDense::multiply(const arma::Mat<double>& A, const arma::Col<double>& x) {
    requireLength("multiply", A.n_cols, x.n_elem);
    Vector y(A.n_rows, arma::fill::zeros);
    for (arma::uword j = 0; j < A.n_cols; ++j) {
        const double* column = A.colptr(j);
        for (arma::uword i = 0; i < A.n_rows; ++i) {
            y[i] += column[i] * x[j];
        }
    }
    return y;
}

double smallDense::spectralNorm(const arma::Mat<double>& A) {
    if (A.is_empty() || !A.is_finite()) {
        return 0.0;
    }
    if (A.n_rows == 1 || A.n_cols == 1) {
        return arma::norm(arma::vectorise(A), 2);
    }
    if (isSymmetric(A)) {
        return largestEigenvalue(A);
    }
    // Scaled, so that the squares stay in range.
    const double scale = arma::abs(A).max();
    const Eigen::MatrixXd scaled = view(A) / scale;
    Matrix square(A.n_cols, A.n_cols);
    Eigen::Map<Eigen::MatrixXd>(square.memptr(), index(A.n_cols), index(A.n_cols)).noalias() =
        scaled.transpose() * scaled;
    return scale * std::sqrt(largestEigenvalue(square));
}

bool smallDense::decompose(const arma::Mat<double>& A, arma::Col<double>& eigenvalues,
                           arma::Mat<double>& eigenvectors) {
    const Matrix symmetric = arma::symmatu(A);
    if (symmetric.is_empty() || !symmetric.is_finite()) {
        return false;
    }
    const Eigen::SelfAdjointEigenSolver<Eigen::MatrixXd> solver(view(symmetric));
    if (solver.info() != Eigen::Success) {
        return false;
    }
    eigenvalues = Vector(solver.eigenvalues().data(), A.n_cols);
    eigenvectors = Matrix(solver.eigenvectors().data(), A.n_rows, A.n_cols);
    return true;
}
