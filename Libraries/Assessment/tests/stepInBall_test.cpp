// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

#include <gtest/gtest.h>

#include "Assessment/stepInBall.h"

namespace {

using Vector = std::array<double, 6>;
using Matrix = std::array<Vector, 6>;

constexpr double radius = 1.5;
constexpr double rounding = 1e-9;

double gainOf(const Vector& g, const Matrix& h, const Vector& p) {
    double gain = 0.0;
    for (std::size_t i = 0; i < p.size(); ++i) {
        gain += g[i] * p[i];
        for (std::size_t j = 0; j < p.size(); ++j) {
            gain += 0.5 * p[i] * h[i][j] * p[j];
        }
    }
    return gain;
}

double lengthOf(const Vector& p) {
    double sum = 0.0;
    for (const double value : p) {
        sum += value * value;
    }
    return std::sqrt(sum);
}

Matrix diagonal(const Vector& d) {
    Matrix h{};
    for (std::size_t i = 0; i < d.size(); ++i) {
        h[i][i] = d[i];
    }
    return h;
}

} // namespace

TEST(StepInBall, IsNewtonsWhereThatIsInside) {
    const BallStep step =
        stepInBall({1.0, 0.0, -2.0, 0.0, 0.5, 0.0}, diagonal({-2.0, -1.0, -4.0, -3.0, -1.0, -7.0}), radius);
    EXPECT_NEAR(step.step[0], 0.5, rounding);
    EXPECT_NEAR(step.step[2], -0.5, rounding);
    EXPECT_NEAR(step.step[4], 0.5, rounding);
    EXPECT_NEAR(step.gain, 0.25 + 0.5 + 0.125, rounding);
}

TEST(StepInBall, IsNotBeatenByAnyOther) {
    std::mt19937 random(4);
    std::normal_distribution<double> normal;
    for (int problem = 0; problem < 30; ++problem) {
        Vector g{};
        Matrix h{};
        for (std::size_t i = 0; i < 6; ++i) {
            g[i] = normal(random);
            for (std::size_t j = 0; j <= i; ++j) {
                h[i][j] = h[j][i] = normal(random) - (i == j ? 0.1 * problem : 0.0);
            }
        }
        const BallStep step = stepInBall(g, h, radius);
        EXPECT_LE(step.length, radius * (1.0 + rounding));
        EXPECT_NEAR(step.length, lengthOf(step.step), rounding);
        EXPECT_NEAR(step.gain, gainOf(g, h, step.step), rounding);
        for (int trial = 0; trial < 300; ++trial) {
            Vector p{};
            for (std::size_t i = 0; i < 6; ++i) {
                // Near the step and far from it.
                p[i] = (trial % 2 == 0 ? step.step[i] : 0.0) + normal(random) * (trial % 3 == 0 ? 1e-3 : 1.0);
            }
            const double length = lengthOf(p);
            for (double& value : p) {
                value *= length > radius ? radius / length : 1.0;
            }
            EXPECT_LE(gainOf(g, h, p), step.gain + rounding);
        }
    }
}

TEST(StepInBall, LeavesASaddleWhoseGradientDoesNotSayWhichWay) {
    const Vector g = {0.0, 0.3, 0.0, 0.0, 0.0, 0.0};
    const Matrix h = diagonal({2.0, -1.0, -1.0, -1.0, -1.0, -1.0});
    const BallStep step = stepInBall(g, h, radius);
    EXPECT_NEAR(step.length, radius, rounding);
    EXPECT_NEAR(step.step[1], 0.1, rounding); // 0.3 / (1 + 2)
    EXPECT_NEAR(std::abs(step.step[0]), std::sqrt(radius * radius - 0.01), rounding);
}

TEST(StepInBall, GoesToTheBoundaryAlongASlope) {
    const BallStep step = stepInBall({0.0, 0.0, 3.0, 0.0, 0.0, 4.0}, Matrix{}, radius);
    EXPECT_NEAR(step.step[2], 0.6 * radius, rounding);
    EXPECT_NEAR(step.step[5], 0.8 * radius, rounding);
    EXPECT_NEAR(step.gain, 5.0 * radius, rounding);
}

TEST(StepInBall, StaysWhereNothingChanges) {
    const BallStep nowhere = stepInBall(Vector{}, Matrix{}, radius);
    EXPECT_EQ(nowhere.length, 0.0);
    EXPECT_EQ(nowhere.gain, 0.0);
    // A turn about the axis of a rod: no more than rounding.
    const BallStep step =
        stepInBall({1.0, 0.0, 0.0, 0.0, 0.0, 1e-16}, diagonal({-1.0, -1.0, -1.0, -1.0, -1.0, 1e-17}), radius);
    EXPECT_NEAR(step.step[0], 1.0, rounding);
    EXPECT_EQ(step.step[5], 0.0);
}
