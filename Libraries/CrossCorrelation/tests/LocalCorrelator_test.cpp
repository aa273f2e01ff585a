// SPDX-License-Identifier: GPL-3.0-or-later
// The local correlation in rows against direct sums and against whole fields.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/LocalCorrelator.h"
#include "localCases.h"
#include "localReference.h"
#include "testModel.h"

namespace {

using namespace localcases;

void expectNear(const std::vector<double>& a, const std::vector<double>& b, double tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t s = 0; s < a.size(); ++s) {
        ASSERT_NEAR(a[s], b[s], tolerance) << "at " << s;
    }
}

class Local : public testing::TestWithParam<LocalCase> {
protected:
    Rows run(const std::vector<double>& field, double factor = 1.0) {
        return correlate(correlator, correlator.spectraOf(weights, mask), grid, given.filled, field, factor);
    }

    const LocalCase given = GetParam();
    const cGrid grid = gridOf(given.grid);
    const std::vector<double> mask = maskOf(given.mask, grid);
    const std::vector<double> weights = weightsOf(mask, 5);
    const std::vector<double> target = cornerNoise(grid, given.filled, 6);
    LocalCorrelator correlator{grid, given.filled, floorOfTests};
};

/// A sum of squares less a square, by transforms.
constexpr double tolerance = 1e-12;

} // namespace

INSTANTIATE_TEST_SUITE_P(Cases, Local, testing::ValuesIn(cases));

TEST_P(Local, EqualsTheDirectSumsAtEveryShift) {
    const auto expected = localreference::directly(grid, target, weights, mask, floorOfTests);
    const Rows rows = run(target);
    expectNear(rows.overlap, expected.overlap, tolerance);
    if (std::string(given.mask) != "node") { // where V is nothing but rounding
        expectNear(rows.score, expected.score, tolerance);
        const double most = *std::max_element(expected.variance.begin(), expected.variance.end());
        EXPECT_NEAR(correlator.largestVariance(), most, tolerance * most);
    }
}

TEST_P(Local, EqualsTheWholeFieldsOfTheEngine) {
    const auto expected = localreference::byEngine(grid, target, weights, mask, floorOfTests);
    const Rows rows = run(target);
    expectNear(rows.overlap, expected.overlap, tolerance);
    if (std::string(given.mask) != "node") {
        expectNear(rows.score, expected.score, tolerance);
    }
}

TEST_P(Local, ScoresAreCoefficients) {
    for (const double score : run(target).score) {
        EXPECT_LE(std::abs(score), 1.0 + tolerance); // not-a-number is no less
    }
}

TEST_P(Local, ScalesOfTheTargetChangeOverlapsAlone) {
    const Rows rows = run(target);
    for (const double scale : {1e-8, 3.0, 1e9}) {
        const Rows scaled = run(target, scale);
        expectNear(scaled.score, rows.score, tolerance);
        for (std::size_t s = 0; s < rows.overlap.size(); ++s) {
            ASSERT_NEAR(scaled.overlap[s], scale * rows.overlap[s], scale * tolerance);
        }
    }
}

TEST_P(Local, AConstantAddedToTheWholeTargetChangesNothing) {
    if (given.filled != given.grid) {
        return; // beyond the corner it would not be added
    }
    std::vector<double> raised(target);
    for (double& value : raised) {
        value = 4.0 + 2.5 * value;
    }
    const Rows rows = run(target);
    const Rows moved = run(raised);
    expectNear(moved.score, rows.score,
               100.0 * tolerance); // by the part that the constant takes of all digits
    for (std::size_t s = 0; s < rows.overlap.size(); ++s) {
        ASSERT_NEAR(moved.overlap[s], 2.5 * rows.overlap[s], 10.0 * tolerance);
    }
}

TEST_P(Local, AConstantTargetScoresNothing) {
    if (given.filled != given.grid) {
        return; // the edge of the corner is contrast
    }
    for (const double value : {0.0, 0.1, -1e7}) {
        for (const double score : run(std::vector<double>(target.size(), value)).score) {
            ASSERT_EQ(score, 0.0);
        }
        EXPECT_EQ(correlator.largestVariance(), 0.0);
    }
}

TEST_P(Local, AnEmptyMaskScoresNothing) {
    const std::vector<double> nothing(target.size(), 0.0);
    const Rows rows =
        correlate(correlator, correlator.spectraOf(nothing, nothing), grid, given.filled, target);
    EXPECT_EQ(rows.score, nothing);
    expectNear(rows.overlap, nothing, 0.0);
}

TEST_P(Local, LeavesNothingOfOneTargetToTheNext) {
    const LocalSpectra pattern = correlator.spectraOf(weights, mask);
    LocalCorrelator fresh(grid, given.filled, floorOfTests);
    const Rows expected = correlate(fresh, pattern, grid, given.filled, target);
    correlate(correlator, pattern, grid, given.filled, std::vector<double>(target.size(), 1e6));
    const Rows rows = correlate(correlator, pattern, grid, given.filled, target);
    EXPECT_EQ(rows.score, expected.score) << "bit for bit";
    EXPECT_EQ(rows.overlap, expected.overlap);
}

TEST_P(Local, BoundsLeaveOutRowsThatNothingIsAboveAndChangeNoOther) {
    const LocalSpectra pattern = correlator.spectraOf(weights, mask);
    const Rows all = correlate(correlator, pattern, grid, given.filled, target);
    std::vector<double> sortedScores(all.score), sortedOverlaps(all.overlap);
    std::sort(sortedScores.begin(), sortedScores.end());
    std::sort(sortedOverlaps.begin(), sortedOverlaps.end());
    for (const std::size_t above : {std::size_t{1}, target.size() / 20, target.size() / 4}) {
        const LocalCorrelator::Bounds bounds{std::max(0.0, sortedScores[target.size() - 1 - above]),
                                             std::max(0.0, sortedOverlaps[target.size() - 1 - above])};
        std::size_t rows = 0;
        std::vector<char> isSeen(target.size(), 0);
        fill(correlator, grid, given.filled, target, 1.0);
        correlator.correlate(pattern);
        correlator.readResult(
            bounds, [&](std::size_t i, std::size_t j, const double* overlaps, const double* scores) {
                ++rows;
                for (std::size_t k = 0; k < grid.m_size[2]; ++k) {
                    const std::size_t s = (i * grid.m_size[1] + j) * grid.m_size[2] + k;
                    isSeen[s] = 1;
                    ASSERT_EQ(scores[k], all.score[s]);
                    ASSERT_EQ(overlaps[k], all.overlap[s]);
                }
            });
        for (std::size_t s = 0; s < target.size(); ++s) {
            EXPECT_TRUE(isSeen[s] == 1 || !(all.score[s] > bounds.score || all.overlap[s] > bounds.overlap));
        }
        if (above == 1 && target.size() > 500) {
            EXPECT_LT(2 * rows, std::size_t{grid.m_size[0]} * grid.m_size[1]);
        }
    }
}

TEST(LocalCorrelator, FindsACopyOfThePatternInNoiseOfAnyScale) {
    const Sizes sizes = {9, 8, 11};
    const cGrid grid = gridOf(sizes);
    std::vector<double> mask(grid.getTotalSize(), 0.0);
    for (std::size_t v = 0; v < mask.size(); ++v) {
        const auto [i, j, k] = grid.m_flatIndex2Index[v];
        mask[v] = i < 4 && j < 3 && k < 5 ? 1.0 : 0.0;
    }
    const std::vector<double> weights = weightsOf(mask, 8);
    std::vector<double> target = noise(mask.size(), 9);
    // v + s of the pattern lies upon v of the target.
    const std::size_t s = (7 * 8 + 6) * 11 + 8;
    for (std::size_t v = 0; v < mask.size(); ++v) {
        const auto [i, j, k] = grid.m_flatIndex2Index[v];
        const std::size_t at = ((i + 7) % 9 * 8 + (j + 6) % 8) * 11 + (k + 8) % 11;
        if (mask[at] > 0.0) {
            target[v] = 0.7 + 5.0 * weights[at];
        }
    }
    LocalCorrelator correlator(grid, sizes, floorOfTests);
    const Rows rows = correlate(correlator, correlator.spectraOf(weights, mask), grid, sizes, target);
    const auto best = std::max_element(rows.score.begin(), rows.score.end());
    EXPECT_EQ(best - rows.score.begin(), static_cast<std::ptrdiff_t>(s));
    EXPECT_NEAR(*best, 1.0, tolerance);
}

TEST(LocalCorrelator, TheFloorKeepsWhatIsNearlyEmptyFromWinning) {
    const Sizes sizes = {16, 5, 6};
    const cGrid grid = gridOf(sizes);
    std::vector<double> mask(grid.getTotalSize(), 0.0);
    std::fill_n(mask.begin(), 4 * 30, 1.0);
    const std::vector<double> weights = weightsOf(mask, 10);
    std::vector<double> target(mask.size(), 0.0);
    for (std::size_t v = 0; v < 4U * 30U; ++v) {
        target[v] = 1e-3 * weights[v]; // the pattern, as faint as nothing
        target[v + 8 * 30] = weights[v] + 0.05 * std::sin(13.0 * static_cast<double>(v)); // and of full size
    }
    LocalCorrelator correlator(grid, sizes, floorOfTests);
    const Rows rows = correlate(correlator, correlator.spectraOf(weights, mask), grid, sizes, target);
    EXPECT_LT(rows.score[0], 0.01);
    EXPECT_GT(rows.score[8 * 30], 0.8);
}

TEST(LocalCorrelator, RefusesFloorsAndFieldsThatFitNothing) {
    const cGrid grid = gridOf({3, 4, 5});
    for (const double floor : {0.0, -1.0, 1.5, std::nan("")}) {
        EXPECT_THROW(LocalCorrelator(grid, {3, 4, 5}, floor), std::invalid_argument);
    }
    EXPECT_THROW(LocalCorrelator(grid, {3, 5, 5}, 0.1), std::length_error);
    LocalCorrelator correlator(grid, {3, 4, 5}, 0.1);
    EXPECT_THROW(correlator.spectraOf(std::vector<double>(59), std::vector<double>(60)), std::length_error);
    EXPECT_THROW(correlator.spectraOf(std::vector<double>(60), std::vector<double>(61)), std::length_error);
    const LocalSpectra other = LocalCorrelator(gridOf({3, 3, 5}), {3, 3, 5}, 0.1)
                                   .spectraOf(std::vector<double>(45), std::vector<double>(45));
    EXPECT_THROW(correlator.correlate(other), std::length_error);
}
