// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "examples/ccp4.h"

namespace example {
namespace {

/// Twelve voxels of the values 0, 1, .. 11 on axes of 2, 3 and 2 nodes.
Map smallMap() {
    Map map{{{2, 3, 2}, {-4, 5, 7}, 2.5}, {}};
    for (int i = 0; i < 12; ++i) {
        map.values.push_back(static_cast<float>(i));
    }
    return map;
}

std::uint32_t word(const std::string& bytes, std::size_t number) {
    std::uint32_t value = 0;
    for (std::size_t b = 4; b-- > 0;) {
        value = (value << 8) | static_cast<unsigned char>(bytes[4 * number + b]);
    }
    return value;
}

std::int32_t intWord(const std::string& bytes, std::size_t number) {
    return static_cast<std::int32_t>(word(bytes, number));
}

float floatWord(const std::string& bytes, std::size_t number) {
    const std::uint32_t bits = word(bytes, number);
    float value = 0.0F;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

TEST(Ccp4Bytes, SizeIsHeaderAndVoxels) {
    EXPECT_EQ(ccp4Bytes(smallMap()).size(), 1024u + 12u * 4u);
}

TEST(Ccp4Bytes, GeometryWords) {
    const std::string bytes = ccp4Bytes(smallMap());
    const int extents[3] = {2, 3, 2};
    const int starts[3] = {-4, 5, 7};
    EXPECT_EQ(intWord(bytes, 3), 2) << "mode";
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_EQ(intWord(bytes, axis), extents[axis]);
        EXPECT_EQ(intWord(bytes, 4 + axis), starts[axis]);
        EXPECT_EQ(intWord(bytes, 7 + axis), extents[axis]);
        EXPECT_EQ(floatWord(bytes, 10 + axis), 2.5F * static_cast<float>(extents[axis]));
        EXPECT_EQ(floatWord(bytes, 13 + axis), 90.0F);
        EXPECT_EQ(intWord(bytes, 16 + axis), static_cast<int>(axis) + 1);
    }
}

TEST(Ccp4Bytes, Statistics) {
    const std::string bytes = ccp4Bytes(smallMap());
    EXPECT_EQ(floatWord(bytes, 19), 0.0F);
    EXPECT_EQ(floatWord(bytes, 20), 11.0F);
    EXPECT_EQ(floatWord(bytes, 21), 5.5F);
    EXPECT_NEAR(floatWord(bytes, 54), std::sqrt(143.0 / 12.0), 1e-6);
}

TEST(Ccp4Bytes, MarksOfTheFormat) {
    const std::string bytes = ccp4Bytes(smallMap());
    EXPECT_EQ(intWord(bytes, 22), 1) << "space group";
    EXPECT_EQ(intWord(bytes, 23), 0) << "no symmetry records";
    EXPECT_EQ(bytes.substr(208, 4), "MAP ");
    EXPECT_EQ(bytes.substr(212, 4), std::string("\x44\x44\0\0", 4))
        << "machine stamp of little-endian numbers";
    EXPECT_EQ(intWord(bytes, 55), 1) << "one label";
    EXPECT_EQ(bytes.substr(224, 9), "Simulated");
    for (std::size_t origin = 49; origin < 52; ++origin) {
        EXPECT_EQ(word(bytes, origin), 0u);
    }
}

TEST(Ccp4Bytes, VoxelsFollowInTheOrderOfTheMap) {
    const std::string bytes = ccp4Bytes(smallMap());
    for (std::size_t i = 0; i < 12; ++i) {
        EXPECT_EQ(floatWord(bytes, 256 + i), static_cast<float>(i));
    }
}

} // namespace
} // namespace example
