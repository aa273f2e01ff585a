// SPDX-License-Identifier: GPL-3.0-or-later
// The oracle of each operation is the product that it has to give back.
#include <limits>
#include <optional>
#include <stdexcept>

#include "Optimization/smallDense.h"
#include "Optimization/tests/testFunctions.h"

namespace {

constexpr arma::uword sizes[] = {1, 2, 6, 7, 26, 130};
constexpr double roundingPerUnknown = 1e-13; // of entries around 1
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

double largest(const Matrix& m) {
    return arma::abs(m).max();
}

TEST(SmallDense, FactorIsUpperTriangularAndItsSquareIsTheMatrix) {
    Draw draw(1);
    for (const arma::uword n : sizes) {
        const Matrix A = draw.positiveDefinite(n);
        const std::optional<Matrix> R = smallDense::factorise(A);
        ASSERT_TRUE(R) << n;
        EXPECT_LT(largest(R->t() * *R - A), roundingPerUnknown * largest(A) * static_cast<double>(n)) << n;
        EXPECT_EQ(largest(*R - arma::trimatu(*R)), 0.0) << n;
    }
}

TEST(SmallDense, FactorReadsTheUpperTriangleAlone) {
    Draw draw(2);
    Matrix A = draw.positiveDefinite(6);
    const Matrix R = smallDense::factorise(A).value();
    A(4, 1) = notANumber;
    EXPECT_EQ(largest(smallDense::factorise(A).value() - R), 0.0);
}

TEST(SmallDense, WhatIsNotPositiveDefiniteOrNotFiniteHasNoFactor) {
    EXPECT_FALSE(smallDense::factorise(Matrix(3, 3, arma::fill::zeros)));
    EXPECT_FALSE(smallDense::factorise(Matrix{{1.0, 2.0}, {2.0, 1.0}}));
    for (const double wrong : {notANumber, infinity, -infinity}) {
        EXPECT_FALSE(smallDense::factorise(Matrix{{wrong, 0.0}, {0.0, 1.0}})) << wrong;
        EXPECT_FALSE(smallDense::factorise(Matrix{{1.0, 0.0}, {0.0, wrong}})) << wrong;
        EXPECT_FALSE(smallDense::factorise(Matrix{{1.0, wrong}, {wrong, 1.0}})) << wrong;
    }
}

TEST(SmallDense, TriangularSolutionsGiveTheRightSideBack) {
    Draw draw(3);
    for (const arma::uword n : sizes) {
        const Matrix R = smallDense::factorise(draw.positiveDefinite(n) + 10.0 * arma::eye(n, n)).value();
        const Vector b = draw.vector(n);
        const double tolerance = roundingPerUnknown * static_cast<double>(n);
        EXPECT_LT(largest(R.t() * smallDense::solveTransposed(R, b) - b), tolerance) << n;
        EXPECT_LT(largest(R * smallDense::solveUpper(R, b) - b), tolerance) << n;
    }
}

TEST(SmallDense, ProductIsTheSumOverColumns) {
    const Matrix A{{1.0, 2.0, 3.0}, {4.0, 5.0, 6.0}};
    const Vector y = smallDense::multiply(A, Vector{1.0, 10.0, 100.0});
    ASSERT_EQ(y.n_elem, 2U);
    EXPECT_EQ(y[0], 321.0);
    EXPECT_EQ(y[1], 654.0);
}

TEST(SmallDense, SpectralNormIsThatOfAKnownMatrix) {
    EXPECT_EQ(smallDense::spectralNorm(Matrix()), 0.0);
    EXPECT_NEAR(smallDense::spectralNorm(arma::diagmat(Vector{1.0, -7.0, 3.0})), 7.0, 1e-14);
    EXPECT_NEAR(smallDense::spectralNorm(Vector{3.0, 4.0}), 5.0, 1e-14);
    // A rotation times diag(5, 2), and that times numbers whose squares are out of range.
    const Matrix turned = Matrix{{0.6, -0.8}, {0.8, 0.6}} * arma::diagmat(Vector{5.0, 2.0});
    EXPECT_NEAR(smallDense::spectralNorm(turned), 5.0, 1e-14);
    EXPECT_NEAR(smallDense::spectralNorm(1e200 * turned) / 1e200, 5.0, 1e-14);
    EXPECT_NEAR(smallDense::spectralNorm(1e-200 * turned) / 1e-200, 5.0, 1e-14);
    EXPECT_EQ(smallDense::spectralNorm(Matrix{{notANumber, 0.0}, {0.0, 1.0}}), 0.0);
    EXPECT_EQ(smallDense::spectralNorm(Matrix(3, 3, arma::fill::zeros)), 0.0);
}

TEST(SmallDense, EigenpairsAscendAreOrthonormalAndGiveTheMatrixBack) {
    Draw draw(4);
    for (const arma::uword n : sizes) {
        const Matrix A = draw.symmetric(n);
        Vector e;
        Matrix V;
        ASSERT_TRUE(smallDense::decompose(A, e, V)) << n;
        const double tolerance = roundingPerUnknown * static_cast<double>(n) * largest(A);
        EXPECT_TRUE(e.is_sorted("ascend")) << n;
        EXPECT_LT(largest(V.t() * V - arma::eye(n, n)), roundingPerUnknown * static_cast<double>(n)) << n;
        EXPECT_LT(largest(V * arma::diagmat(e) * V.t() - A), tolerance) << n;
    }
}

TEST(SmallDense, WhatHasNoEigenpairsLeavesTheResultsAlone) {
    Vector e{1.0};
    Matrix V(1, 1, arma::fill::value(2.0));
    EXPECT_FALSE(smallDense::decompose(Matrix(), e, V));
    EXPECT_FALSE(smallDense::decompose(Matrix{{infinity, 0.0}, {0.0, 1.0}}, e, V));
    EXPECT_FALSE(smallDense::decompose(Matrix{{1.0, notANumber}, {0.0, 1.0}}, e, V));
    EXPECT_EQ(e[0], 1.0);
    EXPECT_EQ(V(0, 0), 2.0);
}

TEST(SmallDense, SizesThatDoNotMatchAreALogicError) {
    const Matrix square(3, 3, arma::fill::eye);
    const Vector two(2, arma::fill::ones);
    EXPECT_THROW(smallDense::factorise(Matrix(2, 3)), std::logic_error);
    EXPECT_THROW(smallDense::solveTransposed(square, two), std::logic_error);
    EXPECT_THROW(smallDense::solveUpper(square, two), std::logic_error);
    EXPECT_THROW(smallDense::multiply(square, two), std::logic_error);
}

} // namespace
