// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "NMAEngine/SymEigsSolver.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

// A basis vector is orthogonal to the ones before to m_prec, 4e-11; some dozens of them, and a last direction
// that is left over between many, make it worse.
constexpr double orthogonality = 1e-8;
// Relative to the largest eigenvalue; that of a pair is asked for to 1e-10 of its own eigenvalue.
constexpr double residualTolerance = 1e-8;
// Of an eigenvalue, whose error is of second order in the residual.
constexpr double valueTolerance = 1e-12;

/// A dense symmetric matrix that counts its products.
struct DenseOperator {
    Matrix matrix;
    mutable int nProducts = 0;

    arma::uword rows() const { return matrix.n_rows; }

    void perform_op(const double* in, double* out) const {
        const Vector product = matrix * Vector(in, matrix.n_cols);
        std::copy(product.begin(), product.end(), out);
        ++nProducts;
    }
};

using Solver = SymEigsSolver<double, 3, DenseOperator>;

/// Random eigenvectors for given eigenvalues; also fixes the generator.
DenseOperator operatorWith(const Vector& eigenvalues, unsigned seed = 1) {
    arma::arma_rng::set_seed(seed);
    const arma::uword n = eigenvalues.n_elem;
    Matrix Q;
    Matrix R;
    arma::qr(Q, R, arma::randn(n, n));
    return {arma::symmatu(Matrix(Q * arma::diagmat(eigenvalues) * Q.t()))};
}

void initRandomly(Solver& solver) {
    const Vector start = arma::randu(static_cast<arma::uword>(solver.m_dimN)) - 0.5;
    solver.init(start.memptr());
}

double largest(const Matrix& m) {
    return m.is_empty() ? 0.0 : arma::abs(m).max();
}

/// A V = V H + f e^T with orthonormal V and tridiagonal H, for the first n steps.
void expectFactorisation(const Solver& solver, arma::uword n) {
    const Matrix& A = solver.m_op->matrix;
    const Matrix V = solver.m_facV.head_cols(n);
    const Matrix H = solver.m_facH.submat(0, 0, n - 1, n - 1);
    Matrix difference = A * V - V * H;
    difference.col(n - 1) -= solver.m_facF;
    const double scale = std::max(1.0, largest(arma::eig_sym(A)));
    EXPECT_LT(largest(V.t() * V - arma::eye(n, n)), orthogonality);
    EXPECT_LT(largest(V.t() * solver.m_facF), orthogonality * scale);
    EXPECT_LT(largest(difference), orthogonality * scale);
    EXPECT_TRUE(H.is_symmetric());
    EXPECT_TRUE(n < 3 || arma::trimatl(H, -2).is_zero());
}

/// All pairs that converged are eigenpairs, with orthonormal vectors.
void expectEigenpairs(const Solver& solver) {
    const Matrix& A = solver.m_op->matrix;
    const Vector e = solver.eigenvalues();
    const Matrix V = solver.eigenvectors(solver.m_nev);
    ASSERT_EQ(V.n_cols, e.n_elem);
    ASSERT_EQ(V.n_rows, A.n_rows);
    const double scale = std::max(1.0, largest(arma::eig_sym(A)));
    EXPECT_LT(largest(A * V - V * arma::diagmat(e)), residualTolerance * scale);
    EXPECT_LT(largest(V.t() * V - arma::eye(V.n_cols, V.n_cols)), orthogonality);
}

/// Solves for nev pairs on 2 nev dimensions and expects the largest of the given eigenvalues, by decreasing
/// magnitude.
void expectLargest(const Vector& eigenvalues, int nev, unsigned seed = 1) {
    SCOPED_TRACE("n = " + std::to_string(eigenvalues.n_elem) + ", nev = " + std::to_string(nev));
    const DenseOperator op = operatorWith(eigenvalues, seed);
    Solver solver(&op, nev, 2 * nev);
    initRandomly(solver);
    ASSERT_EQ(solver.compute(), nev);
    const Vector sorted = arma::sort(eigenvalues, "descend");
    Vector expected = sorted.head(static_cast<arma::uword>(nev));
    expected = Vector(expected(arma::stable_sort_index(arma::abs(expected), "descend")));
    const double scale = std::max(1.0, largest(eigenvalues));
    EXPECT_LT(arma::norm(solver.eigenvalues() - expected, "inf"), valueTolerance * scale);
    expectEigenpairs(solver);
    expectFactorisation(solver, static_cast<arma::uword>(solver.m_ncv));
    EXPECT_EQ(solver.m_nMatOp, op.nProducts);
}

template <typename Call>
std::string invalidArgumentOf(const Call& call) {
    try {
        call();
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

const std::string nevText = "nev must satisfy 1 <= nev <= n - 1, n is the size of matrix";
const std::string ncvText = "ncv must satisfy nev < ncv <= n, n is the size of matrix";

// --- against the spectrum ---

TEST(SymEigsSolver, FindsTheLargestOfSeparatedEigenvalues) {
    for (const arma::uword n : {2u, 3u, 4u, 5u, 10u, 37u, 120u, 500u}) {
        for (const arma::uword nev : {1u, 2u, 5u, 9u}) {
            if (2 * nev <= n && n < 80 * nev) { // with one pair two dimensions need a wider gap than 1 of 120
                expectLargest(arma::linspace(1.0, static_cast<double>(n), n), static_cast<int>(nev));
            }
        }
    }
}

TEST(SymEigsSolver, FindsTheLargestOfRandomEigenvalues) {
    for (const unsigned seed : {1u, 2u, 3u, 4u, 5u}) {
        arma::arma_rng::set_seed(seed);
        expectLargest(10.0 * arma::randu(80), 6, seed);
    }
}

TEST(SymEigsSolver, FindsTheLargestOfEigenvaluesOverManyOrders) {
    expectLargest(1e4 * arma::exp(-0.1 * arma::regspace(0, 199)), 8);
}

TEST(SymEigsSolver, FindsClusteredEigenvalues) {
    for (const double width : {1e-3, 1e-6}) {
        Vector e = arma::linspace(0.0, 1.0, 100);
        e.tail(5) = 5.0 + width * arma::linspace(0.0, 1.0, 5);
        expectLargest(e, 5); // the cluster
        expectLargest(e, 7); // and what follows
    }
}

TEST(SymEigsSolver, FindsEveryCopyOfARepeatedEigenvalue) {
    Vector e = arma::linspace(0.0, 1.0, 100);
    e.tail(3).fill(5.0);
    expectLargest(e, 3);
    expectLargest(e, 5);
}

TEST(SymEigsSolver, FindsRepeatedEigenvaluesOfAnExhaustedSubspace) {
    Vector e(100, arma::fill::zeros); // three different values: the basis can't grow beyond three directions
    e.tail(3).fill(5.0);
    e.head(7).fill(2.0);
    expectLargest(e, 8);
    expectLargest(e, 12);
}

TEST(SymEigsSolver, MissesCopiesThatTheSubspaceHasNoRoomFor) {
    Vector e(100, arma::fill::zeros);
    e.tail(3).fill(5.0);
    e.head(7).fill(2.0);
    const DenseOperator op = operatorWith(e);
    Solver solver(&op, 3, 6); // two Krylov subspaces of three directions each, one copy of 5 in each
    initRandomly(solver);
    EXPECT_EQ(solver.compute(), 3);
    EXPECT_LT(arma::norm(solver.eigenvalues() - Vector{5.0, 5.0, 2.0}, "inf"), valueTolerance);
    expectEigenpairs(solver);
}

TEST(SymEigsSolver, SolvesTheIdentity) {
    expectLargest(3.0 * arma::ones(60), 5);
}

TEST(SymEigsSolver, OrdersByMagnitudeAtTheEnd) {
    Vector e = arma::linspace(-10.0, -1.0, 50); // the largest are the smallest in magnitude
    expectLargest(e, 4);
    e.tail(2) = {0.5, 1.5};
    expectLargest(e, 5);
}

TEST(SymEigsSolver, SolvesOnTheWholeSpaceWithoutARestart) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 10.0, 10));
    Solver solver(&op, 5, 10);
    initRandomly(solver);
    EXPECT_EQ(solver.compute(), 5);
    EXPECT_EQ(solver.m_nIter, 1);
    EXPECT_EQ(solver.m_nMatOp, 10);
}

TEST(SymEigsSolver, TakesAnySizeOfTheSubspace) {
    const Vector e = arma::linspace(1.0, 40.0, 40);
    for (const int nev : {1, 3}) {
        for (const int ncv : {nev + 1, nev + 2, 5, 6, 11, 40}) {
            const DenseOperator op = operatorWith(e);
            Solver solver(&op, nev, ncv);
            initRandomly(solver);
            ASSERT_EQ(solver.compute(), nev) << ncv;
            EXPECT_NEAR(solver.eigenvalues()[0], 40.0, 1e-11) << ncv;
            expectFactorisation(solver, static_cast<arma::uword>(ncv));
        }
    }
}

TEST(SymEigsSolver, SeedFixesTheResult) {
    const auto solve = [] {
        const DenseOperator op = operatorWith(arma::linspace(1.0, 40.0, 40), 7);
        Solver solver(&op, 3, 6);
        initRandomly(solver);
        solver.compute();
        return solver.eigenvectors(3);
    };
    EXPECT_TRUE(arma::approx_equal(solve(), solve(), "absdiff", 0.0));
}

// --- rank-deficient operators ---

TEST(SymEigsSolver, ExhaustedSubspaceGoesOnInARandomDirection) {
    Vector e(30, arma::fill::zeros);
    e.tail(2) = {1.0, 2.0};
    const DenseOperator op = operatorWith(e);
    Solver solver(&op, 4, 8);
    initRandomly(solver);
    solver.factorize_from(1, 8, solver.m_facF);
    // The start vector has a part along 1, along 2 and in the null space, which three directions span.
    EXPECT_GT(solver.m_facH(1, 0), 1e-5);
    EXPECT_GT(solver.m_facH(2, 1), 1e-5);
    EXPECT_NEAR(solver.m_facH(3, 2), 0.0, 1e-11);
    EXPECT_EQ(solver.m_facH(2, 3), solver.m_facH(3, 2));
    EXPECT_LT(largest(solver.m_facH.tail_cols(5)), 1e-11); // the random directions are in the null space
    expectFactorisation(solver, 8);
}

TEST(SymEigsSolver, FindsTheLargestOfARankDeficientOperator) {
    for (const double scale : {1.0, 1e3, 1e6}) {
        Vector e(60, arma::fill::zeros);
        e.tail(3) = {scale, 2.0 * scale, 3.0 * scale};
        expectLargest(e, 1);
        expectLargest(e, 2);
        expectLargest(e, 3);
    }
}

TEST(SymEigsSolver, BasisStaysOrthogonalForAnyRankAndScale) {
    for (arma::uword rank = 0; rank <= 12; ++rank) {
        for (const double scale : {1e-4, 1.0, 1e5}) {
            for (const int nev : {1, 3, 6}) {
                SCOPED_TRACE("rank " + std::to_string(rank) + ", scale " + std::to_string(scale) + ", nev " +
                             std::to_string(nev));
                Vector e(12, arma::fill::zeros);
                e.head(rank) = scale * arma::linspace(1.0, 2.0, rank);
                const DenseOperator op = operatorWith(e);
                Solver solver(&op, nev, 2 * nev);
                initRandomly(solver);
                solver.compute();
                expectFactorisation(solver, static_cast<arma::uword>(2 * nev));
                expectEigenpairs(solver);
            }
        }
    }
}

TEST(SymEigsSolver, TooFewEigenvaluesAboveZeroEndWithThosePairsAndPerhapsZeros) {
    Vector e(60, arma::fill::zeros);
    e.tail(3) = {1.0, 2.0, 3.0};
    const DenseOperator op = operatorWith(e);
    Solver solver(&op, 5, 10);
    initRandomly(solver);
    const int nConverged = solver.compute(); // whether a zero counts as converged is up to rounding
    ASSERT_GE(nConverged, 3);
    EXPECT_LE(solver.m_nIter, 1001);
    const Vector found = solver.eigenvalues();
    EXPECT_EQ(found.n_elem, static_cast<arma::uword>(nConverged));
    EXPECT_LT(arma::norm(found.head(3) - Vector{3.0, 2.0, 1.0}, "inf"), valueTolerance);
    EXPECT_LT(arma::norm(found.tail(found.n_elem - 3)), valueTolerance);
    expectEigenpairs(solver);
}

TEST(SymEigsSolver, ZeroOperatorHasZeroEigenvalues) {
    expectLargest(arma::zeros(20), 4);
}

// --- the steps ---

TEST(SymEigsSolver, InitTakesOneStep) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    Solver solver(&op, 2, 4);
    const Vector start = {3.0, 0.0, 0.0, 4.0, 0.0, 0.0};
    solver.init(start.memptr());
    const Vector v = start / 5.0;
    const double h = arma::dot(v, op.matrix * v);
    EXPECT_LT(arma::norm(solver.m_facV.col(0) - v), 1e-15);
    EXPECT_NEAR(solver.m_facH(0, 0), h, 1e-14);
    EXPECT_LT(arma::norm(solver.m_facF - (op.matrix * v - h * v)), 1e-14);
    EXPECT_EQ(arma::size(solver.m_facV), arma::size(6, 4));
    EXPECT_EQ(arma::size(solver.m_facH), arma::size(4, 4));
    EXPECT_EQ(arma::size(solver.m_ritzVec), arma::size(4, 2));
    EXPECT_TRUE(solver.m_facV.tail_cols(3).is_zero());
    EXPECT_TRUE(solver.m_ritzVal.is_zero());
    EXPECT_EQ(solver.m_ritzVal.n_elem, 4u);
    EXPECT_EQ(solver.m_ritzConv, std::vector<bool>(2, false));
    EXPECT_EQ(solver.m_nMatOp, 1);
    EXPECT_EQ(solver.m_nIter, 0);
    EXPECT_DOUBLE_EQ(solver.m_prec, 3.666852862501036e-11);
}

TEST(SymEigsSolver, StartVectorMayBeOfAnyLengthAboveThePrecision) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    Solver solver(&op, 2, 4);
    for (const double length : {4e-11, 1e300}) { // the square of the second is beyond the range of a double
        const Vector start(6, arma::fill::value(length));
        solver.init(start.memptr());
        EXPECT_NEAR(arma::norm(solver.m_facV.col(0)), 1.0, 1e-14);
    }
}

TEST(SymEigsSolver, FactorisationGrowsInPieces) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 20.0, 20));
    Solver whole(&op, 4, 8);
    Solver pieces(&op, 4, 8);
    const Vector start = arma::randu(20);
    whole.init(start.memptr());
    pieces.init(start.memptr());
    whole.factorize_from(1, 8, whole.m_facF);
    pieces.factorize_from(1, 5, pieces.m_facF);
    expectFactorisation(pieces, 5);
    pieces.factorize_from(5, 8, pieces.m_facF);
    expectFactorisation(pieces, 8);
    EXPECT_LT(largest(whole.m_facV - pieces.m_facV), 1e-12);
    EXPECT_LT(largest(whole.m_facH - pieces.m_facH), 1e-12);
}

TEST(SymEigsSolver, NothingToExtendChangesNothing) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 20.0, 20));
    Solver solver(&op, 4, 8);
    initRandomly(solver);
    solver.factorize_from(1, 8, solver.m_facF);
    const Matrix H = solver.m_facH;
    const Vector f = solver.m_facF;
    solver.factorize_from(5, 5, arma::zeros(20));
    solver.factorize_from(8, 3, arma::zeros(20));
    solver.restart(8);
    EXPECT_TRUE(arma::approx_equal(solver.m_facH, H, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(solver.m_facF, f, "absdiff", 0.0));
    EXPECT_EQ(solver.m_nMatOp, 8);
}

TEST(SymEigsSolver, RitzPairsAreThoseOfTheProjectionByDecreasingValue) {
    const DenseOperator op = operatorWith(arma::linspace(-3.0, 20.0, 20));
    Solver solver(&op, 3, 6);
    initRandomly(solver);
    solver.factorize_from(1, 6, solver.m_facF);
    solver.retrieve_ritzpair();
    EXPECT_LT(arma::norm(solver.m_ritzVal - arma::reverse(arma::eig_sym(solver.m_facH)), "inf"), 1e-12);
    for (arma::uword i = 0; i < 3; ++i) {
        EXPECT_LT(arma::norm(solver.m_facH * solver.m_ritzVec.col(i) -
                             solver.m_ritzVal[i] * solver.m_ritzVec.col(i)),
                  1e-12);
    }
}

TEST(SymEigsSolver, RestartFiltersTheUnwantedRitzValuesOut) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 20.0, 20));
    Solver solver(&op, 3, 7);
    const Vector start = arma::randu(20) - 0.5;
    solver.init(start.memptr());
    solver.factorize_from(1, 7, solver.m_facF);
    solver.retrieve_ritzpair();
    // Exact shifts: the new start vector is the old one filtered by the polynomial with these roots.
    Vector filtered = start;
    for (arma::uword i = 4; i < 7; ++i) {
        filtered = op.matrix * filtered - solver.m_ritzVal[i] * filtered;
    }
    solver.restart(4);
    EXPECT_NEAR(std::abs(arma::norm_dot(filtered, solver.m_facV.col(0))), 1.0, 1e-12);
    EXPECT_EQ(solver.m_nMatOp, 10);
    expectFactorisation(solver, 7);
}

TEST(SymEigsSolver, RestartNeverLosesGround) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 50.0, 50));
    Solver solver(&op, 3, 6);
    initRandomly(solver);
    solver.factorize_from(1, 6, solver.m_facF);
    solver.retrieve_ritzpair();
    for (int cycle = 0; cycle < 10; ++cycle) {
        const Vector before = solver.m_ritzVal.head(3);
        solver.restart(3);
        EXPECT_TRUE(arma::all(solver.m_ritzVal.head(3) > before - 1e-10));
    }
}

TEST(SymEigsSolver, SortOrdersByMagnitudeAndForgetsTheOtherValues) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    Solver solver(&op, 3, 5);
    solver.m_ritzVal = {2.0, -0.5, -3.0, -4.0, -5.0};
    solver.m_ritzVec = arma::repmat(arma::rowvec{0.0, 1.0, 2.0}, 5, 1);
    solver.m_ritzConv = {true, false, false};
    solver.sort_ritzpair();
    EXPECT_TRUE(arma::approx_equal(solver.m_ritzVal, Vector{-3.0, 2.0, -0.5, 0.0, 0.0}, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(solver.m_ritzVec.row(0), arma::rowvec{2.0, 0.0, 1.0}, "absdiff", 0.0));
    EXPECT_EQ(solver.m_ritzConv, (std::vector<bool>{false, true, false}));
}

TEST(SymEigsSolver, ConvergenceComparesTheResidualWithTheValue) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    Solver solver(&op, 3, 4);
    initRandomly(solver);
    solver.m_facF = Vector(6, arma::fill::zeros);
    solver.m_facF[2] = 2.0;
    solver.m_ritzVal = {10.0, -10.0, 0.0, 0.0};
    solver.m_ritzVec.zeros();
    solver.m_ritzVec.row(3) = arma::rowvec{0.49e-9, -0.49e-9, 1.8e-21};
    EXPECT_EQ(solver.testConvergence(), 3); // below 1e-10 |value|, or 1e-10 m_prec for the zero
    solver.m_ritzVec.row(3) = arma::rowvec{0.51e-9, -0.49e-9, 1.9e-21};
    EXPECT_EQ(solver.testConvergence(), 1);
    EXPECT_EQ(solver.m_ritzConv, (std::vector<bool>{false, true, false}));
}

TEST(SymEigsSolver, EigenvectorsAreThoseOfTheFirstConvergedPairs) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 30.0, 30));
    Solver solver(&op, 4, 8);
    initRandomly(solver);
    ASSERT_EQ(solver.compute(), 4);
    const Matrix all = solver.eigenvectors(4);
    EXPECT_EQ(solver.eigenvectors(100).n_cols, 4u);
    EXPECT_TRUE(arma::approx_equal(solver.eigenvectors(2), all.head_cols(2), "absdiff", 1e-15));
    solver.m_ritzConv[1] = false;
    EXPECT_TRUE(arma::approx_equal(solver.eigenvectors(2), all.cols(arma::uvec{0, 2}), "absdiff", 1e-15));
    EXPECT_EQ(solver.eigenvalues().n_elem, 3u);
    EXPECT_EQ(solver.eigenvectors(0).n_cols, 0u);
    EXPECT_EQ(solver.eigenvectors(-1).n_cols, 0u);
}

TEST(SymEigsSolver, WithoutAConvergedPairTheResultIsEmpty) {
    const DenseOperator op = operatorWith(arma::linspace(0.9, 1.0, 200));
    Solver solver(&op, 1, 2); // two dimensions are slow where the gap is small
    initRandomly(solver);
    EXPECT_EQ(solver.compute(), 0);
    EXPECT_EQ(solver.m_nIter, 1001);
    EXPECT_EQ(solver.eigenvalues().n_elem, 0u);
    EXPECT_EQ(arma::size(solver.eigenvectors(1)), arma::size(200, 0));
}

TEST(SymEigsSolver, FinalOrderCanBeReplaced) {
    struct ByValue : Solver {
        using Solver::Solver;
        void sort_ritzpair() override {}
    };
    const DenseOperator op = operatorWith(arma::linspace(-10.0, -1.0, 50));
    ByValue solver(&op, 3, 6);
    initRandomly(solver);
    ASSERT_EQ(solver.compute(), 3);
    EXPECT_TRUE(solver.eigenvalues().is_sorted("descend"));
}

// --- errors ---

TEST(SymEigsSolver, NumberOfEigenvaluesMustFitTheMatrix) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    for (const int nev : {-1, 0, 6, 7}) {
        EXPECT_EQ(invalidArgumentOf([&] { Solver(&op, nev, 2 * nev); }), nevText) << nev;
    }
    EXPECT_EQ(invalidArgumentOf([&] { Solver(&op, 5, 6); }), "");
}

TEST(SymEigsSolver, SubspaceMustFitBetweenTheWantedAndTheMatrix) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    for (const int ncv : {-1, 2, 3, 7, 100}) { // one that is too large is refused and not cut down
        EXPECT_EQ(invalidArgumentOf([&] { Solver(&op, 3, ncv); }), ncvText) << ncv;
    }
    for (const int ncv : {4, 5, 6}) {
        EXPECT_EQ(Solver(&op, 3, ncv).m_ncv, ncv);
    }
}

TEST(SymEigsSolver, NumberOfEigenvaluesIsTestedFirst) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    EXPECT_EQ(invalidArgumentOf([&] { Solver(&op, 0, 0); }), nevText);
    EXPECT_EQ(invalidArgumentOf([&] { Solver(&op, 100, 1); }), nevText);
}

TEST(SymEigsSolver, EmptyOperatorIsRefused) {
    const DenseOperator op{};
    EXPECT_EQ(invalidArgumentOf([&] { Solver(&op, 1, 2); }), nevText);
}

TEST(SymEigsSolver, StartVectorMustNotVanish) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    Solver solver(&op, 2, 4);
    for (const double entry : {0.0, 1e-11}) {
        const Vector start(6, arma::fill::value(entry));
        EXPECT_EQ(invalidArgumentOf([&] { solver.init(start.memptr()); }),
                  "initial residual vector cannot be zero");
    }
}

TEST(SymEigsSolver, OperatorThatIsNotFiniteIsAnError) {
    DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    op.matrix(2, 2) = arma::datum::nan;
    Solver solver(&op, 2, 4);
    initRandomly(solver);
    EXPECT_THROW(solver.compute(), std::logic_error);
}

TEST(SymEigsSolver, StepsBeforeInitAreAnError) {
    const DenseOperator op = operatorWith(arma::linspace(1.0, 6.0, 6));
    EXPECT_THROW(Solver(&op, 2, 4).compute(), std::logic_error);
    EXPECT_EQ(Solver(&op, 2, 4).eigenvectors(2).n_cols, 0u);
}

} // namespace
