// SPDX-License-Identifier: GPL-3.0-or-later
// The local correlation in single precision against the engine in double, within what its rounding allows.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/LocalCorrelator.h"
#include "localCases.h"
#include "localReference.h"
#include "testModel.h"

namespace {

using namespace localcases;

/// Of primes, powers and products, more nodes than the cases of double precision.
const std::vector<LocalCase> largeCases = {{{31, 29, 37}, {25, 23, 29}, "pieces"},
                                           {{32, 64, 16}, {25, 50, 12}, "slab"},
                                           {{24, 20, 36}, {24, 20, 36}, "corners"},
                                           {{13, 47, 17}, {13, 40, 17}, "corners"},
                                           {{27, 25, 49}, {21, 25, 40}, "slab"}};

class SingleLocal : public testing::TestWithParam<LocalCase> {
protected:
    Rows run(const std::vector<double>& field, double factor = 1.0) {
        return correlate(correlator, correlator.spectraOf(weights, mask), grid, given.filled, field, factor);
    }

    localreference::Result exactOf(const std::vector<double>& field) const {
        return localreference::byEngine(grid, field, weights, mask, floorOfTests);
    }

    /// Where V is nothing but rounding, scores are, too.
    bool hasVariance() const { return std::string(given.mask) != "node"; }

    void expectWithinErrors(const Rows& rows, const std::vector<double>& field) const {
        const auto exact = exactOf(field);
        const auto errors = localreference::singleErrors(exact, field, mask, floorOfTests);
        for (std::size_t s = 0; s < field.size(); ++s) {
            ASSERT_NEAR(rows.overlap[s], exact.overlap[s], errors.overlap) << "at " << s;
            if (hasVariance()) {
                ASSERT_NEAR(rows.score[s], exact.score[s], errors.score) << "at " << s;
            }
        }
    }

    const LocalCase given = GetParam();
    const cGrid grid = gridOf(given.grid);
    const std::vector<double> mask = maskOf(given.mask, grid);
    const std::vector<double> weights = weightsOf(mask, 5);
    const std::vector<double> target = cornerNoise(grid, given.filled, 6);
    SingleLocalCorrelator correlator{grid, given.filled, floorOfTests};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Cases, SingleLocal, testing::ValuesIn(cases));
INSTANTIATE_TEST_SUITE_P(LargeCases, SingleLocal, testing::ValuesIn(largeCases));

TEST_P(SingleLocal, EqualsTheEngineInDoublePrecisionToItsRounding) {
    expectWithinErrors(run(target), target);
    const auto exact = exactOf(target);
    const double most = *std::max_element(exact.variance.begin(), exact.variance.end());
    const auto errors = localreference::singleErrors(exact, target, mask, floorOfTests);
    EXPECT_NEAR(correlator.largestVariance(), hasVariance() ? most : 0.0, errors.variance);
}

TEST_P(SingleLocal, AConstantAddedToTheWholeTargetChangesNothingButTheRounding) {
    if (given.filled != given.grid || !hasVariance()) {
        return; // beyond the corner it would not be added
    }
    std::vector<double> raised(target);
    for (double& value : raised) {
        value = 2.0 + 1.5 * value;
    }
    expectWithinErrors(run(raised), raised);
    const auto exact = exactOf(target);
    const auto errors = localreference::singleErrors(exactOf(raised), raised, mask, floorOfTests);
    const Rows rows = run(raised);
    for (std::size_t s = 0; s < target.size(); ++s) {
        ASSERT_NEAR(rows.score[s], exact.score[s], errors.score);
    }
}

TEST_P(SingleLocal, ScalesOfTheTargetChangeOverlapsAlone) {
    const Rows rows = run(target);
    for (const double scale : {0x1p-26, 0x1p30}) {
        const Rows scaled = run(target, scale);
        EXPECT_EQ(scaled.score, rows.score) << "powers of two are exact";
        for (std::size_t s = 0; s < rows.overlap.size(); ++s) {
            ASSERT_EQ(scaled.overlap[s], scale * rows.overlap[s]);
        }
    }
}

TEST_P(SingleLocal, AConstantTargetScoresNothing) {
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

TEST_P(SingleLocal, AnEmptyMaskScoresNothing) {
    const std::vector<double> nothing(target.size(), 0.0);
    const Rows rows =
        correlate(correlator, correlator.spectraOf(nothing, nothing), grid, given.filled, target);
    EXPECT_EQ(rows.score, nothing);
    EXPECT_EQ(rows.overlap, nothing);
}

TEST_P(SingleLocal, LeavesNothingOfOneTargetToTheNext) {
    const auto pattern = correlator.spectraOf(weights, mask);
    SingleLocalCorrelator fresh(grid, given.filled, floorOfTests);
    const Rows expected = correlate(fresh, pattern, grid, given.filled, target);
    correlate(correlator, pattern, grid, given.filled, std::vector<double>(target.size(), 1e6));
    const Rows rows = correlate(correlator, pattern, grid, given.filled, target);
    EXPECT_EQ(rows.score, expected.score) << "bit for bit";
    EXPECT_EQ(rows.overlap, expected.overlap);
}

TEST_P(SingleLocal, NoRowWithAScoreAboveABoundIsLeftOut) {
    const auto pattern = correlator.spectraOf(weights, mask);
    const Rows all = correlate(correlator, pattern, grid, given.filled, target);
    std::vector<double> sortedScores(all.score), sortedOverlaps(all.overlap);
    std::sort(sortedScores.begin(), sortedScores.end());
    std::sort(sortedOverlaps.begin(), sortedOverlaps.end());
    for (const std::size_t above : {std::size_t{1}, target.size() / 20, target.size() / 4}) {
        // As close below a value as doubles can be.
        const auto below = [&](const std::vector<double>& sorted) {
            return std::max(0.0, std::nextafter(sorted[target.size() - 1 - above], -1.0));
        };
        const LocalCorrelator::Bounds bounds{below(sortedScores), below(sortedOverlaps)};
        std::vector<char> isSeen(target.size(), 0);
        fill(correlator, grid, given.filled, target, 1.0);
        correlator.correlate(pattern);
        correlator.readResult(
            {bounds.score, bounds.overlap},
            [&](std::size_t i, std::size_t j, const double* overlaps, const double* scores) {
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
    }
}

// Of 50,000 shifts some hundred pairs have the same float.
TEST(SingleLocalCorrelator, EqualOverlapsOfDifferentPlacesAreToldApartWithoutChangingAnyOrder) {
    const Sizes sizes = {40, 36, 35};
    const cGrid grid = gridOf(sizes);
    const std::vector<double> mask = maskOf("corners", grid);
    const std::vector<double> weights = weightsOf(mask, 11);
    SingleLocalCorrelator correlator(grid, sizes, floorOfTests);
    const Rows rows =
        correlate(correlator, correlator.spectraOf(weights, mask), grid, sizes, cornerNoise(grid, sizes, 12));
    std::vector<double> sorted(rows.overlap);
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end());
    std::set<float> floats;
    for (std::size_t s = 0; s < sorted.size(); ++s) {
        const auto nearest = static_cast<float>(sorted[s]);
        floats.insert(nearest);
        // An overlap is a float raised by less than a quarter of the way to the next one.
        ASSERT_LE(std::abs(sorted[s] - double{nearest}), 0x1p-26 * std::abs(sorted[s]));
    }
    EXPECT_LT(floats.size(), sorted.size()) << "there are equal ones to tell apart";
}
