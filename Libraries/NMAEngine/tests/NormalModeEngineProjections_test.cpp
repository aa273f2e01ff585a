// SPDX-License-Identifier: GPL-3.0-or-later
// Modes of projected frames, whose covariance is diagonalised without being formed.
#include <cmath>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "IO/cInfo.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "blockModel.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;
using SparseMatrix = arma::SpMat<double>;

// The residual of a pair is at most 1e-10 of its eigenvalue, the error of its vector that over the relative
// gap.
constexpr double valueTolerance = 1e-12;
constexpr double vectorTolerance = 1e-8;

/// Frames whose covariance has the given eigenvalues along random directions, and zero across them.
std::vector<Vector> framesWith(const Vector& eigenvalues, arma::uword n) {
    arma::arma_rng::set_seed(3);
    const Matrix directions = arma::orth(arma::randn(n, eigenvalues.n_elem));
    std::vector<Vector> frames;
    for (arma::uword k = 0; k < eigenvalues.n_elem; ++k) {
        frames.emplace_back(std::sqrt(eigenvalues[k]) * directions.col(k));
    }
    return frames;
}

/// An engine that holds frames and nothing of a model.
NormalModeEngine engineOf(unsigned int nModes, std::vector<Vector> frames, arma::uword n) {
    NormalModeEngine engine(nModes);
    engine.m_prolongation = arma::speye<SparseMatrix>(n, n);
    engine.m_projections = std::move(frames);
    return engine;
}

Matrix covarianceOf(const NormalModeEngine& engine) {
    Matrix covariance(engine.rows(), engine.rows(), arma::fill::zeros);
    for (const Vector& p : engine.m_projections) {
        covariance += p * p.t();
    }
    return covariance;
}

/// Atoms of which nothing but the mass is known, without a network.
std::shared_ptr<System> systemOf(const BlockModel& model) {
    const auto system = model.network();
    system->m_hessian.reset();
    return system;
}

std::string invalidArgumentOf(const NormalModeEngine& engine) {
    Vector e;
    Matrix u;
    try {
        engine.diagonalize(e, u);
    } catch (const std::invalid_argument& error) {
        return error.what();
    }
    return "";
}

TEST(NormalModeEngineProjections, EigenpairsAreTheLargestOfTheCovariance) {
    arma::arma_rng::set_seed(1);
    std::vector<Vector> frames;
    for (int k = 0; k < 60; ++k) {
        frames.emplace_back(arma::randn(36) % arma::linspace(0.2, 2.0, 36));
    }
    const NormalModeEngine engine = engineOf(7, frames, 36);
    Vector e;
    Matrix u;
    engine.diagonalize(e, u);
    Vector expected;
    Matrix vectors;
    arma::eig_sym(expected, vectors, covarianceOf(engine));
    ASSERT_EQ(e.n_elem, 7u);
    ASSERT_EQ(arma::size(u), arma::size(36, 7));
    for (arma::uword i = 0; i < 7; ++i) {
        EXPECT_NEAR(e[i], expected[35 - i], valueTolerance * expected[35]);
        EXPECT_NEAR(std::abs(arma::dot(u.col(i), vectors.col(35 - i))), 1.0, vectorTolerance);
    }
}

TEST(NormalModeEngineProjections, FewFramesGiveTheirDirections) {
    const Vector eigenvalues = {9.0, 4.0, 1.0, 0.25};
    const NormalModeEngine engine = engineOf(4, framesWith(eigenvalues, 30), 30);
    Vector e;
    Matrix u;
    engine.diagonalize(e, u);
    EXPECT_LT(arma::norm(e - eigenvalues, "inf"), 1e-11);
    for (arma::uword i = 0; i < 4; ++i) {
        EXPECT_NEAR(std::abs(arma::norm_dot(u.col(i), engine.m_projections[i])), 1.0, vectorTolerance);
    }
}

TEST(NormalModeEngineProjections, SeedOfTheGeneratorFixesTheResult) {
    const NormalModeEngine engine = engineOf(3, framesWith(arma::linspace(1.0, 10.0, 10), 24), 24);
    Vector e;
    Matrix first;
    Matrix second;
    arma::arma_rng::set_seed(5);
    engine.diagonalize(e, first);
    arma::arma_rng::set_seed(5);
    engine.diagonalize(e, second);
    EXPECT_TRUE(arma::approx_equal(first, second, "absdiff", 0.0));
}

TEST(NormalModeEngineProjections, EigenvaluesAreReported) {
    cInfo info(80);
    NormalModeEngine engine = engineOf(2, framesWith({9.0, 4.0, 1.0}, 12), 12);
    engine.m_info = &info;
    Vector e;
    Matrix u;
    testing::internal::CaptureStdout();
    engine.diagonalize(e, u);
    std::fflush(stdout);
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_NE(out.find(" Eigenvalue 0 ......"), std::string::npos) << out;
    EXPECT_NE(out.find(" Eigenvalue 1 ......"), std::string::npos) << out;
    EXPECT_EQ(out.find(" Eigenvalue 2 "), std::string::npos) << out;
}

TEST(NormalModeEngineProjections, FramesComeBeforeTheMatricesOfTheSystem) {
    const BlockModel model(31);
    NormalModeEngine engine(model.network(), model.positions, model.masses, model.blockIds, 2, 60.0, nullptr);
    engine.m_projections = framesWith({9.0, 4.0, 1.0}, engine.cols());
    Vector e;
    Matrix u;
    engine.diagonalize(e, u);
    EXPECT_LT(arma::norm(e - Vector{9.0, 4.0}, "inf"), 1e-11);
}

TEST(NormalModeEngineProjections, SoftestModeIsTheLargestEigenvalueAndInverted) {
    const BlockModel model(32);
    NormalModeEngine engine(3);
    engine.m_system = systemOf(model);
    engine.buildRTBProlongationMatrix(model.positions, model.masses, model.blockIds, nullptr);
    const Vector eigenvalues = {9.0, 4.0, 1.0, 0.25};
    engine.m_projections = framesWith(eigenvalues, engine.cols());
    engine.performNMA();
    EXPECT_EQ(engine.m_firstMode, 0u);
    ASSERT_EQ(engine.m_eigenvalues.n_elem, 3u);
    ASSERT_EQ(engine.m_blockTranslations.size(), BlockModel::nBlocks);
    for (arma::uword mode = 0; mode < 3; ++mode) {
        EXPECT_NEAR(engine.m_eigenvalues[mode], 1.0 / eigenvalues[mode], 1e-10);
        const Vector expected =
            engine.m_system->m_isqrtMass % Vector(engine.m_prolongation * engine.m_projections[mode]);
        EXPECT_NEAR(std::abs(arma::norm_dot(engine.m_modes.col(mode), expected)), 1.0, vectorTolerance);
    }
}

TEST(NormalModeEngineProjections, CovarianceInTheSystemReversesTheOrderOfTheModes) {
    // Seen to fail with the pairs of projected frames in their own order.
    const BlockModel model(33);
    const Matrix covariance(3 * BlockModel::nAtoms, 3 * BlockModel::nAtoms, arma::fill::eye);
    const auto system = systemOf(model);
    system->m_covariance = &covariance;
    NormalModeEngine engine(3);
    engine.m_system = system;
    engine.buildRTBProlongationMatrix(model.positions, model.masses, model.blockIds, nullptr);
    engine.m_projections = framesWith({9.0, 4.0, 1.0, 0.25}, engine.cols());
    engine.performNMA();
    EXPECT_LT(arma::norm(engine.m_eigenvalues - Vector{1.0, 0.25, 1.0 / 9.0}, "inf"), 1e-10);
}

TEST(NormalModeEngineProjections, EigenvaluesBesideANetworkAreKeptAsTheyAre) {
    // Seen to fail with the eigenvalues of projected frames always inverted.
    const BlockModel model(34);
    NormalModeEngine engine(model.network(), model.positions, model.masses, model.blockIds, 3, 60.0, nullptr);
    engine.m_projections = framesWith({9.0, 4.0, 1.0, 0.25}, engine.cols());
    engine.performNMA();
    EXPECT_EQ(engine.m_firstMode, 0u);
    EXPECT_LT(arma::norm(engine.m_eigenvalues - Vector{9.0, 4.0, 1.0}, "inf"), 1e-10);
}

TEST(NormalModeEngineProjections, BeyondTheRankOfTheFramesPairsAreZeroOrMissing) {
    const NormalModeEngine engine = engineOf(5, framesWith({9.0, 4.0, 1.0}, 40), 40);
    Vector e;
    Matrix u;
    engine.diagonalize(e, u);
    ASSERT_GE(e.n_elem, 3u);
    EXPECT_EQ(u.n_cols, e.n_elem);
    EXPECT_LT(arma::norm(e.head(3) - Vector{9.0, 4.0, 1.0}, "inf"), 1e-11);
    EXPECT_LT(arma::norm(e.tail(e.n_elem - 3)), 1e-10);
}

TEST(NormalModeEngineProjections, FewerPairsThanModesAreOutOfBounds) {
    const BlockModel model(35);
    NormalModeEngine engine(1);
    engine.m_system = systemOf(model);
    engine.buildRTBProlongationMatrix(model.positions, model.masses, model.blockIds, nullptr);
    engine.m_projections = framesWith(arma::linspace(0.99, 1.0, 100), engine.cols()); // too close to converge
    Vector e;
    Matrix u;
    engine.diagonalize(e, u);
    EXPECT_EQ(e.n_elem, 0u);
    EXPECT_EQ(u.n_cols, 0u);
    try {
        engine.performNMA();
        FAIL();
    } catch (const std::out_of_range& error) {
        EXPECT_STREQ(error.what(), "Mat::operator(): index out of bounds");
    }
}

TEST(NormalModeEngineProjections, NoModesAreRefused) {
    EXPECT_EQ(invalidArgumentOf(engineOf(0, framesWith({9.0, 4.0}, 12), 12)),
              "nev must satisfy 1 <= nev <= n - 1, n is the size of matrix");
}

TEST(NormalModeEngineProjections, MoreModesThanHalfTheDimensionAreRefused) {
    EXPECT_EQ(invalidArgumentOf(engineOf(6, framesWith(arma::linspace(1.0, 12.0, 12), 12), 12)), "");
    EXPECT_EQ(invalidArgumentOf(engineOf(7, framesWith({9.0, 4.0}, 12), 12)),
              "ncv must satisfy nev < ncv <= n, n is the size of matrix");
    for (const unsigned int nModes : {12u, 4000000000u}) {
        EXPECT_EQ(invalidArgumentOf(engineOf(nModes, framesWith({9.0, 4.0}, 12), 12)),
                  "nev must satisfy 1 <= nev <= n - 1, n is the size of matrix");
    }
}

TEST(NormalModeEngineProjections, FrameOfAnotherLengthIsAnError) {
    NormalModeEngine engine = engineOf(2, framesWith({9.0, 4.0}, 12), 12);
    engine.m_projections.emplace_back(13, arma::fill::ones);
    Vector e;
    Matrix u;
    EXPECT_THROW(engine.diagonalize(e, u), std::length_error);
}

TEST(NormalModeEngineProjections, FrameThatIsNotFiniteIsAnError) {
    NormalModeEngine engine = engineOf(2, framesWith({9.0, 4.0}, 12), 12);
    engine.m_projections[1][3] = arma::datum::nan;
    Vector e;
    Matrix u;
    EXPECT_THROW(engine.diagonalize(e, u), std::logic_error);
}

} // namespace
