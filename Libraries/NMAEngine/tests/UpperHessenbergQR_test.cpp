// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "NMAEngine/UpperHessenbergQR.h"

namespace {

using Matrix = arma::Mat<double>;

Matrix randomHessenberg(arma::uword n) {
    arma::arma_rng::set_seed(n);
    return arma::trimatu(arma::randu(n, n) - 0.5, 0) +
           arma::diagmat(arma::vec(arma::randu(n - 1)), -1); // upper triangle and first subdiagonal
}

/// Q as the product of the transposed rotations.
Matrix rotationProduct(const UpperHessenbergQR<double>& qr) {
    const auto n = static_cast<arma::uword>(qr.m_n);
    Matrix Q(n, n, arma::fill::eye);
    for (arma::uword i = 0; i + 1 < n; ++i) {
        Matrix G(n, n, arma::fill::eye);
        G(i, i) = G(i + 1, i + 1) = qr.m_rotCos[i];
        G(i, i + 1) = -qr.m_rotSin[i];
        G(i + 1, i) = qr.m_rotSin[i];
        Q = Q * G.t();
    }
    return Q;
}

double largest(const Matrix& m) {
    return arma::abs(m).max();
}

TEST(UpperHessenbergQR, RotationsTimesTheTriangleAreTheMatrix) {
    for (const arma::uword n : {2u, 3u, 5u, 20u}) {
        const Matrix H = randomHessenberg(n);
        UpperHessenbergQR<double> qr;
        qr.compute(H);
        const Matrix Q = rotationProduct(qr);
        EXPECT_LT(largest(Q.t() * Q - arma::eye(n, n)), 1e-14);
        EXPECT_LT(largest(Q * qr.m_matT - H), 1e-14);
        EXPECT_TRUE(qr.m_matT.is_trimatu());
    }
}

TEST(UpperHessenbergQR, ReversedProductIsSimilarToTheMatrix) {
    for (const arma::uword n : {2u, 3u, 5u, 20u}) {
        const Matrix H = randomHessenberg(n);
        UpperHessenbergQR<double> qr;
        qr.compute(H);
        const Matrix Q = rotationProduct(qr);
        const Matrix rq = qr.matrix_RQ();
        EXPECT_LT(largest(rq - Q.t() * H * Q), 1e-14);
        EXPECT_LT(largest(rq - qr.m_matT * Q), 1e-14);
        EXPECT_TRUE(n == 2 || arma::trimatl(rq, -2).is_zero()); // upper Hessenberg again
    }
}

TEST(UpperHessenbergQR, HandWorkedRotation) {
    UpperHessenbergQR<double> qr;
    qr.compute({{3.0, 1.0}, {4.0, 2.0}});
    EXPECT_DOUBLE_EQ(qr.m_rotCos[0], 0.6);
    EXPECT_DOUBLE_EQ(qr.m_rotSin[0], -0.8);
    EXPECT_TRUE(arma::approx_equal(qr.m_matT, Matrix{{5.0, 2.2}, {0.0, 0.4}}, "absdiff", 1e-15));
    EXPECT_TRUE(arma::approx_equal(qr.matrix_RQ(), Matrix{{4.76, -2.68}, {0.32, 0.24}}, "absdiff", 1e-14));
}

TEST(UpperHessenbergQR, EntriesBelowTheFirstSubdiagonalCountAsZero) {
    const Matrix H = randomHessenberg(6);
    UpperHessenbergQR<double> clean;
    clean.compute(H);
    UpperHessenbergQR<double> full;
    full.compute(H + arma::trimatl(Matrix(6, 6, arma::fill::ones), -2));
    EXPECT_TRUE(arma::approx_equal(clean.m_matT, full.m_matT, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(clean.matrix_RQ(), full.matrix_RQ(), "absdiff", 0.0));
}

TEST(UpperHessenbergQR, PairNoLongerThanTheMachineEpsilonIsNotRotated) {
    const double epsilon = std::numeric_limits<double>::epsilon();
    UpperHessenbergQR<double> qr;
    qr.compute({{0.0, 1.0}, {epsilon, 2.0}});
    EXPECT_EQ(qr.m_rotCos[0], 1.0);
    EXPECT_EQ(qr.m_rotSin[0], 0.0);
    EXPECT_TRUE(arma::approx_equal(qr.m_matT, Matrix{{0.0, 1.0}, {0.0, 2.0}}, "absdiff", 0.0));
    qr.compute({{0.0, 1.0}, {2.0 * epsilon, 2.0}});
    EXPECT_EQ(qr.m_rotCos[0], 0.0);
    EXPECT_EQ(qr.m_rotSin[0], -1.0);
}

TEST(UpperHessenbergQR, OneRowNeedsNoRotation) {
    UpperHessenbergQR<double> qr;
    qr.compute(Matrix(1, 1, arma::fill::value(5.0)));
    EXPECT_TRUE(qr.m_rotCos.is_empty());
    EXPECT_EQ(qr.matrix_RQ()(0, 0), 5.0);
}

TEST(UpperHessenbergQR, MatrixMustBeSquare) {
    UpperHessenbergQR<double> qr;
    EXPECT_THROW(qr.compute(arma::ones(3, 4)), std::invalid_argument);
}

TEST(UpperHessenbergQR, AccessorNeedsCompute) {
    const UpperHessenbergQR<double> qr;
    try {
        qr.matrix_RQ();
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "UpperHessenbergQR: need to call compute() first");
    }
}

} // namespace
