// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_SYMEIGSSOLVER_H
#define SELVANE_NMAENGINE_SYMEIGSSOLVER_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <vector>

#include <armadillo>

#include "NMAEngine/TridiagEigen.h"
#include "NMAEngine/TridiagQR.h"

/// The largest eigenvalues of a symmetric operator A that is known by its products with vectors alone:
/// Lanczos' method (C. Lanczos, 1950) with implicit restarts by exact shifts (D. C. Sorensen, 1992).
///
/// The solver keeps the factorisation A V = V H + f e^T, with V an orthonormal basis of a Krylov subspace, H
/// tridiagonal, f orthogonal to V and e the last unit vector. The eigenpairs of H, mapped by V, approximate
/// those of A (Ritz pairs); |last entry of the eigenvector of H| |f| is the length of their residual.
///
/// Of a repeated eigenvalue one Krylov subspace holds one eigenvector. The others enter through rounding, or
/// when the basis can't grow and goes on in a random direction, so that copies can be missed. Residuals below
/// m_prec count as zero whatever the scale of A, so that eigenvalues are good to about 1e-10 at best. A small
/// subspace converges slowly where the eigenvalues are close to each other, two dimensions above all.
///
/// @tparam SelectionRule  largestAlgebraic
/// @tparam Operator       has rows(), the dimension, and perform_op(const Scalar* in, Scalar* out) const
template <typename Scalar, int SelectionRule, typename Operator>
class SymEigsSolver {
public:
    static constexpr int largestAlgebraic = 3;
    static_assert(SelectionRule == largestAlgebraic, "the one rule is: largest algebraic value first");

    /// @param op   not owned, must outlive the solver
    /// @param nev  eigenvalues wanted
    /// @param ncv  dimension of the Krylov subspace
    /// @throws std::invalid_argument
    ///     "nev must satisfy 1 <= nev <= n - 1, n is the size of matrix"
    ///     "ncv must satisfy nev < ncv <= n, n is the size of matrix"
    SymEigsSolver(const Operator* op, int nev, int ncv);
    virtual ~SymEigsSolver() = default;

    /// Starts the factorisation with one step; to be called before all below.
    /// @param resid  n numbers, the start vector; not owned
    /// @throws std::invalid_argument  "initial residual vector cannot be zero"
    void init(const Scalar* resid);

    /// Completes the factorisation to m_ncv steps and restarts it until m_nev pairs have converged, at most
    /// 1000 times.
    /// @return the number of converged pairs, which can be smaller than m_nev
    int compute();

    /// @return the converged eigenvalues, by decreasing magnitude
    arma::Col<Scalar> eigenvalues() const;

    /// @return n x min(nvec, number of converged pairs), the eigenvectors of the first eigenvalues
    arma::Mat<Scalar> eigenvectors(int nvec) const;

    // The steps of compute().

    /// Extends a factorisation of `from` steps with the residual fk to `to` steps, 1 <= from, to <= m_ncv.
    void factorize_from(int from, int to, const arma::Col<Scalar>& fk);

    /// Filters the unwanted Ritz values out of the factorisation, which shrinks to k steps, and extends it
    /// again to m_ncv; 1 <= k. Nothing happens from k = m_ncv on.
    void restart(int k);

    /// Takes the Ritz pairs from m_facH, by decreasing value.
    void retrieve_ritzpair();

    /// Sets m_ritzConv: a pair has converged if its residual is below 1e-10 times its value.
    /// @return the number of converged pairs
    int testConvergence();

    /// Brings the first m_nev pairs to decreasing magnitude and forgets the other values.
    virtual void sort_ritzpair();

    const Operator* m_op; ///< not owned
    int m_dimN;           ///< n
    int m_nev;            ///< eigenvalues wanted
    int m_ncv;            ///< dimension of the Krylov subspace
    int m_nMatOp = 0;     ///< products with the operator
    int m_nIter = 0;      ///< restarts + 1 after compute()

    arma::Mat<Scalar> m_facV;     ///< n x ncv, V
    arma::Mat<Scalar> m_facH;     ///< ncv x ncv, H
    arma::Col<Scalar> m_facF;     ///< n, f
    arma::Col<Scalar> m_ritzVal;  ///< ncv
    arma::Mat<Scalar> m_ritzVec;  ///< ncv x nev, eigenvectors of H
    std::vector<bool> m_ritzConv; ///< nev, which of the first pairs have converged

    /// What counts as zero: the machine epsilon to the power 2/3.
    Scalar m_prec = std::pow(std::numeric_limits<Scalar>::epsilon(), Scalar(2) / Scalar(3));

private:
    using Vector = arma::Col<Scalar>;
    using Matrix = arma::Mat<Scalar>;

    static constexpr int maxRestarts = 1000;
    static constexpr int maxReorthogonalisations = 5;
    static constexpr Scalar tolerance = Scalar(1e-10); // relative to the eigenvalue

    static int dimensionOf(const Operator& op);
    Vector multiply(const Vector& v);
    bool replaceVanishingResidual(arma::uword i);
    void reorthogonalise(arma::uword i);
    void compress(int k, const Matrix& Q);
    int nKept(int nConverged) const;
    arma::uvec converged() const;
};

template <typename Scalar, int SelectionRule, typename Operator>
SymEigsSolver<Scalar, SelectionRule, Operator>::SymEigsSolver(const Operator* op, int nev, int ncv)
    : m_op(op), m_dimN(dimensionOf(*op)), m_nev(nev), m_ncv(std::min(ncv, m_dimN)) {
    if (nev < 1 || nev > m_dimN - 1) {
        throw std::invalid_argument("nev must satisfy 1 <= nev <= n - 1, n is the size of matrix");
    }
    if (ncv <= nev || ncv > m_dimN) {
        throw std::invalid_argument("ncv must satisfy nev < ncv <= n, n is the size of matrix");
    }
}

template <typename Scalar, int SelectionRule, typename Operator>
int SymEigsSolver<Scalar, SelectionRule, Operator>::dimensionOf(const Operator& op) {
    const auto rows = op.rows();
    if (rows > static_cast<decltype(rows)>(std::numeric_limits<int>::max())) {
        throw std::length_error("SymEigsSolver: the operator has more rows than an int can count");
    }
    return static_cast<int>(rows);
}

template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::init(const Scalar* resid) {
    const auto n = static_cast<arma::uword>(m_dimN);
    const auto ncv = static_cast<arma::uword>(m_ncv);
    const auto nev = static_cast<arma::uword>(m_nev);
    m_facV.zeros(n, ncv);
    m_facH.zeros(ncv, ncv);
    m_facF.zeros(n);
    m_ritzVal.zeros(ncv);
    m_ritzVec.zeros(ncv, nev);
    m_ritzConv.assign(nev, false);
    m_nMatOp = 0;
    m_nIter = 0;

    const Vector start(resid, n);
    const Scalar length = arma::norm(start);
    if (length < m_prec) {
        throw std::invalid_argument("initial residual vector cannot be zero");
    }
    const Vector v = start / length;
    m_facV.col(0) = v;
    const Vector w = multiply(v);
    m_facH(0, 0) = arma::dot(v, w);
    m_facF = w - m_facH(0, 0) * v;
}

template <typename Scalar, int SelectionRule, typename Operator>
int SymEigsSolver<Scalar, SelectionRule, Operator>::compute() {
    factorize_from(1, m_ncv, m_facF);
    retrieve_ritzpair();
    int nRestarts = 0;
    for (; nRestarts < maxRestarts; ++nRestarts) {
        const int nConverged = testConvergence();
        if (nConverged >= m_nev) {
            break;
        }
        restart(nKept(nConverged));
    }
    sort_ritzpair();
    m_nIter = nRestarts + 1;
    return testConvergence();
}

/// How many steps a restart keeps: the more the more pairs have converged, lest they take all the room.
template <typename Scalar, int SelectionRule, typename Operator>
int SymEigsSolver<Scalar, SelectionRule, Operator>::nKept(int nConverged) const {
    if (m_nev == 1 && m_ncv >= 6) {
        return m_ncv / 2;
    }
    if (m_nev == 1 && m_ncv > 2) {
        return 2;
    }
    return m_nev + std::min(nConverged, (m_ncv - m_nev) / 2);
}

template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::factorize_from(int from, int to, const Vector& fk) {
    if (to <= from) {
        return;
    }
    m_facF = fk;
    const auto first = static_cast<arma::uword>(from);
    m_facH.tail_cols(m_facH.n_cols - first).zeros();
    m_facH.tail_rows(m_facH.n_rows - first).zeros();
    for (arma::uword i = first; i < static_cast<arma::uword>(to); ++i) {
        const bool replaced = replaceVanishingResidual(i);
        const Scalar beta = arma::norm(m_facF);
        const Vector v = m_facF / beta;
        m_facV.col(i) = v;
        m_facH(i, i - 1) = m_facH(i - 1, i) = replaced ? Scalar(0) : beta;
        const Vector w = multiply(v);
        m_facH(i, i) = arma::dot(v, w);
        m_facF = w - m_facH(i, i) * v;
        if (!replaced) {
            m_facF -= beta * m_facV.col(i - 1);
        }
        reorthogonalise(i);
    }
}

/// If the first i vectors span an invariant subspace, goes on from a random direction orthogonal to it.
template <typename Scalar, int SelectionRule, typename Operator>
bool SymEigsSolver<Scalar, SelectionRule, Operator>::replaceVanishingResidual(arma::uword i) {
    if (!(arma::norm(m_facF) < m_prec)) {
        return false;
    }
    m_facF = arma::randu<Vector>(m_facF.n_elem) - Scalar(0.5);
    const auto basis = m_facV.head_cols(i);
    m_facF -= basis * Vector(basis.t() * m_facF);
    return true;
}

/// Makes the residual of step i orthogonal to the basis to m_prec of its length, and adds to H what it
/// removes.
template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::reorthogonalise(arma::uword i) {
    const auto basis = m_facV.head_cols(i + 1);
    Vector overlaps = basis.t() * m_facF;
    for (int pass = 0; pass < maxReorthogonalisations; ++pass) {
        if (!(arma::abs(overlaps).max() > m_prec * arma::norm(m_facF))) {
            break;
        }
        m_facF -= basis * overlaps;
        m_facH(i - 1, i) += overlaps[i - 1];
        m_facH(i, i - 1) = m_facH(i - 1, i);
        m_facH(i, i) += overlaps[i];
        overlaps = basis.t() * m_facF;
    }
}

template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::retrieve_ritzpair() {
    TridiagEigen<Scalar> decomposition;
    decomposition.compute(m_facH);
    m_ritzVal = arma::reverse(decomposition.eigenvalues());
    m_ritzVec = arma::fliplr(decomposition.eigenvectors().tail_cols(static_cast<arma::uword>(m_nev)));
}

template <typename Scalar, int SelectionRule, typename Operator>
int SymEigsSolver<Scalar, SelectionRule, Operator>::testConvergence() {
    const Scalar f = arma::norm(m_facF);
    for (arma::uword j = 0; j < m_ritzVec.n_cols; ++j) {
        const Scalar residual = std::abs(m_ritzVec(m_ritzVec.n_rows - 1, j)) * f;
        m_ritzConv[j] = residual < tolerance * std::max(std::abs(m_ritzVal[j]), m_prec);
    }
    return static_cast<int>(std::count(m_ritzConv.begin(), m_ritzConv.end(), true));
}

template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::restart(int k) {
    if (k >= m_ncv) {
        return;
    }
    const arma::uword ncv = m_facH.n_rows;
    Matrix Q(ncv, ncv, arma::fill::eye);
    TridiagQR<Scalar> qr;
    for (auto i = static_cast<arma::uword>(k); i < ncv; ++i) {
        const Scalar shift = m_ritzVal[i];
        m_facH.diag() -= shift;
        qr.compute(m_facH);
        for (arma::uword j = 0; j + 1 < ncv; ++j) {
            const Scalar c = qr.m_rotCos[j];
            const Scalar s = qr.m_rotSin[j];
            const Vector left = Q.col(j);
            Q.col(j) = c * left - s * Q.col(j + 1);
            Q.col(j + 1) = s * left + c * Q.col(j + 1);
        }
        m_facH = qr.matrix_RQ();
        m_facH.diag() += shift;
    }
    compress(k, Q);
    retrieve_ritzpair();
}

/// Replaces the first k + 1 basis vectors by those of V Q, and extends the factorisation of the first k
/// again.
template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::compress(int k, const Matrix& Q) {
    const auto kept = static_cast<arma::uword>(k);
    const arma::uword last = Q.n_rows - 1;
    Matrix compressed(m_facV.n_rows, kept + 1);
    for (arma::uword i = 0; i <= kept; ++i) {
        // Each of the ncv - k shifts adds one subdiagonal to Q; the entries below are zero.
        const arma::uword length = std::min(Q.n_rows, Q.n_rows - kept + 1 + i);
        compressed.col(i) = m_facV.head_cols(length) * Vector(Q.col(i).head(length));
    }
    m_facV.head_cols(kept + 1) = compressed;
    const Vector residual = m_facF * Q(last, kept - 1) + m_facV.col(kept) * m_facH(kept, kept - 1);
    factorize_from(k, m_ncv, residual);
}

template <typename Scalar, int SelectionRule, typename Operator>
void SymEigsSolver<Scalar, SelectionRule, Operator>::sort_ritzpair() {
    const auto nev = static_cast<arma::uword>(m_nev);
    const arma::uvec order = arma::stable_sort_index(Vector(arma::abs(m_ritzVal.head(nev))), "descend");
    const Vector values = m_ritzVal;
    const std::vector<bool> flags = m_ritzConv;
    m_ritzVec = Matrix(m_ritzVec.cols(order));
    m_ritzVal.zeros();
    for (arma::uword j = 0; j < nev; ++j) {
        m_ritzVal[j] = values[order[j]];
        m_ritzConv[j] = flags[order[j]];
    }
}

/// The places of the converged pairs.
template <typename Scalar, int SelectionRule, typename Operator>
arma::uvec SymEigsSolver<Scalar, SelectionRule, Operator>::converged() const {
    std::vector<arma::uword> places;
    for (std::size_t j = 0; j < m_ritzConv.size(); ++j) {
        if (m_ritzConv[j]) {
            places.push_back(j);
        }
    }
    return arma::uvec(places);
}

template <typename Scalar, int SelectionRule, typename Operator>
arma::Col<Scalar> SymEigsSolver<Scalar, SelectionRule, Operator>::eigenvalues() const {
    return m_ritzVal(converged());
}

template <typename Scalar, int SelectionRule, typename Operator>
arma::Mat<Scalar> SymEigsSolver<Scalar, SelectionRule, Operator>::eigenvectors(int nvec) const {
    const arma::uvec places = converged();
    const auto wanted = static_cast<arma::uword>(std::max(nvec, 0));
    const arma::uword count = std::min(wanted, places.n_elem);
    if (count == 0) {
        return Matrix(static_cast<arma::uword>(m_dimN), 0);
    }
    return m_facV * m_ritzVec.cols(places.head(count));
}

template <typename Scalar, int SelectionRule, typename Operator>
arma::Col<Scalar> SymEigsSolver<Scalar, SelectionRule, Operator>::multiply(const Vector& v) {
    Vector product(v.n_elem);
    m_op->perform_op(v.memptr(), product.memptr());
    ++m_nMatOp;
    return product;
}

#endif
