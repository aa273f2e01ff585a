// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <tuple>

#include <gtest/gtest.h>

#include "NMAEngine/NormalModeEngine.h"
#include "NMAEngine/modeFunctions.h"
#include "blockModel.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

TEST(TranslationBasis, ShiftsEveryAtomByOne) {
    const auto [x, y, z] = getTranslationBasis(2);
    EXPECT_TRUE(arma::approx_equal(x, Vector{1, 0, 0, 1, 0, 0}, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(y, Vector{0, 1, 0, 0, 1, 0}, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(z, Vector{0, 0, 1, 0, 0, 1}, "absdiff", 0.0));
}

TEST(TranslationBasis, NoAtomsGiveEmptyColumns) {
    EXPECT_EQ(std::get<2>(getTranslationBasis(0)).n_elem, 0u);
}

TEST(InfinitesimalRotationMatrix, ColumnsAreOrthonormalRigidMotionsWithoutTranslation) {
    const BlockModel model(31);
    const Matrix columns = buildInfinitesimalRotationMatrix(model.positions, model.masses);
    ASSERT_EQ(columns.n_rows, 3 * BlockModel::nAtoms);
    EXPECT_LT(arma::abs(columns.t() * columns - arma::eye(3, 3)).max(), 1e-13);

    const Matrix rigid = model.rigidMotions();
    EXPECT_LT(arma::abs(columns - rigid * rigid.t() * columns).max(), 1e-12);

    const auto [x, y, z] = getTranslationBasis(BlockModel::nAtoms);
    const Vector rootMass = model.network()->m_sqrtMass;
    for (const Vector& shift : {x, y, z}) {
        EXPECT_LT(arma::abs(columns.t() * (rootMass % shift)).max(), 1e-11);
    }
}

TEST(InfinitesimalRotationMatrix, OverloadsAgree) {
    const BlockModel model(32);
    Vector flat(3 * BlockModel::nAtoms);
    for (arma::uword i = 0; i < flat.n_elem; ++i) {
        flat[i] = model.positions[i / 3][i % 3];
    }
    const Matrix expected = buildInfinitesimalRotationMatrix(model.positions, model.masses);
    Matrix fromPositions(2, 2);
    Matrix fromFlat;
    buildInfinitesimalRotationMatrix(model.positions, model.masses, fromPositions);
    buildInfinitesimalRotationMatrix(flat, model.masses, fromFlat);
    for (const Matrix& columns :
         {fromPositions, fromFlat, buildInfinitesimalRotationMatrix(flat, model.masses)}) {
        EXPECT_TRUE(arma::approx_equal(columns, expected, "absdiff", 0.0));
    }
}

TEST(InfinitesimalRotationMatrix, HandWorkedPairTurnsAboutTheAxesAcrossItAlone) {
    // Unit masses at +-1 on x: the moments are 0, 2, 2. About y the atom at +1 moves along -z.
    const std::vector<std::array<double, 3>> pair = {{1.0, 0.0, 0.0}, {-1.0, 0.0, 0.0}};
    const Matrix columns = buildInfinitesimalRotationMatrix(pair, {1.0, 1.0});
    Matrix expected(6, 3, arma::fill::zeros);
    expected(2, 1) = -std::sqrt(0.5);
    expected(5, 1) = std::sqrt(0.5);
    expected(1, 2) = std::sqrt(0.5);
    expected(4, 2) = -std::sqrt(0.5);
    EXPECT_LT(arma::abs(columns - expected).max(), 1e-15);
}

TEST(InfinitesimalRotationMatrix, SingleAtomDoesNotTurn) {
    EXPECT_TRUE(buildInfinitesimalRotationMatrix(Vector{1.0, 2.0, 3.0}, {12.0}).is_zero());
}

TEST(InfinitesimalRotationMatrix, SizesThatDoNotMatchAreAnError) {
    EXPECT_THROW(buildInfinitesimalRotationMatrix(Vector{1.0, 2.0}, {12.0}), std::length_error);
    EXPECT_THROW(buildInfinitesimalRotationMatrix(Vector{1.0, 2.0, 3.0}, {12.0, 1.0}), std::length_error);
}

TEST(RandomDeformations, ScaleIsTheSumOfEigenvalueTimesSquaredAmplitude) {
    NormalModeEngine engine(4u);
    engine.m_eigenvalues = {0.01, 0.3, 2.0, 50.0};
    std::srand(3);
    for (const double scale : {0.5, 20.0}) {
        const Vector amplitudes = gererateRandomDeformations(engine, scale);
        ASSERT_EQ(amplitudes.n_elem, 4u);
        EXPECT_NEAR(arma::accu(engine.m_eigenvalues % amplitudes % amplitudes), scale, 1e-13 * scale);
    }
}

TEST(RandomDeformations, DirectionComesFromOneNumberPerModeInTheirOrder) {
    NormalModeEngine engine(3u);
    engine.m_eigenvalues = {1.0, 4.0, 9.0};
    std::srand(17);
    const Vector found = gererateRandomDeformations(engine, 2.0);
    std::srand(17);
    Vector x(3);
    for (double& value : x) {
        value = 2.0 * std::rand() / 2147483647.0 - 1.0;
    }
    x *= std::sqrt(2.0) / arma::norm(x);
    EXPECT_LT(arma::norm(found - x / Vector{1.0, 2.0, 3.0}), 1e-15);
}

TEST(RandomDeformations, NoModesGiveNoAmplitudes) {
    EXPECT_TRUE(gererateRandomDeformations(NormalModeEngine(0u), 1.0).is_empty());
}

TEST(RMSD, IsThePartOutsideTheSpanPerEntry) {
    // Seen to fail with the number of atoms for divisor.
    arma::arma_rng::set_seed(4);
    const Matrix axes = arma::orth(Matrix(12, 12, arma::fill::randn));
    const Matrix B = axes.cols(0, 4);
    const Vector inside = B * Vector{1.0, -2.0, 3.0, 0.0, 7.0};
    const Vector outside = axes.cols(5, 11) * Vector{0.5, 0.0, 1.5, -1.0, 0.0, 2.0, 0.25};
    EXPECT_NEAR(getRMSD(inside + outside, B), arma::norm(outside) / std::sqrt(12.0), 1e-14);
    EXPECT_NEAR(getRMSD(inside, B), 0.0, 1e-7);
    EXPECT_NEAR(getRMSD(outside, Matrix(12, 0)), arma::norm(outside) / std::sqrt(12.0), 1e-15);
    EXPECT_EQ(getRMSD(Vector(), Matrix(0, 2)), 0.0);
}

} // namespace
