// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "NMAEngine/TridiagEigen.h"
#include "NMAEngine/stedc.h"
#include "tridiagonal.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

void expectEigenpairs(const Matrix& T) {
    TridiagEigen<double> solver;
    solver.compute(T);
    const Vector& e = solver.eigenvalues();
    const Matrix& V = solver.eigenvectors();
    const double scale = std::max(1.0, arma::norm(T, "fro"));
    const double tolerance = 1e-14 * static_cast<double>(T.n_rows) * scale;
    ASSERT_EQ(e.n_elem, T.n_rows);
    EXPECT_LT(arma::norm(e - arma::eig_sym(T), "inf"), tolerance); // ascending too
    EXPECT_LT(arma::norm(T * V - V * arma::diagmat(e), "inf"), tolerance);
    EXPECT_LT(arma::norm(V.t() * V - arma::eye(arma::size(T)), "inf"), tolerance);
}

template <typename Error>
std::string textOf(void (*check)(int), int info) {
    try {
        check(info);
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

TEST(TridiagEigen, EqualsTheDenseSolver) {
    for (const arma::uword n : {2u, 3u, 7u, 25u, 26u, 60u, 130u}) { // LAPACK divides above 25 rows
        expectEigenpairs(randomTridiagonal(n));
    }
}

TEST(TridiagEigen, HasTheClosedFormOfTheSecondDifference) {
    constexpr arma::uword n = 40;
    Matrix T(n, n, arma::fill::zeros);
    T.diag().fill(2.0);
    T.diag(1).fill(-1.0);
    T.diag(-1).fill(-1.0);
    TridiagEigen<double> solver;
    solver.compute(T);
    for (arma::uword k = 0; k < n; ++k) {
        const double angle = arma::datum::pi * static_cast<double>(k + 1) / (n + 1);
        EXPECT_NEAR(solver.eigenvalues()[k], 2.0 - 2.0 * std::cos(angle), 1e-13);
    }
}

TEST(TridiagEigen, SplitMatrixHasTheEigenpairsOfItsParts) {
    Matrix T = randomTridiagonal(30);
    T(11, 10) = T(10, 11) = 0.0;
    T(20, 19) = T(19, 20) = 0.0;
    expectEigenpairs(T);
}

TEST(TridiagEigen, ZeroMatrixAndMultiplesOfTheIdentity) {
    expectEigenpairs(arma::zeros(33, 33));
    expectEigenpairs(-7.0 * arma::eye(33, 33));
}

TEST(TridiagEigen, OneRowIsItsOwnEigenvalue) {
    TridiagEigen<double> solver;
    solver.compute(Matrix(1, 1, arma::fill::value(-3.5)));
    EXPECT_EQ(solver.eigenvalues()[0], -3.5);
    EXPECT_EQ(std::abs(solver.eigenvectors()(0, 0)), 1.0);
}

TEST(TridiagEigen, EmptyMatrixHasNoEigenvalues) {
    TridiagEigen<double> solver;
    solver.compute(Matrix());
    EXPECT_TRUE(solver.eigenvalues().is_empty());
    EXPECT_TRUE(solver.eigenvectors().is_empty());
}

TEST(TridiagEigen, ReadsTheDiagonalAndTheFirstSubdiagonalAlone) {
    const Matrix T = randomTridiagonal(6);
    Matrix disturbed = T;
    for (arma::uword i = 0; i < 6; ++i) {
        for (arma::uword j = 0; j < 6; ++j) {
            if (i != j && i != j + 1) {
                disturbed(i, j) = std::numeric_limits<double>::quiet_NaN();
            }
        }
    }
    TridiagEigen<double> solver;
    solver.compute(disturbed);
    EXPECT_LT(arma::norm(solver.eigenvalues() - arma::eig_sym(T)), 1e-13);
}

TEST(TridiagEigen, CanBeUsedAgainForAnotherSize) {
    TridiagEigen<double> solver;
    solver.compute(randomTridiagonal(9));
    const Matrix T = randomTridiagonal(4);
    solver.compute(T);
    EXPECT_LT(arma::norm(solver.eigenvalues() - arma::eig_sym(T)), 1e-13);
    EXPECT_EQ(solver.eigenvectors().n_cols, 4u);
}

TEST(TridiagEigen, MatrixMustBeSquare) {
    TridiagEigen<double> solver;
    try {
        solver.compute(arma::ones(3, 4));
        FAIL();
    } catch (const std::invalid_argument& error) {
        EXPECT_STREQ(error.what(), "TridiagEigen: matrix must be square");
    }
}

TEST(TridiagEigen, AccessorsNeedCompute) {
    const std::string expected = "TridiagEigen: need to call compute() first";
    const TridiagEigen<double> solver;
    try {
        solver.eigenvalues();
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_EQ(error.what(), expected);
    }
    try {
        solver.eigenvectors();
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_EQ(error.what(), expected);
    }
}

TEST(TridiagEigen, AccessorsNeedComputeAgainAfterAFailure) {
    TridiagEigen<double> solver;
    solver.compute(randomTridiagonal(3));
    EXPECT_THROW(solver.compute(arma::ones(3, 4)), std::invalid_argument);
    EXPECT_THROW(solver.eigenvalues(), std::logic_error);
}

TEST(TridiagEigen, EntriesThatAreNotFiniteAreAFailureOfTheAlgorithm) {
    for (const double bad : {std::numeric_limits<double>::quiet_NaN(), arma::datum::inf}) {
        for (const arma::uword n : {2u, 60u}) {
            for (const arma::uword row : {0u, 1u}) { // on the diagonal and below
                Matrix T = randomTridiagonal(n);
                T(row, 0) = bad;
                TridiagEigen<double> solver;
                try {
                    solver.compute(T);
                    FAIL();
                } catch (const std::logic_error& error) {
                    EXPECT_STREQ(error.what(), "Lapack stedc: failed to compute all the eigenvalues");
                }
            }
        }
    }
}

TEST(Stedc, InfoTellsTheError) {
    EXPECT_NO_THROW(checkStedc(0));
    EXPECT_EQ(textOf<std::invalid_argument>(checkStedc, -3), "Lapack stedc: illegal value");
    EXPECT_EQ(textOf<std::logic_error>(checkStedc, 7), "Lapack stedc: failed to compute all the eigenvalues");
}

TEST(Stedc, MatrixWithAWorkspaceBeyondAnIntIsRefused) {
    EXPECT_THROW(stedc(46339, nullptr, nullptr, nullptr), std::length_error);
}

} // namespace
