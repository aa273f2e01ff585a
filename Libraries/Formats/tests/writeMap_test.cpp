// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "Formats/InputBytes.h"
#include "Formats/readMap.h"
#include "Formats/tests/TestFolder.h"
#include "Formats/writeMap.h"

namespace {

DensityMap someMap() {
    DensityMap map;
    map.size = {37, 18, 21};
    map.voxel = cVector3(1.25, 2.5, 0.75);
    map.origin = cVector3(-12.5, 25.0, 7.5);
    for (std::size_t i = 0; i < map.size[0] * map.size[1] * map.size[2]; ++i) {
        map.values.push_back(static_cast<float>((i * 2654435761U) % 1000U) * 0.01F - 3.0F);
    }
    return map;
}

/// A word of the file, counted from 1.
template <class T>
T wordOf(const std::string& bytes, std::size_t word) {
    T value;
    std::memcpy(&value, bytes.data() + 4 * (word - 1), sizeof value);
    return value;
}

void expectSame(const DensityMap& a, const DensityMap& b) {
    EXPECT_EQ(a.size, b.size);
    EXPECT_EQ(a.values, b.values);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(a.origin[axis], b.origin[axis], 1e-7 * (1.0 + std::fabs(b.origin[axis])));
        EXPECT_NEAR(a.voxel[axis], b.voxel[axis], 1e-6);
    }
}

} // namespace

TEST(WriteMap, WhatIsWrittenReadsBack) {
    const TestFolder folder;
    DensityMap map = someMap();
    for (const double shift : {0.0, 0.3, -1234.5}) {
        map.origin.x += shift;
        writeMap(folder.path("a.mrc"), map);
        const MapFile file = readMap(folder.path("a.mrc"));
        expectSame(file.map, map);
        EXPECT_TRUE(file.remarks.empty());
    }
}

TEST(WriteMap, TheHeaderTellsShapeCellAndStatistics) {
    const TestFolder folder;
    const DensityMap map = someMap();
    writeMap(folder.path("a"), map);
    const std::string bytes = readText(folder.path("a"));
    ASSERT_EQ(bytes.size(), 1024 + 4 * map.values.size());
    const std::array<float, 3> cell{46.25F, 45.0F, 15.75F};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(wordOf<std::int32_t>(bytes, 1 + axis), static_cast<std::int32_t>(map.size[axis]));
        EXPECT_EQ(wordOf<std::int32_t>(bytes, 8 + axis), static_cast<std::int32_t>(map.size[axis]));
        EXPECT_EQ(wordOf<float>(bytes, 11 + axis), cell[axis]);
        EXPECT_EQ(wordOf<float>(bytes, 14 + axis), 90.0F);
        EXPECT_EQ(wordOf<std::int32_t>(bytes, 17 + axis), static_cast<std::int32_t>(axis) + 1);
    }
    double sum = 0.0;
    double squares = 0.0;
    for (const float value : map.values) {
        sum += static_cast<double>(value);
        squares += static_cast<double>(value) * static_cast<double>(value);
    }
    const double mean = sum / static_cast<double>(map.values.size());
    const double deviation = std::sqrt(squares / static_cast<double>(map.values.size()) - mean * mean);
    EXPECT_EQ(wordOf<std::int32_t>(bytes, 4), 2);
    EXPECT_FLOAT_EQ(wordOf<float>(bytes, 20), -3.0F);
    EXPECT_FLOAT_EQ(wordOf<float>(bytes, 21), 6.99F);
    EXPECT_NEAR(wordOf<float>(bytes, 22), mean, 1e-5);
    EXPECT_NEAR(wordOf<float>(bytes, 55), deviation, 1e-5);
    EXPECT_EQ(wordOf<std::int32_t>(bytes, 23), 1);
    EXPECT_EQ(wordOf<std::int32_t>(bytes, 24), 0);
    EXPECT_EQ(wordOf<std::int32_t>(bytes, 28), 20140);
    EXPECT_EQ(bytes.substr(208, 4), "MAP ");
    EXPECT_EQ(bytes.substr(224, 8), "Selvane ");
    EXPECT_EQ(wordOf<float>(bytes, 1024 / 4 + 2), map.values[map.index(1, 0, 0)]); // x runs fastest
}

TEST(WriteMap, StartWordsTellThePlaceWhereItIsAWholeNumberOfVoxels) {
    const TestFolder folder;
    DensityMap map = someMap();
    writeMap(folder.path("a"), map);
    std::string bytes = readText(folder.path("a"));
    const std::array<std::int32_t, 3> start{-10, 10, 10};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(wordOf<std::int32_t>(bytes, 5 + axis), start[axis]);
        EXPECT_EQ(wordOf<float>(bytes, 50 + axis), static_cast<float>(map.origin[static_cast<int>(axis)]));
    }
    map.origin.y += 0.01 * map.voxel.y;
    writeMap(folder.path("a"), map);
    bytes = readText(folder.path("a"));
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(wordOf<std::int32_t>(bytes, 5 + axis), 0);
        EXPECT_EQ(wordOf<float>(bytes, 50 + axis), static_cast<float>(map.origin[static_cast<int>(axis)]));
    }
}

TEST(WriteMap, WhatCannotBeWrittenIsAnError) {
    const TestFolder folder;
    const DensityMap map = someMap();
    EXPECT_THROW(writeMap(folder.path("no/such/folder"), map), std::runtime_error);
    DensityMap odd = map;
    odd.values.pop_back();
    EXPECT_THROW(writeMap(folder.path("a"), odd), std::invalid_argument);
    odd = map;
    odd.size[1] = 0;
    EXPECT_THROW(writeMap(folder.path("a"), odd), std::invalid_argument);
    EXPECT_FALSE(std::filesystem::exists(folder.path("a")));
}
