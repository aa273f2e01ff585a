// SPDX-License-Identifier: GPL-3.0-or-later
// The prolongation and the access to the modes.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <list>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "IO/cInfo.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "blockModel.h"

namespace {

using Position = std::array<double, 3>;
using Positions = std::vector<Position>;
using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

NormalModeEngine prolongationOf(const Positions& x, const std::vector<double>& masses,
                                const std::vector<int>& blockIds) {
    NormalModeEngine engine(0);
    engine.buildRTBProlongationMatrix(x, masses, blockIds, nullptr);
    return engine;
}

NormalModeEngine prolongationOf(const BlockModel& model) {
    return prolongationOf(model.positions, model.masses, model.blockIds);
}

/// M^(1/2) (t + w x x) of the atoms of one block, zero elsewhere.
Vector blockMotion(const BlockModel& model, int block, const Position& t, const Position& w) {
    Vector v(3 * model.positions.size(), arma::fill::zeros);
    for (std::size_t a = 0; a < model.positions.size(); ++a) {
        if (model.blockIds[a] != block) {
            continue;
        }
        const Position& p = model.positions[a];
        v.subvec(3 * a, 3 * a + 2) = std::sqrt(model.masses[a]) * Vector{t[0] + w[1] * p[2] - w[2] * p[1],
                                                                         t[1] + w[2] * p[0] - w[0] * p[2],
                                                                         t[2] + w[0] * p[1] - w[1] * p[0]};
    }
    return v;
}

TEST(NormalModeEngine, CountsOfModesAreFixedByItsMaking) {
    using Engine = NormalModeEngine&;
    EXPECT_FALSE((std::is_assignable_v<decltype((std::declval<Engine>().m_nModes)), unsigned int>));
    EXPECT_FALSE((std::is_assignable_v<decltype((std::declval<Engine>().m_nRigidModes)), int>));
}

TEST(RTBProlongation, ColumnsAreOrthonormal) {
    const NormalModeEngine engine = prolongationOf(BlockModel(1));
    const Matrix P(engine.m_prolongation);
    ASSERT_EQ(P.n_rows, 3 * BlockModel::nAtoms);
    ASSERT_EQ(P.n_cols, 6 * BlockModel::nBlocks);
    EXPECT_LT(arma::abs(P.t() * P - arma::eye(P.n_cols, P.n_cols)).max(), 1e-13);
}

TEST(RTBProlongation, ColumnsSpanTheRigidMotionsOfEachBlock) {
    const BlockModel model(2);
    const Matrix P(prolongationOf(model).m_prolongation);
    for (int block = 0; block < 24; ++block) {
        const Vector v = blockMotion(model, block, {1.0, -2.0, 0.5}, {0.3, 0.7, -1.1});
        Vector coefficients = P.t() * v;
        EXPECT_LT(arma::norm(v - P * coefficients), 1e-12 * arma::norm(v));
        const auto first = 6 * static_cast<arma::uword>(block);
        coefficients.subvec(first, first + 5).zeros(); // the other blocks have no share
        EXPECT_EQ(arma::norm(coefficients), 0.0);
    }
}

TEST(RTBProlongation, EntriesAreTheCrossProductsWithTheRowsOfTheInverseRootOfInertia) {
    const BlockModel model(3);
    const NormalModeEngine engine = prolongationOf(model);
    const auto epsilon = [](std::size_t i, std::size_t j, std::size_t k) {
        return i == j || j == k || k == i ? 0.0 : (i + 1) % 3 == j ? 1.0 : -1.0;
    };
    for (std::size_t a = 0; a < model.positions.size(); ++a) {
        const auto b = static_cast<std::size_t>(model.blockIds[a]);
        const Matrix& L = engine.m_blockInvSqrtInertia[b];
        const double root = std::sqrt(model.masses[a]);
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                double sum = 0.0;
                for (std::size_t k = 0; k < 3; ++k) {
                    for (std::size_t l = 0; l < 3; ++l) {
                        sum += L(i, k) * (model.positions[a][l] - engine.m_blockCenters[b][l]) *
                               epsilon(k, l, j);
                    }
                }
                EXPECT_NEAR(engine.m_prolongation(3 * a + j, 6 * b + 3 + i), root * sum, 1e-14);
                EXPECT_NEAR(engine.m_prolongation(3 * a + j, 6 * b + i),
                            i == j ? root / std::sqrt(engine.m_blockMasses[b]) : 0.0, 1e-15);
            }
        }
    }
}

TEST(RTBProlongation, MassesAndCentresAreThoseOfTheBlocks) {
    const NormalModeEngine engine =
        prolongationOf({{0.0, 0.0, 0.0}, {7.0, 8.0, 9.0}, {4.0, 0.0, 8.0}}, {1.0, 5.0, 3.0}, {0, 1, 0});
    EXPECT_EQ(engine.m_blockMasses, (std::vector<double>{4.0, 5.0}));
    EXPECT_EQ(engine.m_blockCenters[0], (Position{3.0, 0.0, 6.0}));
    EXPECT_EQ(engine.m_blockCenters[1], (Position{7.0, 8.0, 9.0}));
}

TEST(RTBProlongation, BlockOfOneAtomHasZeroRotationColumns) {
    const NormalModeEngine engine = prolongationOf({{1.0, 2.0, 3.0}}, {12.0}, {0});
    EXPECT_TRUE(arma::approx_equal(engine.m_blockInvSqrtInertia[0], Matrix(arma::eye(3, 3)), "absdiff", 0.0));
    const Matrix P(engine.m_prolongation);
    EXPECT_TRUE(arma::approx_equal(Matrix(P.cols(0, 2)), Matrix(arma::eye(3, 3)), "absdiff", 0.0));
    EXPECT_TRUE(P.cols(3, 5).is_zero());
}

TEST(RTBProlongation, BlocksOnALineDoNotTurnAboutIt) {
    const Positions two = {{0.0, 0.0, 0.0}, {1.0, 2.0, 2.0}};
    const Positions three = {{0.0, 0.0, 0.0}, {1.0, 2.0, 2.0}, {-2.0, -4.0, -4.0}};
    for (const Positions& x : {two, three}) {
        const NormalModeEngine engine =
            prolongationOf(x, std::vector<double>(x.size(), 12.0), std::vector<int>(x.size(), 0));
        const Matrix& L = engine.m_blockInvSqrtInertia[0];
        EXPECT_TRUE(L.is_finite());
        EXPECT_LT(arma::norm(L * Vector{1.0, 2.0, 2.0}), 1e-14);
        const Matrix P(engine.m_prolongation);
        const Vector squares = arma::eig_sym(P.t() * P);
        EXPECT_NEAR(squares[0], 0.0, 1e-14);
        EXPECT_NEAR(squares[1], 1.0, 1e-14);
        EXPECT_NEAR(squares[5], 1.0, 1e-14);
    }
}

TEST(RTBProlongation, EmptyBlockKeepsSixZeroColumns) {
    const NormalModeEngine engine = prolongationOf({{0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}}, {12.0, 14.0}, {0, 2});
    EXPECT_EQ(engine.m_blockMasses, (std::vector<double>{12.0, 0.0, 14.0}));
    EXPECT_TRUE(std::isnan(engine.m_blockCenters[1][0]));
    const Matrix P(engine.m_prolongation);
    ASSERT_EQ(P.n_cols, 18u);
    EXPECT_TRUE(P.cols(6, 11).is_zero());
    EXPECT_TRUE(P.is_finite());
}

TEST(RTBProlongation, OrderOfTheAtomsInABlockDoesNotMatter) {
    const BlockModel model(4);
    BlockModel reversed(4);
    std::reverse(reversed.positions.begin(), reversed.positions.end());
    std::reverse(reversed.masses.begin(), reversed.masses.end());
    std::reverse(reversed.blockIds.begin(), reversed.blockIds.end());
    const Matrix P(prolongationOf(model).m_prolongation);
    const Matrix Q(prolongationOf(reversed).m_prolongation);
    const arma::uword n = model.positions.size();
    for (arma::uword a = 0; a < n; ++a) {
        EXPECT_LT(arma::abs(P.rows(3 * a, 3 * a + 2) - Q.rows(3 * (n - 1 - a), 3 * (n - 1 - a) + 2)).max(),
                  1e-13);
    }
}

TEST(RTBProlongation, ReportsTheMemoryOfItsTriplets) {
    cInfo info(80);
    NormalModeEngine engine(0);
    testing::internal::CaptureStdout();
    engine.buildRTBProlongationMatrix({{0.0, 0.0, 0.0}, {1.0, 1.0, 1.0}}, {1.0, 1.0}, {0, 0}, &info);
    std::fflush(stdout);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), " Memory required for the RTB projection matrix" +
                                                          std::string(80 - 46, '.') + " : 0.000549316 Mb\n");
}

TEST(RTBProlongation, ImpossibleInputIsAnError) {
    NormalModeEngine engine(0);
    EXPECT_THROW(engine.buildRTBProlongationMatrix({{0.0, 0.0, 0.0}}, {1.0, 1.0}, {0}, nullptr),
                 std::length_error);
    EXPECT_THROW(engine.buildRTBProlongationMatrix({{0.0, 0.0, 0.0}}, {1.0}, {0, 0}, nullptr),
                 std::length_error);
    EXPECT_THROW(engine.buildRTBProlongationMatrix({{0.0, 0.0, 0.0}}, {1.0}, {-1}, nullptr),
                 std::out_of_range);
}

TEST(CAProlongation, HoldsTheTranslationsOfTheBlocks) {
    NormalModeEngine engine(0);
    engine.buildCAProlongationMatrix({1.0, 9.0, 3.0}, {0, 1, 0});
    const Matrix P(engine.m_prolongation);
    Matrix expected(9, 6, arma::fill::zeros);
    for (arma::uword c = 0; c < 3; ++c) {
        expected(c, c) = std::sqrt(1.0 / 4.0);
        expected(3 + c, 3 + c) = 1.0;
        expected(6 + c, c) = std::sqrt(3.0 / 4.0);
    }
    EXPECT_TRUE(arma::approx_equal(P, expected, "absdiff", 0.0));
    EXPECT_EQ(engine.m_blockMasses, (std::vector<double>{4.0, 9.0}));
    EXPECT_EQ(engine.rows(), 6u);
    EXPECT_EQ(engine.cols(), 6u);
}

TEST(NormalModeEngine, NumberOfModesAloneLeavesTheRestEmpty) {
    const NormalModeEngine engine(7);
    EXPECT_EQ(engine.m_nModes, 7u);
    EXPECT_EQ(engine.m_nRigidModes, 6);
    EXPECT_EQ(engine.m_info, nullptr);
    EXPECT_EQ(engine.m_system, nullptr);
    EXPECT_TRUE(engine.m_modes.is_empty());
    EXPECT_TRUE(engine.m_projections.empty());
}

TEST(NormalModeEngine, ModesMatrixIsTheSliceOfAnAtom) {
    NormalModeEngine engine(2);
    engine.m_modes = arma::reshape(arma::regspace(0.0, 23.0), 12, 2);
    const Matrix slice = engine.getModesMatrix(2);
    EXPECT_TRUE(arma::approx_equal(slice, Matrix{{6.0, 18.0}, {7.0, 19.0}, {8.0, 20.0}}, "absdiff", 0.0));
    EXPECT_THROW(engine.getModesMatrix(4), std::out_of_range);
    EXPECT_THROW(engine.getModesMatrix(-1), std::out_of_range);
}

TEST(NormalModeEngine, ModesMatrixWithoutModesHasNoColumns) {
    NormalModeEngine engine(0);
    engine.m_modes.set_size(6, 0);
    EXPECT_EQ(engine.getModesMatrix(1).n_rows, 3u);
    EXPECT_EQ(engine.getModesMatrix(1).n_cols, 0u);
    EXPECT_EQ(arma::norm(engine.getDisplacement(Vector())), 0.0);
}

TEST(NormalModeEngine, DisplacementIsTheSumOfTheModes) {
    NormalModeEngine engine(2);
    engine.m_modes = Matrix{{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}};
    EXPECT_TRUE(
        arma::approx_equal(engine.getDisplacement({10.0, 1.0}), Vector{12.0, 34.0, 56.0}, "absdiff", 0.0));
}

TEST(NormalModeEngine, OperatorAppliesTheCovarianceOfTheProjections) {
    NormalModeEngine engine(0);
    engine.m_prolongation = arma::speye<arma::SpMat<double>>(4, 4);
    engine.m_projections = {{1.0, 2.0, 3.0, 4.0}, {0.5, -1.0, 0.0, 2.0}, {0.0, 0.0, 1.0, 0.0}};
    Matrix covariance(4, 4, arma::fill::zeros);
    for (const Vector& p : engine.m_projections) {
        covariance += p * p.t();
    }
    Vector in = {1.0, -2.0, 0.5, 3.0};
    Vector out(4, arma::fill::ones);
    engine.perform_op(in.memptr(), out.memptr());
    EXPECT_LT(arma::norm(out - covariance * in), 1e-13);
    engine.m_projections.clear();
    engine.perform_op(in.memptr(), out.memptr());
    EXPECT_TRUE(out.is_zero());
}

TEST(NormalModeEngine, BlockMassesFollowTheListsOrder) {
    const BlockModel model(5);
    NormalModeEngine engine(0);
    engine.m_system = model.network();
    std::vector<double> masses(50, -1.0);
    engine.getBlockMasses({7, 3, 11}, masses);
    EXPECT_EQ(masses, (std::vector<double>{model.masses[7], model.masses[3], model.masses[11]}));
}

TEST(NormalModeEngine, AtomsOfABlockAreListedInAscendingOrder) {
    NormalModeEngine engine(0);
    engine.loadCAlphaId2AtomId({2, 0, 2, 0, 4});
    const std::vector<std::list<int>> expected = {{1, 3}, {}, {0, 2}, {}, {4}};
    EXPECT_EQ(engine.m_blockAtoms, expected);
}

TEST(NormalModeEngine, ShiftedIndicesLeaveZeroRowsAtTheAtomsOfTheFullModel) {
    NormalModeEngine engine(1);
    engine.m_modes = arma::regspace(1.0, 9.0); // atoms 1, 2 and 4 of a model of five
    std::set<int> leftOut = {3, 0};
    engine.shiftIndices(leftOut);
    const Matrix expected = Vector{0, 0, 0, 1, 2, 3, 4, 5, 6, 0, 0, 0, 7, 8, 9};
    EXPECT_TRUE(arma::approx_equal(engine.m_modes, expected, "absdiff", 0.0));
}

} // namespace
