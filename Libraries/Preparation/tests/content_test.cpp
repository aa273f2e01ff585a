// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Preparation/content.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

constexpr double background = 2.0;
constexpr double noiseLevel = 0.05;

/// A blob of height 1 in noise upon a background.
DensityMap noisyBlob() {
    std::mt19937 random(5);
    std::normal_distribution<double> normal(background, noiseLevel);
    const Blob blob{cVector3(40.0, 50.0, 45.0), 8.0, 1.0};
    return mapOf({32, 34, 30}, cVector3(0.0), cVector3(3.0),
                 [&](const cVector3& x) { return blob(x) + normal(random); });
}

double fractionAbove(const DensityMap& map, double level) {
    const auto above = std::count_if(map.values.begin(), map.values.end(),
                                     [&](float v) { return static_cast<double>(v) > level; });
    return static_cast<double>(above) / static_cast<double>(map.values.size());
}

} // namespace

TEST(ChooseLevel, LiesAboveTheNoiseAndBelowTheParticle) {
    const DensityMap map = noisyBlob();
    const double level = chooseLevel(map);
    EXPECT_GT(level, background + 2.5 * noiseLevel);
    EXPECT_LT(level, background + 6.0 * noiseLevel);
    EXPECT_LT(fractionAbove(map, level), 0.04);
}

TEST(ChooseLevel, FollowsScaleAndOffsetOfTheMap) {
    DensityMap map = noisyBlob();
    const double before = chooseLevel(map);
    for (float& value : map.values) {
        value = 8.0F * value - 30.0F;
    }
    EXPECT_NEAR(chooseLevel(map), 8.0 * before - 30.0, 0.02);
}

TEST(ChooseLevel, IsATenthOfTheHighestWhereNothingIsNoise) {
    const DensityMap map =
        mapOfBlobs({30, 30, 30}, cVector3(0.0), cVector3(3.0), {{cVector3(45.0), 6.0, 5.0}});
    EXPECT_NEAR(chooseLevel(map), 0.5, 0.02);
}

TEST(ChooseLevel, IsNoNumberForAConstantMap) {
    EXPECT_TRUE(std::isnan(
        chooseLevel(mapOf({3, 4, 5}, cVector3(0.0), cVector3(1.0), [](const cVector3&) { return 0.0; }))));
    EXPECT_TRUE(std::isnan(
        chooseLevel(mapOf({1, 1, 1}, cVector3(0.0), cVector3(1.0), [](const cVector3&) { return 7.0; }))));
}

TEST(FindContent, EnclosesTheContentInASmallSphere) {
    const Blob one{cVector3(20.0, 60.0, 40.0), 5.0, 1.0}, other{cVector3(70.0, 30.0, 50.0), 5.0, 1.0};
    const DensityMap map = mapOfBlobs({32, 32, 32}, cVector3(0.0), cVector3(3.0), {one, other});
    const double level = std::exp(-0.5 * 4.0); // at two sigma
    const Content content = findContent(map, level, 0.0);
    const double between = (one.middle - other.middle).norm();
    EXPECT_NEAR(content.radius, 0.5 * between + 10.0, 4.0);
    EXPECT_LT((content.middle - 0.5 * (one.middle + other.middle)).norm(), 3.0);
    std::size_t v = 0;
    for (std::size_t i = 0; i < 32; ++i) {
        for (std::size_t j = 0; j < 32; ++j) {
            for (std::size_t k = 0; k < 32; ++k, ++v) {
                EXPECT_EQ(content.inside[v] != 0, static_cast<double>(map.values[v]) > level);
                if (content.inside[v] != 0) {
                    EXPECT_LE((placeOf(map, i, j, k) - content.middle).norm(), content.radius + 1e-9);
                }
            }
        }
    }
}

TEST(FindContent, DropsSpecks) {
    DensityMap map = mapOfBlobs({32, 32, 32}, cVector3(0.0), cVector3(3.0), {{cVector3(48.0), 10.0, 1.0}});
    map.values[map.index(2, 2, 2)] = 5.0F;
    const Content content = findContent(map, 0.3, 0.0);
    EXPECT_EQ(content.dropped, 1u);
    EXPECT_EQ(content.inside[map.index(2, 2, 2)], 0);
    EXPECT_LT(content.radius, 20.0);
}

TEST(FindContent, TakesWhatIsCloseToTheContent) {
    const DensityMap map =
        mapOfBlobs({32, 32, 32}, cVector3(0.0), cVector3(3.0), {{cVector3(48.0), 5.0, 1.0}});
    const Content bare = findContent(map, 0.3, 0.0);
    const Content wide = findContent(map, 0.3, 6.0);
    EXPECT_NEAR(wide.radius, bare.radius + 6.0, 1e-9);
    EXPECT_EQ(wide.voxels, bare.voxels);
    for (std::size_t i = 2; i < 30; ++i) {
        if (bare.inside[map.index(i, 16, 16)] != 0) {
            EXPECT_EQ(wide.inside[map.index(i - 2, 16, 16)], 1);
            EXPECT_EQ(wide.inside[map.index(i + 2, 18, 14)], 1);
        }
    }
}

TEST(FindContent, TellsContentAtAFace) {
    const auto at = [](double x) {
        return findContent(
            mapOfBlobs({20, 20, 20}, cVector3(0.0), cVector3(3.0), {{cVector3(x, 30.0, 30.0), 5.0, 1.0}}),
            0.3, 0.0);
    };
    EXPECT_FALSE(at(30.0).reachesFaces);
    EXPECT_TRUE(at(3.0).reachesFaces);
    EXPECT_TRUE(at(56.0).reachesFaces);
}

TEST(FindContent, OfAnEmptyMapIsNothing) {
    const DensityMap map =
        mapOf({4, 4, 4}, cVector3(0.0), cVector3(1.0), [](const cVector3&) { return 1.0; });
    EXPECT_EQ(findContent(map, 1.0, 3.0).voxels, 0u);
    EXPECT_EQ(findContent(map, std::nan(""), 3.0).voxels, 0u);
}
