// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>

#include <gtest/gtest.h>

#include "Assessment/ScoringMap.h"
#include "Preparation/coarsen.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

const cVector3 middleOfBlob(21.0, -4.0, 130.0);
constexpr double resolution = 8.0;

/// A blob at the middle of an otherwise empty map of unequal axes.
DensityMap blobMap(double offset = 0.0, double factor = 1.0) {
    const Blob blob{middleOfBlob, 5.0, 2.0};
    return mapOf({62, 70, 66}, middleOfBlob - cVector3(61.0, 69.0, 65.0), cVector3(2.0),
                 [&](const cVector3& x) { return offset + factor * blob(x); });
}

ScoringMap scoringOf(const DensityMap& map) {
    return makeScoringMap(map, {resolution, {}, nullptr});
}

} // namespace

TEST(ScoringMap, IsCutToItsContentWithAMargin) {
    const DensityMap map = blobMap();
    const ScoringMap scoring = scoringOf(map);
    EXPECT_DOUBLE_EQ(scoring.voxel(), resolution / 3.0);
    EXPECT_LT(scoring.density.size[0] * scoring.density.size[1] * scoring.density.size[2], 40000U);
    // The blob falls to a tenth of its height, where the least level is, at 2.15 of its sigmas.
    const double content = 2.15 * 5.0;
    for (int axis = 0; axis < 3; ++axis) {
        const auto a = static_cast<std::size_t>(axis);
        const double low = scoring.density.origin[axis];
        const double high = low + static_cast<double>(scoring.density.size[a] - 1) * scoring.voxel();
        EXPECT_LE(low, middleOfBlob[axis] - content - resolution);
        EXPECT_GE(high, middleOfBlob[axis] + content + resolution);
    }
    EXPECT_EQ(scoring.contrast.size, scoring.density.size);
    EXPECT_EQ(std::count(scoring.reached.begin(), scoring.reached.end(), true), 0);
}

TEST(ScoringMap, HoldsTheBlobAndItsNegativeLaplacian) {
    const ScoringMap scoring = scoringOf(blobMap());
    const double variance = 25.0;
    const Blob blob{middleOfBlob, 5.0, 2.0};
    constexpr double tolerance = 0.005; // of the low pass, which takes little of so wide a blob
    for (std::size_t i = 0; i < scoring.density.size[0]; ++i) {
        for (std::size_t j = 0; j < scoring.density.size[1]; ++j) {
            for (std::size_t k = 0; k < scoring.density.size[2]; ++k) {
                const cVector3 x = placeOf(scoring.density, i, j, k);
                const double laplacian =
                    blob(x) * (3.0 / variance - (x - middleOfBlob).norm2() / (variance * variance));
                const std::size_t v = scoring.density.index(i, j, k);
                ASSERT_NEAR(static_cast<double>(scoring.density.values[v]), blob(x), 2.0 * tolerance);
                ASSERT_NEAR(static_cast<double>(scoring.contrast.values[v]), laplacian,
                            6.0 / variance * tolerance);
            }
        }
    }
}

/// The cut must not show: the filters see beyond the box.
TEST(ScoringMap, EqualsTheWholeMapFilteredAtOnce) {
    constexpr double sameVoxels = 6.0; // angstrom: at which every voxel of the map is one of the lattice
    const DensityMap map = blobMap();
    const ScoringMap scoring = makeScoringMap(map, {sameVoxels, {}, nullptr});
    const DensityMap whole = coarsen(map, {sameVoxels, sameVoxels, sameVoxels / 3.0, {}, nullptr});
    const cVector3 apart = (scoring.density.origin - whole.origin) / whole.voxel;
    const auto di = static_cast<std::size_t>(std::lround(apart.x));
    const auto dj = static_cast<std::size_t>(std::lround(apart.y));
    const auto dk = static_cast<std::size_t>(std::lround(apart.z));
    ASSERT_GT(di, 0U);
    for (std::size_t i = 0; i < scoring.density.size[0]; ++i) {
        for (std::size_t j = 0; j < scoring.density.size[1]; ++j) {
            ASSERT_NEAR(static_cast<double>(scoring.density.values[scoring.density.index(i, j, i)]),
                        static_cast<double>(whole.values[whole.index(i + di, j + dj, i + dk)]), 1e-5);
        }
    }
}

TEST(ScoringMap, KnowsTheFacesThatItsContentReaches) {
    const DensityMap map =
        mapOfBlobs({30, 31, 32}, cVector3(0.0), cVector3(2.0), {{cVector3(30.0, 62.0, 32.0), 6.0, 1.0}});
    const std::array<bool, 6> expected = {false, false, false, true, false, false};
    EXPECT_EQ(scoringOf(map).reached, expected);
}

TEST(ScoringMap, TakesMeanAndDeviationOfTheWholeMapAndTheBackgroundBesideItsContent) {
    const DensityMap map = blobMap(3.0, 0.5);
    const ScoringMap scoring = scoringOf(map);
    double sum = 0.0, squares = 0.0;
    for (const float value : map.values) {
        sum += static_cast<double>(value);
        squares += static_cast<double>(value) * static_cast<double>(value);
    }
    const auto count = static_cast<double>(map.values.size());
    EXPECT_NEAR(scoring.mean, sum / count, 1e-6);
    EXPECT_NEAR(scoring.deviation, std::sqrt(squares / count - sum * sum / (count * count)), 1e-5);
    EXPECT_NEAR(scoring.background, 3.0, 0.03);
    EXPECT_GT(scoring.level, 3.05);
    EXPECT_LT(scoring.level, 3.5);
}

TEST(ScoringMap, IsEmptyBelowAGivenLevelAndOutsideAMask) {
    const DensityMap map = blobMap(3.0);
    const DensityMap mask = mapOf(map.size, map.origin, map.voxel,
                                  [](const cVector3& x) { return x.z > middleOfBlob.z ? 1.0 : 0.0; });
    const ScoringMap emptied = makeScoringMap(map, {resolution, 3.5, nullptr});
    EXPECT_EQ(emptied.level, 3.5);
    EXPECT_EQ(emptied.background, 0.0);
    EXPECT_NEAR(emptied.densityAt(middleOfBlob + cVector3(0.0, 0.0, 22.0)), 0.0, 0.02); // the edge rings
    const ScoringMap masked = makeScoringMap(map, {resolution, 3.5, &mask});
    EXPECT_NEAR(masked.densityAt(middleOfBlob - cVector3(0.0, 0.0, 15.0)), 0.0, 0.05);
    EXPECT_GT(masked.densityAt(middleOfBlob + cVector3(0.0, 0.0, 5.0)), 3.5);
    DensityMap elsewhere = mask;
    elsewhere.origin.x += 1.0;
    EXPECT_THROW(makeScoringMap(map, {resolution, {}, &elsewhere}), std::invalid_argument);
}

TEST(ScoringMap, InterpolatesLinearlyAndIsBackgroundOutside) {
    ScoringMap scoring;
    const auto plane = [](const cVector3& x) { return 2.0 + x.x - 0.5 * x.y + 0.25 * x.z; };
    scoring.density = mapOf({3, 4, 5}, cVector3(1.0, 2.0, 3.0), cVector3(2.0), plane);
    scoring.background = -7.0;
    for (const cVector3& x : {cVector3(1.0, 2.0, 3.0), cVector3(5.0, 8.0, 11.0), cVector3(2.3, 5.9, 4.1)}) {
        EXPECT_NEAR(scoring.densityAt(x), plane(x), 1e-6);
    }
    EXPECT_EQ(scoring.densityAt(cVector3(0.99, 4.0, 5.0)), -7.0);
    EXPECT_EQ(scoring.densityAt(cVector3(2.0, 8.01, 5.0)), -7.0);
}

TEST(ScoringMap, TakesAMapOfEqualValuesAndOneOfASingleVoxel) {
    const DensityMap constant =
        mapOf({9, 8, 7}, cVector3(0.0), cVector3(2.0), [](const cVector3&) { return 4.0; });
    const ScoringMap scoring = scoringOf(constant);
    EXPECT_NEAR(scoring.deviation, 0.0, 1e-6);
    EXPECT_NEAR(scoring.densityAt(cVector3(5.0)), 4.0, 1e-5);
    const DensityMap single =
        mapOf({1, 1, 1}, cVector3(0.0), cVector3(2.0), [](const cVector3&) { return 4.0; });
    EXPECT_EQ(scoringOf(single).density.values.size(), 1U);
}
