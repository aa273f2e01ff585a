// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "NMAEngine/TridiagQR.h"
#include "tridiagonal.h"

namespace {

using Matrix = arma::Mat<double>;

double largest(const Matrix& m) {
    return arma::abs(m).max();
}

TEST(TridiagQR, EqualsTheDenseFormOnTridiagonalMatrices) {
    for (const arma::uword n : {2u, 3u, 4u, 5u, 12u, 50u}) {
        const Matrix T = randomTridiagonal(n);
        UpperHessenbergQR<double> dense;
        dense.compute(T);
        TridiagQR<double> band;
        band.compute(T);
        EXPECT_EQ(band.m_n, static_cast<long>(n));
        EXPECT_LT(arma::norm(band.m_rotCos - dense.m_rotCos, "inf"), 1e-14);
        EXPECT_LT(arma::norm(band.m_rotSin - dense.m_rotSin, "inf"), 1e-14);
        EXPECT_LT(largest(band.m_matT - dense.m_matT), 1e-14);
        EXPECT_LT(largest(band.matrix_RQ() - dense.matrix_RQ()), 1e-13);
    }
}

TEST(TridiagQR, ReversedProductIsSymmetricTridiagonalToTheLastBit) {
    TridiagQR<double> qr;
    qr.compute(randomTridiagonal(12));
    const Matrix rq = qr.matrix_RQ();
    EXPECT_TRUE(rq.is_symmetric());
    EXPECT_TRUE(arma::trimatl(rq, -2).is_zero());
}

TEST(TridiagQR, ReversedProductKeepsTheEigenvalues) {
    const Matrix T = randomTridiagonal(30);
    TridiagQR<double> qr;
    qr.compute(T);
    EXPECT_LT(arma::norm(arma::eig_sym(qr.matrix_RQ()) - arma::eig_sym(T), "inf"), 1e-13);
}

TEST(TridiagQR, ExactShiftSplitsTheShiftOff) {
    Matrix T = randomTridiagonal(8);
    const double shift = arma::eig_sym(T)[3];
    T.diag() -= shift;
    TridiagQR<double> qr;
    qr.compute(T);
    const Matrix rq = qr.matrix_RQ();
    EXPECT_LT(std::abs(rq(7, 6)), 1e-12);
    EXPECT_LT(std::abs(rq(7, 7)), 1e-12);
}

TEST(TridiagQR, ReadsTheBandAlone) {
    const Matrix T = randomTridiagonal(6);
    Matrix disturbed = T;
    for (const arma::sword k : {-5, -4, -3, -2, 2, 3, 4, 5}) {
        disturbed.diag(k).fill(std::numeric_limits<double>::quiet_NaN());
    }
    TridiagQR<double> clean;
    clean.compute(T);
    TridiagQR<double> full;
    full.compute(disturbed);
    EXPECT_TRUE(arma::approx_equal(clean.m_matT, full.m_matT, "absdiff", 0.0));
}

TEST(TridiagQR, WorksThroughItsBase) {
    const Matrix T = randomTridiagonal(5);
    const std::unique_ptr<UpperHessenbergQR<double>> qr = std::make_unique<TridiagQR<double>>();
    qr->compute(T);
    EXPECT_TRUE(qr->matrix_RQ().is_symmetric());
    EXPECT_TRUE(qr->m_computed);
}

TEST(TridiagQR, MatrixMustBeSquareWithTwoRows) {
    TridiagQR<double> qr;
    EXPECT_THROW(qr.compute(arma::ones(3, 4)), std::invalid_argument);
    EXPECT_THROW(qr.compute(arma::ones(1, 1)), std::invalid_argument);
    EXPECT_THROW(qr.compute(Matrix()), std::invalid_argument);
}

TEST(TridiagQR, AccessorNeedsCompute) {
    const TridiagQR<double> qr;
    try {
        qr.matrix_RQ();
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "TridiagQR: need to call compute() first");
    }
}

} // namespace
