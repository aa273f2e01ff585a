// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <numeric>

#include <gtest/gtest.h>

#include "Preparation/mirror.h"

namespace {

DensityMap numbered(std::size_t planes) {
    DensityMap map;
    map.size = {planes, 3, 4};
    map.origin = cVector3(1.0, -2.0, 3.0);
    map.voxel = cVector3(1.0, 1.5, 2.0);
    map.values.resize(planes * 12);
    std::iota(map.values.begin(), map.values.end(), 0.0F);
    return map;
}

TEST(Mirror, TurnsTheOrderOfThePlanesAndNothingElse) {
    for (const std::size_t planes : {1U, 2U, 5U}) {
        const DensityMap map = numbered(planes);
        const DensityMap other = mirror(map);
        EXPECT_EQ(other.size, map.size);
        EXPECT_EQ(other.origin.x, map.origin.x);
        EXPECT_EQ(other.voxel.y, map.voxel.y);
        for (std::size_t i = 0; i < planes; ++i) {
            for (std::size_t j = 0; j < 3; ++j) {
                for (std::size_t k = 0; k < 4; ++k) {
                    EXPECT_EQ(other.values[other.index(i, j, k)],
                              map.values[map.index(planes - 1 - i, j, k)]);
                }
            }
        }
    }
}

TEST(Mirror, TwiceIsTheMapItself) {
    const DensityMap map = numbered(4);
    EXPECT_EQ(mirror(mirror(map)).values, map.values);
}

} // namespace
