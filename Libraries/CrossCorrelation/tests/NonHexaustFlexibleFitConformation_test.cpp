// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/NonHexaustFlexibleFitConformation.h"
#include "Math/cGrid.h"

namespace {

constexpr int nx = 3;
constexpr int ny = 4;
constexpr int nz = 5;
constexpr std::size_t voxels = nx * ny * nz;

std::shared_ptr<const cGrid> makeGrid() {
    auto grid = std::make_shared<cGrid>();
    grid->setSize(nx, ny, nz);
    return grid;
}

NonHexaustFlexibleFitConformation atNode(int i, int j, int k) {
    return {1.0, i, j, k, {}, makeGrid()};
}

std::vector<double> randomField(unsigned int seed) {
    std::mt19937 generator(seed);
    std::normal_distribution<double> normal;
    std::vector<double> field(voxels);
    std::generate(field.begin(), field.end(), [&] { return normal(generator); });
    return field;
}

std::size_t flat(int i, int j, int k) {
    return static_cast<std::size_t>((i * ny + j) * nz + k);
}

} // namespace

TEST(NonHexaustFlexibleFitConformation, ShiftMovesEveryNodeCyclically) {
    const std::vector<double> field = randomField(1);
    for (int i = 0; i < nx; ++i) {
        for (int j = 0; j < ny; ++j) {
            for (int k = 0; k < nz; ++k) {
                const std::vector<double> shifted = atNode(i, j, k).shiftValues(field);
                ASSERT_EQ(shifted.size(), voxels);
                for (int v = 0; v < static_cast<int>(voxels); ++v) {
                    const int a = v / (ny * nz);
                    const int b = v / nz % ny;
                    const int c = v % nz;
                    ASSERT_EQ(shifted[flat((a + i) % nx, (b + j) % ny, (c + k) % nz)], field[flat(a, b, c)]);
                }
            }
        }
    }
}

TEST(NonHexaustFlexibleFitConformation, ShiftByTheFirstNodeIsTheIdentity) {
    const std::vector<double> field = randomField(2);
    EXPECT_EQ(atNode(0, 0, 0).shiftValues(field), field);
}

TEST(NonHexaustFlexibleFitConformation, ShiftOffTheGridEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the matrix library may hold threads
    const std::vector<double> field(voxels, 1.0);
    constexpr int huge = std::numeric_limits<int>::max();
    const char* message = "iig >= shiftedValues.size\\(\\)";
    EXPECT_EXIT(atNode(nx * 3, 0, 0).shiftValues(field), testing::ExitedWithCode(1), message);
    EXPECT_EXIT(atNode(0, -ny * 2, 0).shiftValues(field), testing::ExitedWithCode(1), message);
    EXPECT_EXIT(atNode(0, 0, huge).shiftValues(field), testing::ExitedWithCode(1), message);
}

TEST(NonHexaustFlexibleFitConformation, ShiftOfAShortFieldEndsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // the matrix library may hold threads
    EXPECT_EXIT(atNode(1, 1, 1).shiftValues(std::vector<double>(voxels - 1)), testing::ExitedWithCode(1),
                "iig >= shiftedValues.size\\(\\)");
}

TEST(NonHexaustFlexibleFitConformation, ShiftWithoutAGridThrows) {
    EXPECT_THROW(NonHexaustFlexibleFitConformation().shiftValues({}), std::logic_error);
}

class MapSolve : public testing::TestWithParam<std::size_t> {
protected:
    void SetUp() override {
        const std::size_t n = GetParam();
        target = randomField(3);
        for (std::size_t i = 0; i < n; ++i) {
            gradMaps.push_back(randomField(static_cast<unsigned int>(10 + i)));
        }
        const std::vector<double> shifted = atNode(1, 3, 2).shiftValues(target);
        for (std::size_t p = 0; p < n * n; ++p) {
            // With a share of -s on the diagonal maps the sums with s make a dominant negative diagonal.
            std::vector<double> map = randomField(static_cast<unsigned int>(100 + p));
            const double share = p % (n + 1) == 0 ? -5.0 : 0.0;
            for (std::size_t v = 0; v < voxels; ++v) {
                map[v] = 0.1 * map[v] + share * shifted[v];
            }
            hessMaps.push_back(map);
        }
    }

    std::vector<double> target;
    std::vector<std::vector<double>> gradMaps;
    std::vector<std::vector<double>> hessMaps;
};

INSTANTIATE_TEST_SUITE_P(DegreesOfFreedom, MapSolve, testing::Values(6, 8));

TEST_P(MapSolve, EqualsTheSolveWithTheSummedDerivatives) {
    // Seen to fail with the sums scaled as the correlation is.
    const std::size_t n = GetParam();
    const arma::Col<double> eta(n - 6, arma::fill::zeros);
    NonHexaustFlexibleFitConformation fromMaps(2.0, 1, 3, 2, eta, makeGrid());
    HexaustFlexibleFitConformation expected(2.0, 1, 3, 2, eta, makeGrid());
    fromMaps.setTweenDof({1, 2, 3}, {4, 5, 6}, eta);
    expected.setTweenDof({1, 2, 3}, {4, 5, 6}, eta);
    expected.m_gradient.zeros(n);
    expected.m_hessian.zeros(n, n);
    for (int a = 0; a < nx; ++a) {
        for (int b = 0; b < ny; ++b) {
            for (int c = 0; c < nz; ++c) {
                const double s = target[flat(a, b, c)];
                const std::size_t v = flat((a + 1) % nx, (b + 3) % ny, (c + 2) % nz);
                for (std::size_t i = 0; i < n; ++i) {
                    expected.m_gradient(i) += s * gradMaps[i][v];
                    for (std::size_t j = 0; j < n; ++j) {
                        expected.m_hessian(i, j) += s * hessMaps[i * n + j][v];
                    }
                }
            }
        }
    }
    ASSERT_TRUE(expected.solveConvexSubProblem(0.05));
    ASSERT_TRUE(fromMaps.solveConvexSubProblem(target, gradMaps, hessMaps, 0.05));
    constexpr double tolerance = 1e-9; // the two sum in different orders
    EXPECT_NEAR(fromMaps.m_flexScore, expected.m_flexScore, tolerance);
    EXPECT_NEAR(fromMaps.m_ddx, expected.m_ddx, tolerance);
    EXPECT_NEAR(fromMaps.m_ddy, expected.m_ddy, tolerance);
    EXPECT_NEAR(fromMaps.m_ddz, expected.m_ddz, tolerance);
    EXPECT_NEAR(fromMaps.m_dalpha, expected.m_dalpha, tolerance);
    EXPECT_NEAR(fromMaps.m_dbeta, expected.m_dbeta, tolerance);
    EXPECT_NEAR(fromMaps.m_dgamma, expected.m_dgamma, tolerance);
    for (std::size_t p = 0; p + 6 < n; ++p) {
        EXPECT_NEAR(fromMaps.m_eta(p), expected.m_eta(p), tolerance);
    }
}

TEST_P(MapSolve, ConvexMapsLeaveTheCandidate) {
    const std::size_t n = GetParam();
    for (std::vector<double>& map : hessMaps) {
        for (double& value : map) {
            value = -value;
        }
    }
    NonHexaustFlexibleFitConformation candidate(2.0, 1, 3, 2, arma::Col<double>(n - 6, arma::fill::zeros),
                                                makeGrid());
    EXPECT_FALSE(candidate.solveConvexSubProblem(target, gradMaps, hessMaps, 1.0));
    EXPECT_EQ(candidate.m_flexScore, 2.0);
    EXPECT_EQ(candidate.m_ddx, 0.0);
}

TEST_P(MapSolve, WrongLengthsThrow) {
    NonHexaustFlexibleFitConformation candidate = atNode(1, 3, 2);
    std::vector<std::vector<double>> shortMaps = gradMaps;
    shortMaps[2].pop_back();
    EXPECT_THROW(candidate.solveConvexSubProblem(target, shortMaps, hessMaps, 1.0), std::length_error);
    hessMaps.pop_back();
    EXPECT_THROW(candidate.solveConvexSubProblem(target, gradMaps, hessMaps, 1.0), std::length_error);
}
