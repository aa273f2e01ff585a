// SPDX-License-Identifier: GPL-3.0-or-later
// The step of a scan by local correlation: what it makes of a model, and its candidates against whole fields.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <functional>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/LocalScan.h"
#include "CrossCorrelation/rotateMap.h"
#include "CrossCorrelation/scoreFloor.h"
#include "Math/pi.h"
#include "localReference.h"
#include "testModel.h"

namespace {

using Angles = std::array<double, 3>;

constexpr double floorOfTests = 0.05;

double sumOf(const std::vector<double>& values) {
    return std::accumulate(values.begin(), values.end(), 0.0);
}

/// A model's grid and a smaller map of noise on it, with a field around it for the rotations.
struct Scene {
    explicit Scene(double low = -1.0, double high = 1.0) {
        const std::array<unsigned int, 3> sizes = {9, 10, 7};
        mapGrid = cGrid(cBBox(cVector3(1.0, 3.0, 2.0), cVector3(13.0, 16.5, 11.0)), sizes.data());
        padded = *model.grid;
        padded.m_box.m_min = mapGrid.m_box.m_min;
        map = noise(mapGrid.getTotalSize(), 23, low, high);
        density.assign(model.grid->getTotalSize(), 0.0);
        model.density().addDensity(density.data());
    }

    LocalPattern pattern() const { return makeLocalPattern(density, *model.grid, LocalScan::maskLevel); }

    /// The rotated, padded map without any filter.
    std::vector<double> target(const Angles& angles) const {
        std::vector<double> made(padded.getTotalSize());
        // Below its mean by infinitely many deviations lies nothing; a negative mean would still be added.
        rotateMap(map, mapGrid, angles, padded, made.data(), -std::numeric_limits<double>::infinity());
        return made;
    }

    TestModel model;
    cGrid mapGrid, padded;
    std::vector<double> map, density;
};

double normAboutMean(const std::vector<double>& values) {
    const double mean = sumOf(values) / static_cast<double>(values.size());
    double squares = 0.0;
    for (const double value : values) {
        squares += (value - mean) * (value - mean);
    }
    return std::sqrt(squares);
}

/// What a set of this size keeps of some scores.
std::vector<double> bestOf(std::vector<double> scores, std::size_t limit) {
    std::sort(scores.begin(), scores.end(), std::greater<>());
    scores.resize(std::min(limit, scores.size()));
    return scores;
}

void expectScores(const LocalScan::Set& set, const std::vector<double>& expected) {
    ASSERT_EQ(set.size(), expected.size());
    std::size_t n = 0;
    for (const auto& candidate : set) {
        EXPECT_NEAR(candidate.m_rigidScore, expected[n++], 1e-12);
    }
}

/// The sets of one rotation.
template <class Real>
std::array<LocalScan::Set, 2> scanOnce(const Scene& scene, const std::vector<double>& map,
                                       ScanMap::Singles singles, const Angles& angles, std::size_t limit) {
    const ScanMap scanMap(map, scene.mapGrid, singles);
    BasicLocalScan<Real> scan(scanMap, scene.model.grid, floorOfTests);
    std::array<LocalScan::Set, 2> sets = {LocalScan::Set(limit), LocalScan::Set(limit)};
    const auto spectra = scan.makePattern(scene.model.density());
    scan.rotate(angles);
    scan.correlate(*spectra);
    scan.offer(sets[0], &sets[1], 0);
    return sets;
}

} // namespace

TEST(CyclicNegativeLaplacian, HasTheEigenvaluesOfWavesOnUnequalAxesAndCells) {
    cGrid grid(cBBox(cVector3(0, 0, 0), cVector3(1.5 * 19, 2.0 * 23, 0.7 * 15)),
               std::array<unsigned int, 3>{20, 24, 16}.data());
    const double waves[3] = {2.0 * pi / (20 * 1.5), 2.0 * pi * 2 / (24 * 2.0), 2.0 * pi / (16 * 0.7)};
    std::vector<double> field(grid.getTotalSize());
    for (std::size_t v = 0; v < field.size(); ++v) {
        const auto [i, j, k] = grid.m_flatIndex2Index[v];
        field[v] =
            std::cos(waves[0] * 1.5 * static_cast<double>(i) + waves[1] * 2.0 * static_cast<double>(j) +
                     waves[2] * 0.7 * static_cast<double>(k) + 0.3);
    }
    const std::vector<double> filtered = cyclicNegativeLaplacian(field, grid);
    const double eigenvalue = waves[0] * waves[0] + waves[1] * waves[1] + waves[2] * waves[2];
    for (std::size_t v = 0; v < field.size(); ++v) {
        ASSERT_NEAR(filtered[v], eigenvalue * field[v], 1e-3 * eigenvalue); // of sixth order
    }
}

TEST(CyclicNegativeLaplacian, LeavesAxesOfOneNodeAloneAndTakesShortOnes) {
    cGrid line(cBBox(cVector3(0, 0, 0), cVector3(1, 4, 1)), std::array<unsigned int, 3>{1, 5, 1}.data());
    const std::vector<double> filtered = cyclicNegativeLaplacian({0.0, 0.0, 1.0, 0.0, 0.0}, line);
    EXPECT_NEAR(sumOf(filtered), 0.0, 1e-14);
    EXPECT_NEAR(filtered[2], 490.0 / 180.0, 1e-14);
    EXPECT_NEAR(filtered[1], -270.0 / 180.0, 1e-14);
    // Two below is three above: 5 nodes around.
    EXPECT_NEAR(filtered[0], 25.0 / 180.0, 1e-14);
    EXPECT_THROW(cyclicNegativeLaplacian(std::vector<double>(4), line), std::length_error);
}

TEST(LocalPattern, HasMeanZeroAndNormOneInTheMaskOfTheDensity) {
    const Scene scene;
    const LocalPattern pattern = scene.pattern();
    const double most = *std::max_element(scene.density.begin(), scene.density.end());
    const std::vector<double> filtered = cyclicNegativeLaplacian(scene.density, *scene.model.grid);
    double overlap = 0.0, masked = 0.0;
    const double count = sumOf(pattern.mask);
    for (std::size_t v = 0; v < scene.density.size(); ++v) {
        EXPECT_EQ(pattern.mask[v], scene.density[v] > 0.1 * most ? 1.0 : 0.0);
        if (pattern.mask[v] == 0.0) {
            EXPECT_EQ(pattern.weights[v], 0.0);
        }
        overlap += pattern.weights[v] * filtered[v];
        masked += pattern.mask[v] * filtered[v] / count;
    }
    EXPECT_GT(count, 50.0);
    EXPECT_LT(count, 0.5 * static_cast<double>(pattern.mask.size()));
    EXPECT_NEAR(sumOf(pattern.weights), 0.0, 1e-12);
    EXPECT_NEAR(
        std::inner_product(pattern.weights.begin(), pattern.weights.end(), pattern.weights.begin(), 0.0), 1.0,
        1e-12);
    // It is the filtered density less its mean: their overlap is the norm of that.
    double norm = 0.0;
    for (std::size_t v = 0; v < filtered.size(); ++v) {
        norm += pattern.mask[v] * (filtered[v] - masked) * (filtered[v] - masked);
    }
    EXPECT_NEAR(overlap, std::sqrt(norm), 1e-12 * overlap);
}

TEST(LocalPattern, OfNothingOrOfOneNodeIsDefined) {
    cGrid grid(cBBox(cVector3(0, 0, 0), cVector3(8, 8, 8)), 9);
    std::vector<double> density(grid.getTotalSize(), 0.0);
    const LocalPattern none = makeLocalPattern(density, grid, 0.1);
    EXPECT_EQ(sumOf(none.mask), 0.0);
    EXPECT_EQ(none.weights, density);
    density[400] = 2.0;
    const LocalPattern single = makeLocalPattern(density, grid, 0.1);
    EXPECT_EQ(sumOf(single.mask), 1.0);
    EXPECT_EQ(single.weights, std::vector<double>(density.size(), 0.0));
    const LocalPattern flat = makeLocalPattern(std::vector<double>(density.size(), 0.3), grid, 0.1);
    EXPECT_EQ(sumOf(flat.mask), 729.0);
    EXPECT_EQ(flat.weights, std::vector<double>(density.size(), 0.0));
}

TEST(LocalScan, OffersTheBestScoresAndTheBestOverlapsOfTheWholeFields) {
    const Scene scene(0.0, 1.0);
    const ScanMap scanMap(scene.map, scene.mapGrid);
    LocalScan scan(scanMap, scene.model.grid, floorOfTests);
    const auto spectra = scan.makePattern(scene.model.density());
    const LocalPattern pattern = scene.pattern();
    for (const Angles& angles : {Angles{0.0, 0.0, 0.0}, Angles{0.7, 1.1, -0.4}, Angles{2.9, 0.3, 1.7}}) {
        LocalScan::Set byScore(40), byOverlap(30), alone(40);
        scan.rotate(angles);
        scan.correlate(*spectra);
        scan.offer(byScore, &byOverlap, 2);
        scan.rotate(angles);
        scan.correlate(*spectra);
        scan.offer(alone, nullptr, 2);
        auto expected = localreference::byEngine(*scene.model.grid, scene.target(angles), pattern.weights,
                                                 pattern.mask, floorOfTests);
        for (double& overlap : expected.overlap) {
            overlap /= normAboutMean(scene.map);
        }
        expectScores(byScore, bestOf(expected.score, 40));
        expectScores(alone, bestOf(expected.score, 40));
        expectScores(byOverlap, bestOf(expected.overlap, 30));
        for (const auto& candidate : byScore) {
            const std::size_t at =
                scene.model.grid->indexToFlatIndex(candidate.m_i, candidate.m_j, candidate.m_k);
            EXPECT_NEAR(candidate.m_rigidScore, expected.score[at], 1e-12);
            EXPECT_EQ((Angles{candidate.m_alpha, candidate.m_beta, candidate.m_gamma}), angles);
            EXPECT_EQ(candidate.m_eta.n_elem, 2U);
            EXPECT_EQ(candidate.m_grid, scene.model.grid);
            EXPECT_TRUE(candidate.m_gradient.is_empty());
        }
    }
}

TEST(LocalScan, NoValueOfTheMapIsFilteredOrShifted) {
    Scene scene(-2.0, 1.0); // of negative mean
    const ScanMap scanMap(scene.map, scene.mapGrid);
    LocalScan scan(scanMap, scene.model.grid, floorOfTests);
    const Angles angles{0.4, 0.2, 0.9};
    LocalScan::Set found(25);
    const auto spectra = scan.makePattern(scene.model.density());
    scan.rotate(angles);
    scan.correlate(*spectra);
    scan.offer(found, nullptr, 0);
    // A target of the opposite sign has a mean above 0, to which the rule of the filter adds nothing.
    for (double& value : scene.map) {
        value = -value;
    }
    std::vector<double> target = scene.target(angles);
    for (double& value : target) {
        value = -value;
    }
    const LocalPattern pattern = scene.pattern();
    const auto expected =
        localreference::byEngine(*scene.model.grid, target, pattern.weights, pattern.mask, floorOfTests);
    expectScores(found, bestOf(expected.score, 25));
}

TEST(LocalScan, TheUnitOfTheMapIsOfNoAccount) {
    const Scene scene;
    std::vector<LocalScan::Set> byScore, byOverlap;
    for (const double unit : {1.0, 1e-170, 1e170}) {
        std::vector<double> map(scene.map);
        for (double& value : map) {
            value *= unit;
        }
        const ScanMap scanMap(map, scene.mapGrid);
        LocalScan scan(scanMap, scene.model.grid, floorOfTests);
        byScore.emplace_back(20);
        byOverlap.emplace_back(20);
        const auto spectra = scan.makePattern(scene.model.density());
        scan.rotate({0.3, 0.2, 0.1});
        scan.correlate(*spectra);
        scan.offer(byScore.back(), &byOverlap.back(), 0);
    }
    for (std::size_t n : {1U, 2U}) {
        auto score = byScore[n].begin(), overlap = byOverlap[n].begin();
        for (const auto& candidate : byScore[0]) {
            EXPECT_NEAR((score++)->m_rigidScore, candidate.m_rigidScore, 1e-12);
        }
        for (const auto& candidate : byOverlap[0]) {
            EXPECT_NEAR((overlap++)->m_rigidScore, candidate.m_rigidScore, 1e-12);
        }
    }
}

TEST(LocalScan, TheUnitOfARoundedMapIsOfNoAccountInSinglePrecision) {
    const Scene scene;
    const auto scanIn = [&](double unit) {
        std::vector<double> map(scene.map);
        for (double& value : map) {
            value *= unit;
        }
        return scanOnce<float>(scene, map, ScanMap::Singles::Rounded, {0.3, 0.2, 0.1}, 20);
    };
    const auto expected = scanIn(1.0);
    for (const double unit : {0x1p-560, 0x1p560}) {
        const auto sets = scanIn(unit);
        for (const std::size_t of : {0U, 1U}) {
            ASSERT_EQ(sets[of].size(), 20U);
            EXPECT_TRUE(std::equal(sets[of].begin(), sets[of].end(), expected[of].begin(),
                                   [](const auto& a, const auto& b) {
                                       return a.m_rigidScore == b.m_rigidScore && a.m_i == b.m_i &&
                                              a.m_j == b.m_j && a.m_k == b.m_k;
                                   }))
                << "powers of two are exact";
        }
    }
}

TEST(LocalScan, EveryVoxelInSinglePrecisionScoresAsInDoubleToItsRounding) {
    const Scene scene(0.0, 1.0);
    const std::size_t all = scene.model.grid->getTotalSize();
    const LocalPattern pattern = scene.pattern();
    for (const Angles& angles : {Angles{0.0, 0.0, 0.0}, Angles{0.7, 1.1, -0.4}, Angles{2.9, 0.3, 1.7}}) {
        std::vector<double> target = scene.target(angles);
        for (double& value : target) {
            value /= normAboutMean(scene.map);
        }
        const auto exact =
            localreference::byEngine(*scene.model.grid, target, pattern.weights, pattern.mask, floorOfTests);
        const auto errors = localreference::singleErrors(exact, target, pattern.mask, floorOfTests);
        // A sample is off by up to 24 units beside the log2 N of the transforms.
        const double samples = 1.0 + 24.0 / std::log2(static_cast<double>(all));
        const auto sets = scanOnce<float>(scene, scene.map, ScanMap::Singles::Rounded, angles, all);
        ASSERT_GT(sets[0].size(), all / 4);
        const auto at = [&](const auto& candidate) {
            return scene.model.grid->indexToFlatIndex(candidate.m_i, candidate.m_j, candidate.m_k);
        };
        for (const auto& candidate : sets[0]) {
            EXPECT_NEAR(candidate.m_rigidScore, exact.score[at(candidate)], samples * errors.score);
        }
        for (const auto& candidate : sets[1]) {
            EXPECT_NEAR(candidate.m_rigidScore, exact.overlap[at(candidate)], samples * errors.overlap);
        }
    }
}

TEST(LocalScan, AMapThatIsNotRoundedWillDoForSinglePrecisionToo) {
    const Scene scene;
    const auto rounded = scanOnce<float>(scene, scene.map, ScanMap::Singles::Rounded, {0.3, 0.2, 0.1}, 20);
    const auto exact = scanOnce<float>(scene, scene.map, ScanMap::Singles::IfExact, {0.3, 0.2, 0.1}, 20);
    ASSERT_EQ(exact[0].size(), 20U);
    constexpr double tolerance = 1e-4; // of coefficients with a floor of variances
    EXPECT_NEAR(exact[0].begin()->m_rigidScore, rounded[0].begin()->m_rigidScore, tolerance);
}

TEST(ScanMap, RoundedSinglesAreTheValuesTimesOnePowerOfTwo) {
    const Scene scene;
    for (const double unit : {1e-200, 1.0, 3e200, -1e-310}) {
        std::vector<double> map(scene.map);
        for (double& value : map) {
            value *= unit;
        }
        const ScanMap scanMap(map, scene.mapGrid, ScanMap::Singles::Rounded);
        ASSERT_EQ(scanMap.singles().size(), map.size());
        const auto largest = std::max_element(map.begin(), map.end(),
                                              [](double a, double b) { return std::abs(a) < std::abs(b); }) -
                             map.begin();
        const float most = scanMap.singles()[static_cast<std::size_t>(largest)];
        EXPECT_GE(std::abs(most), 0.5F);
        EXPECT_LE(std::abs(most), 1.0F);
        for (std::size_t v = 0; v < map.size(); ++v) {
            const double part = map[v] / map[static_cast<std::size_t>(largest)];
            ASSERT_NEAR(double{scanMap.singles()[v]} / double{most}, part, 2e-7);
        }
    }
    EXPECT_TRUE(ScanMap(scene.map, scene.mapGrid).singles().empty());
}

TEST(LocalScan, AMapOfOneValueHasNoCandidates) {
    const Scene scene;
    for (const double value : {0.0, 0.1, -3.0}) {
        const std::vector<double> map(scene.map.size(), value);
        const ScanMap scanMap(map, scene.mapGrid);
        LocalScan scan(scanMap, scene.model.grid, floorOfTests);
        LocalScan::Set byScore(5), byOverlap(5);
        const auto spectra = scan.makePattern(scene.model.density());
        scan.rotate({0.3, 0.2, 0.1});
        scan.correlate(*spectra);
        scan.offer(byScore, &byOverlap, 0);
        EXPECT_EQ(byScore.size() + byOverlap.size(), 0U);
        const auto single = scanOnce<float>(scene, map, ScanMap::Singles::Rounded, {0.3, 0.2, 0.1}, 5);
        EXPECT_EQ(single[0].size() + single[1].size(), 0U);
    }
}

TEST(LocalScan, InvalidOrderAndFloorThrow) {
    const Scene scene;
    const ScanMap scanMap(scene.map, scene.mapGrid);
    EXPECT_THROW(LocalScan(scanMap, scene.model.grid, 0.0), std::invalid_argument);
    LocalScan scan(scanMap, scene.model.grid, floorOfTests);
    LocalScan::Set set(5);
    const auto spectra = scan.makePattern(scene.model.density());
    EXPECT_THROW(scan.correlate(*spectra), std::logic_error);
    scan.rotate({0.0, 0.0, 0.0});
    EXPECT_THROW(scan.offer(set, nullptr, 0), std::logic_error);
    scan.correlate(*spectra);
    EXPECT_THROW(scan.correlate(*spectra), std::logic_error);
    EXPECT_NO_THROW(scan.offer(set, nullptr, 0));
    EXPECT_THROW(scan.offer(set, nullptr, 0), std::logic_error);
}
