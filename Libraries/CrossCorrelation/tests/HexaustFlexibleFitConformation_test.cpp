// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "Math/cGrid.h"

namespace {

/// The solver meets the radius to a relative 1e-11; sums of a few products add rounding.
constexpr double tolerance = 1e-9;

arma::Mat<double> randomMatrix(arma::uword rows, arma::uword cols, unsigned int seed) {
    std::mt19937 generator(seed);
    std::normal_distribution<double> normal;
    arma::Mat<double> matrix(rows, cols);
    for (double& value : matrix) {
        value = normal(generator);
    }
    return matrix;
}

/// A candidate whose Hessian is negative definite, n degrees of freedom.
HexaustFlexibleFitConformation concaveCandidate(arma::uword n, unsigned int seed) {
    HexaustFlexibleFitConformation candidate(3.0, 1, 2, 3, arma::Col<double>(n - 6, arma::fill::zeros),
                                             nullptr);
    const arma::Mat<double> root = randomMatrix(n, n, seed);
    candidate.m_hessian = -(root * root.t() + arma::eye(n, n));
    candidate.m_gradient = randomMatrix(n, 1, seed + 1);
    return candidate;
}

/// The increments of a candidate as the vector x.
arma::Col<double> incrementsOf(const FlexibleFitConformation& c) {
    const arma::Col<double> rigid{c.m_ddx, c.m_ddy, c.m_ddz, c.m_dalpha, c.m_dbeta, c.m_dgamma};
    return arma::join_cols(rigid, c.m_eta);
}

double model(const HexaustFlexibleFitConformation& c, const arma::Col<double>& d) {
    return c.m_rigidScore + arma::dot(c.m_gradient, d) +
           0.5 * arma::dot(d, arma::Col<double>(c.m_hessian * d));
}

/// The best of many points of the ball, half of them on its surface.
double sampledMaximum(const HexaustFlexibleFitConformation& c, double radius) {
    std::mt19937 generator(7);
    std::uniform_real_distribution<double> uniform;
    const arma::Mat<double> directions = randomMatrix(c.m_gradient.n_elem, 20000, 8);
    double best = c.m_rigidScore;
    for (arma::uword s = 0; s < directions.n_cols; ++s) {
        const double length = s % 2 == 0 ? radius : radius * uniform(generator);
        best = std::max(best, model(c, directions.col(s) * (length / arma::norm(directions.col(s)))));
    }
    return best;
}

class ConvexSubProblem : public testing::TestWithParam<arma::uword> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(DegreesOfFreedom, ConvexSubProblem, testing::Values(6, 7, 11));

TEST_P(ConvexSubProblem, TakesTheNewtonStepInsideTheBall) {
    HexaustFlexibleFitConformation candidate = concaveCandidate(GetParam(), 1);
    const arma::Col<double> newton = -arma::solve(candidate.m_hessian, candidate.m_gradient);
    EXPECT_TRUE(candidate.solveConvexSubProblem(10.0 * arma::norm(newton)));
    EXPECT_LT(arma::norm(incrementsOf(candidate) - newton), tolerance);
    EXPECT_NEAR(candidate.m_flexScore, 3.0 + 0.5 * arma::dot(candidate.m_gradient, newton), tolerance);
    EXPECT_GE(candidate.m_flexScore, candidate.m_rigidScore);
}

TEST_P(ConvexSubProblem, StopsOnTheSphereOfASmallerRadius) {
    HexaustFlexibleFitConformation candidate = concaveCandidate(GetParam(), 3);
    const double newton = arma::norm(arma::solve(candidate.m_hessian, candidate.m_gradient));
    const double radius = 0.4 * newton;
    EXPECT_TRUE(candidate.solveConvexSubProblem(radius));
    const arma::Col<double> step = incrementsOf(candidate);
    EXPECT_NEAR(arma::norm(step), radius, tolerance * radius);
    // At a maximum on the sphere the model's gradient points outwards along the step.
    const arma::Col<double> slope = candidate.m_gradient + candidate.m_hessian * step;
    EXPECT_NEAR(arma::dot(slope, step), arma::norm(slope) * radius, tolerance);
}

TEST_P(ConvexSubProblem, NoPointOfTheBallIsBetter) {
    for (const double fraction : {0.1, 0.7, 3.0}) {
        HexaustFlexibleFitConformation candidate = concaveCandidate(GetParam(), 5);
        const double radius = fraction * arma::norm(arma::solve(candidate.m_hessian, candidate.m_gradient));
        const double sampled = sampledMaximum(candidate, radius);
        EXPECT_TRUE(candidate.solveConvexSubProblem(radius));
        EXPECT_GE(candidate.m_flexScore, sampled);
        EXPECT_NEAR(candidate.m_flexScore, model(candidate, incrementsOf(candidate)), tolerance);
    }
}

TEST_P(ConvexSubProblem, StepIsAddedToTheIncrementsHeld) {
    const arma::uword n = GetParam();
    HexaustFlexibleFitConformation fresh = concaveCandidate(n, 9);
    HexaustFlexibleFitConformation moved = fresh;
    const arma::Col<double> eta(n - 6, arma::fill::value(0.75));
    moved.setTweenDof({1, 2, 3}, {4, 5, 6}, eta);
    const arma::Col<double> before = incrementsOf(moved);
    EXPECT_TRUE(fresh.solveConvexSubProblem(0.5));
    EXPECT_TRUE(moved.solveConvexSubProblem(0.5));
    EXPECT_LT(arma::norm(incrementsOf(moved) - before - incrementsOf(fresh)), tolerance);
    EXPECT_EQ(moved.m_flexScore, fresh.m_flexScore);
}

TEST_P(ConvexSubProblem, HessianThatIsNotNegativeDefiniteLeavesTheCandidate) {
    const arma::uword n = GetParam();
    for (const double eigenvalue : {0.0, 0.5}) {
        HexaustFlexibleFitConformation candidate = concaveCandidate(n, 11);
        candidate.m_hessian = -arma::eye(n, n);
        candidate.m_hessian(n - 1, n - 1) = eigenvalue;
        candidate.setTweenDof({1, 2, 3}, {4, 5, 6}, arma::Col<double>(n - 6, arma::fill::value(0.75)));
        candidate.m_flexScore = -7.0;
        const arma::Col<double> before = incrementsOf(candidate);
        EXPECT_FALSE(candidate.solveConvexSubProblem(1.0));
        EXPECT_EQ(candidate.m_flexScore, candidate.m_rigidScore);
        EXPECT_EQ(arma::norm(incrementsOf(candidate) - before), 0.0);
    }
}

TEST_P(ConvexSubProblem, ZeroGradientStaysWhereItIs) {
    HexaustFlexibleFitConformation candidate = concaveCandidate(GetParam(), 13);
    candidate.m_gradient.zeros();
    EXPECT_TRUE(candidate.solveConvexSubProblem(1.0));
    EXPECT_EQ(arma::norm(incrementsOf(candidate)), 0.0);
    EXPECT_EQ(candidate.m_flexScore, candidate.m_rigidScore);
}

TEST(HexaustFlexibleFitConformation, SolveLeavesScoreNodeAndRotation) {
    HexaustFlexibleFitConformation candidate = concaveCandidate(6, 15);
    candidate.setRotation(0.1, 0.2, 0.3);
    ASSERT_TRUE(candidate.solveConvexSubProblem(0.1));
    EXPECT_EQ(candidate.m_rigidScore, 3.0);
    EXPECT_EQ(candidate.m_i, 1);
    EXPECT_EQ(candidate.m_j, 2);
    EXPECT_EQ(candidate.m_k, 3);
    EXPECT_EQ(candidate.m_beta, 0.2);
}

TEST(HexaustFlexibleFitConformation, WithoutModesEtaStaysEmpty) {
    HexaustFlexibleFitConformation candidate = concaveCandidate(6, 17);
    ASSERT_TRUE(candidate.solveConvexSubProblem(1.0));
    EXPECT_TRUE(candidate.m_eta.is_empty());
}

TEST(HexaustFlexibleFitConformation, SolveGivesEtaItsSize) {
    HexaustFlexibleFitConformation candidate = concaveCandidate(9, 19);
    HexaustFlexibleFitConformation regular = candidate;
    candidate.m_eta.reset();
    ASSERT_TRUE(candidate.solveConvexSubProblem(1.0));
    ASSERT_TRUE(regular.solveConvexSubProblem(1.0));
    ASSERT_EQ(candidate.m_eta.n_elem, 3u);
    EXPECT_EQ(arma::norm(candidate.m_eta - regular.m_eta), 0.0);
}

TEST(HexaustFlexibleFitConformation, SolveWithoutDerivativesThrows) {
    HexaustFlexibleFitConformation candidate;
    EXPECT_THROW(candidate.solveConvexSubProblem(1.0), std::length_error);
    candidate.m_gradient.zeros(6);
    EXPECT_THROW(candidate.solveConvexSubProblem(1.0), std::length_error);
    candidate.m_hessian.zeros(6, 7);
    EXPECT_THROW(candidate.solveConvexSubProblem(1.0), std::length_error);
}

TEST(HexaustFlexibleFitConformation, CopiesAreDeepAndShareTheGrid) {
    HexaustFlexibleFitConformation original = concaveCandidate(7, 21);
    original.m_grid = std::make_shared<const cGrid>();
    const HexaustFlexibleFitConformation copy = original;
    const double gradient = original.m_gradient(0);
    original.m_gradient(0) += 1.0;
    original.m_hessian(0, 0) += 1.0;
    EXPECT_EQ(copy.m_gradient(0), gradient);
    EXPECT_NE(copy.m_hessian(0, 0), original.m_hessian(0, 0));
    EXPECT_EQ(copy.m_grid, original.m_grid);
}

TEST(HexaustFlexibleFitConformation, StartsWithoutDerivatives) {
    const HexaustFlexibleFitConformation candidate(1.0, 0, 0, 0, {0.5}, nullptr, 1, 2, 3);
    EXPECT_TRUE(candidate.m_gradient.is_empty());
    EXPECT_TRUE(candidate.m_hessian.is_empty());
    EXPECT_EQ(candidate.m_gamma, 3);
}
