// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "Formats/readMap.h"
#include "Formats/tests/MapBytes.h"
#include "Formats/tests/TestFolder.h"
#include "Formats/tests/gzipBytes.h"
#include "IO/openInput.h"

namespace {

MapFile readBytes(const std::string& bytes) {
    const TestFolder folder;
    return readMap(folder.write("a.map", bytes));
}

std::string reasonOf(const std::string& bytes) {
    try {
        readBytes(bytes);
    } catch (const InputError& error) {
        return error.reason();
    }
    return "read";
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// What a voxel is worth after its way through the mode.
float expectedAt(int mode, int value) {
    switch (mode) {
    case 0:
    case 12:
        return static_cast<float>(value);
    case 1:
        return static_cast<float>(value * 100);
    case 6:
        return static_cast<float>(value + 50000);
    default:
        return static_cast<float>(value) + 0.25F;
    }
}

void expectField(const DensityMap& map, const MapBytes& source) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        ASSERT_EQ(map.size[axis], static_cast<std::size_t>(source.size[axis]));
    }
    ASSERT_EQ(map.values.size(), map.size[0] * map.size[1] * map.size[2]);
    for (int i = 0; i < source.size[0]; ++i) {
        for (int j = 0; j < source.size[1]; ++j) {
            for (int k = 0; k < source.size[2]; ++k) {
                const std::size_t at = map.index(static_cast<std::size_t>(i), static_cast<std::size_t>(j),
                                                 static_cast<std::size_t>(k));
                ASSERT_EQ(map.values[at], expectedAt(source.mode, MapBytes::valueAt(i, j, k)))
                    << i << " " << j << " " << k;
            }
        }
    }
}

void expectNear(const cVector3& a, double x, double y, double z, double tolerance = 1e-5) {
    EXPECT_NEAR(a.x, x, tolerance);
    EXPECT_NEAR(a.y, y, tolerance);
    EXPECT_NEAR(a.z, z, tolerance);
}

std::string withInt(const MapBytes& source, std::size_t word, int value) {
    std::string bytes = source.bytes();
    source.setInt(bytes, word, value);
    return bytes;
}

std::string withFloat(const MapBytes& source, std::size_t word, float value) {
    std::string bytes = source.bytes();
    source.setFloat(bytes, word, value);
    return bytes;
}

constexpr std::size_t axisWord = 17;
constexpr std::size_t spaceGroupWord = 23;
constexpr std::size_t extendedWord = 24;
constexpr std::size_t markWord = 53;
constexpr std::size_t stampWord = 54;

} // namespace

TEST(ReadMap, EveryModeByteOrderAndAxisOrderPlainOrGzippedGivesTheSameField) {
    std::array<int, 3> order{1, 2, 3};
    do {
        for (const int mode : {0, 1, 2, 6, 12}) {
            for (const bool isBigEndian : {false, true}) {
                MapBytes source;
                source.order = order;
                source.mode = mode;
                source.isBigEndian = isBigEndian;
                source.start = {-7, 2, 11};
                for (const std::string& bytes : {source.bytes(), gzipped(source.bytes())}) {
                    const MapFile file = readBytes(bytes);
                    expectField(file.map, source);
                    expectNear(file.map.voxel, 2.0, 3.0, 4.0);
                    expectNear(file.map.origin, -14.0, 6.0, 44.0);
                    EXPECT_TRUE(file.remarks.empty());
                }
            }
        }
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(ReadMap, MapsLargerThanTheBlocksOfTheReaderComeOutInOrder) {
    std::array<int, 3> order{1, 2, 3};
    do {
        MapBytes source;
        source.size = {67, 35, 70}; // more than a tile along every axis, and no multiple of one
        source.order = order;
        const MapFile file = readBytes(source.bytes());
        expectField(file.map, source);
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(ReadMap, AnAxisOrderOfZerosIsXYZ) {
    const MapBytes source;
    std::string bytes = source.bytes();
    for (std::size_t i = 0; i < 3; ++i) {
        source.setInt(bytes, axisWord + i, 0);
    }
    expectField(readBytes(bytes).map, source);
}

TEST(ReadMap, AnyOtherAxisOrderIsRefused) {
    const MapBytes source;
    EXPECT_TRUE(holds(reasonOf(withInt(source, axisWord, 10)), "10, 2, 3, which is no order"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, axisWord, 3)), "3, 2, 3, which is no order"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, axisWord + 2, 0)), "1, 2, 0, which is no order"));
}

TEST(ReadMap, StampAndMarkMayBeWrongOrMissing) {
    for (const bool isBigEndian : {false, true}) {
        MapBytes source;
        source.isBigEndian = isBigEndian;
        for (const int stamp : {0, 0x44440000, 0x00004444, 0x11110000, 0x2045414D}) {
            expectField(readBytes(withInt(source, stampWord, stamp)).map, source);
        }
        expectField(readBytes(withInt(source, markWord, 0)).map, source);
    }
}

TEST(ReadMap, ModesWithoutADensityAreRefusedByName) {
    const MapBytes source;
    EXPECT_TRUE(holds(reasonOf(withInt(source, 4, 3)), "complex"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, 4, 4)), "complex"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, 4, 101)), "two voxels into a byte"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, 4, 5)), "mode 5, which is none"));
}

TEST(ReadMap, WhatIsNoMapIsToldAsSuch) {
    EXPECT_TRUE(holds(reasonOf(std::string(5000, 'A')), "not a CCP4 or MRC map"));
    EXPECT_TRUE(holds(reasonOf(std::string(5000, '\0')), "not a CCP4 or MRC map"));
    EXPECT_TRUE(holds(reasonOf(""), "it has 0 bytes"));
    EXPECT_TRUE(holds(reasonOf(gzipped("12345678")), "it has 8 bytes"));
}

TEST(ReadMap, ExtentsBelowOneAreRefused) {
    const MapBytes source;
    EXPECT_TRUE(holds(reasonOf(withInt(source, 1, -3)), "-3 columns"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, 2, 0)), "0 rows"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, 3, std::numeric_limits<int>::min())), "sections"));
}

TEST(ReadMap, HugeExtentsAreRefusedWithoutTheirMemory) {
    const MapBytes source;
    constexpr int most = std::numeric_limits<int>::max();
    const std::array<int, 3> wrappingTo0{1 << 22, 1 << 20, 1 << 20}; // in 64 bits, times 4 bytes
    for (const std::array<int, 3>& extents :
         {std::array<int, 3>{70000, 70000, 70000}, {65536, 65536, 65536}, {most, most, most}, wrappingTo0}) {
        std::string bytes = source.bytes();
        for (std::size_t i = 0; i < 3; ++i) {
            source.setInt(bytes, 1 + i, extents[i]);
        }
        EXPECT_TRUE(holds(reasonOf(bytes), extents[0] > 70000 ? "which no file holds" : "are missing"));
        EXPECT_TRUE(holds(reasonOf(gzipped(bytes)), "no gzipped file of"));
    }
}

TEST(ReadMap, ATruncatedFileSaysHowMuchIsMissing) {
    const MapBytes source;
    const std::string bytes = source.bytes();
    EXPECT_TRUE(holds(reasonOf(bytes.substr(0, bytes.size() - 7)), " 7 bytes are missing"));
    EXPECT_TRUE(holds(reasonOf(gzipped(bytes.substr(0, bytes.size() - 7))), " 7 bytes are missing"));
    EXPECT_TRUE(holds(reasonOf(source.header()), " 240 bytes are missing"));
    const std::string packed = gzipped(bytes);
    EXPECT_TRUE(holds(reasonOf(packed.substr(0, packed.size() - 20)), "the gzip stream stops in its middle"));
}

TEST(ReadMap, ACorruptStreamIsRefusedEvenWhereItHoldsEveryVoxel) {
    std::string packed = gzipped(MapBytes().bytes());
    packed[packed.size() - 8] = static_cast<char>(packed[packed.size() - 8] ^ 1); // the checksum
    EXPECT_TRUE(holds(reasonOf(packed), "corrupt"));
}

TEST(ReadMap, AStreamOfSeveralMembersIsOneMap) {
    const MapBytes source;
    const std::string bytes = source.bytes();
    const std::string packed =
        gzipped(bytes.substr(0, 1100)) + gzipped(bytes.substr(1100)) + std::string(600, '\0');
    expectField(readBytes(packed).map, source);
}

TEST(ReadMap, ExtendedHeadersAreSkipped) {
    MapBytes source;
    for (const std::size_t length : {80U, 160U, 131U, 40000U}) {
        source.extended.assign(length, 'x');
        for (const std::string& bytes : {source.bytes(), gzipped(source.bytes())}) {
            const MapFile file = readBytes(bytes);
            expectField(file.map, source);
            EXPECT_TRUE(file.remarks.empty());
        }
    }
}

TEST(ReadMap, TheLengthOfTheFileDecidesWhereTheExtendedHeaderIsNotThere) {
    const MapBytes source;
    for (const int claim : {800, -5, std::numeric_limits<int>::max()}) {
        const std::string stored = withInt(source, extendedWord, claim);
        for (const std::string& bytes : {stored, gzipped(stored)}) {
            const MapFile file = readBytes(bytes);
            expectField(file.map, source);
            ASSERT_EQ(file.remarks.size(), 1U);
            EXPECT_TRUE(holds(file.remarks[0], std::to_string(claim) + " bytes lie between"));
        }
    }
}

TEST(ReadMap, AnExtendedHeaderOfSeveralExplanationsIsRefused) {
    MapBytes source;
    source.tail.assign(99, 'x');
    for (const int claim : {-5, 2000000}) {
        const std::string stored = withInt(source, extendedWord, claim);
        EXPECT_TRUE(holds(reasonOf(stored), "correct its word 24"));
        EXPECT_TRUE(holds(reasonOf(gzipped(stored)), "correct its word 24"));
    }
}

TEST(ReadMap, BytesBehindTheVoxelsAreRemarked) {
    MapBytes source;
    source.tail.assign(999, 'x');
    const MapFile plain = readBytes(source.bytes());
    expectField(plain.map, source);
    ASSERT_EQ(plain.remarks.size(), 1U);
    EXPECT_TRUE(holds(plain.remarks[0], "999 bytes behind"));
    const MapFile packed = readBytes(gzipped(source.bytes()));
    expectField(packed.map, source);
    EXPECT_EQ(packed.remarks.size(), 1U);
}

TEST(ReadMap, OriginWordsComeFirstAndADisagreementIsTold) {
    MapBytes source;
    source.origin = {-1.5F, 0.0F, 70.25F};
    const MapFile alone = readBytes(source.bytes());
    expectNear(alone.map.origin, -1.5, 0.0, 70.25);
    EXPECT_TRUE(alone.remarks.empty()); // start words of zeros say nothing
    source.start = {1, 1, 1};
    const MapFile both = readBytes(source.bytes());
    expectNear(both.map.origin, -1.5, 0.0, 70.25);
    ASSERT_EQ(both.remarks.size(), 1U);
    EXPECT_TRUE(holds(both.remarks[0], "(3.500, 3.000, -66.250) Å"));
    source.origin = {2.0F, 3.01F, 4.0F}; // a 300th of a voxel from the start words
    EXPECT_TRUE(readBytes(source.bytes()).remarks.empty());
    source.origin = {2.0F, 3.06F, 4.0F}; // a 50th
    EXPECT_EQ(readBytes(source.bytes()).remarks.size(), 1U);
}

TEST(ReadMap, OriginWordsThatAreNoPlaceAreNotUsed) {
    MapBytes source;
    source.start = {1, 2, 3};
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float rubbish : {nan, std::numeric_limits<float>::infinity(), 1e30F}) {
        source.origin = {0.0F, rubbish, 0.0F};
        const MapFile file = readBytes(source.bytes());
        expectNear(file.map.origin, 2.0, 6.0, 12.0);
        EXPECT_EQ(file.remarks.size(), 1U);
    }
    source.origin = {1e-41F, 0.0F, 0.0F}; // a small integer read as a float
    EXPECT_TRUE(readBytes(source.bytes()).remarks.empty());
}

TEST(ReadMap, StartWordsThatAreNoPlaceAreNotUsed) {
    MapBytes source;
    source.start = {1, 933074600, 3};
    const MapFile file = readBytes(source.bytes());
    expectNear(file.map.origin, 0.0, 0.0, 0.0);
    EXPECT_EQ(file.remarks.size(), 1U);
    source.origin = {1.0F, 2.0F, 3.0F};
    expectNear(readBytes(source.bytes()).map.origin, 1.0, 2.0, 3.0);
}

TEST(ReadMap, AVoxelIsTheCellOverItsSamplingWhateverPartOfItTheMapCovers) {
    MapBytes source;
    source.sampling = {30, 8, 5};
    source.start = {100, -3, 0};
    const DensityMap map = readBytes(source.bytes()).map;
    expectNear(map.voxel, 0.2, 1.5, 4.0);
    expectNear(map.origin, 20.0, -4.5, 0.0);
}

TEST(ReadMap, ASamplingOfZeroIsTheExtents) {
    MapBytes source;
    source.sampling = {0, 0, 0};
    const MapFile file = readBytes(source.bytes());
    expectNear(file.map.voxel, 2.0, 3.0, 4.0);
    EXPECT_EQ(file.remarks.size(), 1U);
}

TEST(ReadMap, LengthsThatMakeNoCellAreReplacedAndRemarked) {
    MapBytes source;
    source.cell = {6.0F, 12.0F, 0.0F};
    const MapFile one = readBytes(source.bytes());
    expectNear(one.map.voxel, 2.0, 3.0, 2.0);
    EXPECT_EQ(one.remarks.size(), 1U);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float rubbish : {0.0F, -6.0F, nan, 1e30F}) {
        source.cell = {rubbish, rubbish, rubbish};
        const MapFile all = readBytes(source.bytes());
        expectNear(all.map.voxel, 1.0, 1.0, 1.0);
        EXPECT_EQ(all.remarks.size(), 1U);
    }
}

TEST(ReadMap, AnglesOfZeroAreRightAndImpossibleOnesAreRemarked) {
    MapBytes source;
    source.angles = {0.0F, 0.0F, 0.0F};
    const MapFile zero = readBytes(source.bytes());
    expectField(zero.map, source);
    EXPECT_TRUE(zero.remarks.empty());
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const std::array<float, 3>& angles :
         {std::array<float, 3>{20.0F, 20.0F, 170.0F}, {90.0F, 400.0F, 90.0F}, {90.0F, 90.0F, nan}}) {
        source.angles = angles;
        const MapFile file = readBytes(source.bytes());
        expectField(file.map, source);
        ASSERT_EQ(file.remarks.size(), 1U);
        EXPECT_TRUE(holds(file.remarks[0], "make no cell"));
    }
}

TEST(ReadMap, AnglesThatMoveNoVoxelVisiblyLeaveTheFieldAsItIs) {
    MapBytes source;
    source.angles = {90.0F, 90.01F, 89.99F};
    const MapFile file = readBytes(source.bytes());
    expectField(file.map, source);
    EXPECT_TRUE(file.remarks.empty());
}

TEST(ReadMap, SeriesOfVolumesAreRefusedAndOtherSpaceGroupWordsAreNot) {
    const MapBytes source;
    EXPECT_TRUE(holds(reasonOf(withInt(source, spaceGroupWord, 401)), "series of volumes"));
    EXPECT_TRUE(holds(reasonOf(withInt(source, spaceGroupWord, 630)), "series of volumes"));
    for (const int number : {0, 1, 400, 631, -1, 0x3F800000}) {
        expectField(readBytes(withInt(source, spaceGroupWord, number)).map, source);
    }
}

TEST(ReadMap, APartOfACellThatSymmetryFillsIsRemarked) {
    MapBytes source;
    source.sampling = {3, 8, 5};
    EXPECT_TRUE(readBytes(withInt(source, spaceGroupWord, 1)).remarks.empty());
    const MapFile part = readBytes(withInt(source, spaceGroupWord, 19));
    ASSERT_EQ(part.remarks.size(), 1U);
    EXPECT_TRUE(holds(part.remarks[0], "space group 19"));
    source.sampling = {2, 4, 5}; // the map is larger than the cell
    EXPECT_TRUE(readBytes(withInt(source, spaceGroupWord, 19)).remarks.empty());
}

TEST(ReadMap, ValuesThatAreNotFiniteCountAsZeroInEveryMode) {
    const MapBytes source;
    std::string bytes = withFloat(source, 256 + 1, std::numeric_limits<float>::quiet_NaN());
    source.setFloat(bytes, 256 + 2, -std::numeric_limits<float>::infinity());
    const MapFile file = readBytes(bytes);
    EXPECT_EQ(file.map.values[file.map.index(0, 0, 0)], 0.0F);
    EXPECT_EQ(file.map.values[file.map.index(1, 0, 0)], 0.0F);
    EXPECT_EQ(file.map.values[file.map.index(2, 0, 0)], expectedAt(2, MapBytes::valueAt(2, 0, 0)));
    ASSERT_EQ(file.remarks.size(), 1U);
    EXPECT_TRUE(holds(file.remarks[0], "2 voxels"));
    MapBytes half;
    half.mode = 12;
    bytes = half.bytes();
    bytes.replace(1024, 2, std::string("\x00\x7C", 2));
    EXPECT_EQ(readBytes(bytes).map.values[0], 0.0F);
    EXPECT_EQ(readBytes(bytes).remarks.size(), 1U);
}

TEST(ReadMap, RubbishInWordsThatNobodyNeedsIsIgnored) {
    const MapBytes source;
    std::string bytes = source.bytes();
    for (const std::size_t word : {20U, 21U, 22U, 25U, 26U, 27U, 28U, 40U, 49U, 55U, 56U, 100U, 256U}) {
        source.setInt(bytes, word, 933074600);
    }
    const MapFile file = readBytes(bytes);
    expectField(file.map, source);
    EXPECT_TRUE(file.remarks.empty());
}

TEST(ReadMap, AFieldOfOneValueIsRead) {
    const MapBytes source;
    const MapFile file = readBytes(source.header() + std::string(240, '\0'));
    EXPECT_EQ(file.map.values, std::vector<float>(60, 0.0F));
}

TEST(ReadMap, FoldersAreRefused) {
    const TestFolder folder;
    EXPECT_THROW(readMap(folder.path("")), InputError);
    EXPECT_THROW(readMap(folder.path("none")), InputError);
}
