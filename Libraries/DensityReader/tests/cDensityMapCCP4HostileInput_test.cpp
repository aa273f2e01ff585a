// SPDX-License-Identifier: GPL-3.0-or-later
// Files that are broken, cut short or no maps at all.
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include <sys/stat.h>

#include "DensityReader/cDensityMapCCP4.h"
#include "testMaps.h"

namespace {

const std::string truncatedText = "Error: File appears truncated and doesn't match header. \n";
const std::string noMapWord = "Error: 'MAP' string missing, not a valid CCP4 file \n";
const std::string wrongMode = "Error: Non-real (32-bit float) data types are unsupported \n";

std::string sizeLine(long fileSize, long dataOffset) {
    return "filesize = " + std::to_string(fileSize) + " dataOffset = " + std::to_string(dataOffset) +
           " CCP4HDSIZE = 1024\n";
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

void expectEmpty(const cDensityMapCCP4& map) {
    EXPECT_TRUE(map.isEmpty());
    EXPECT_EQ(map.m_grid.getTotalSize(), 0U);
    EXPECT_TRUE(map.getValue().empty());
    EXPECT_NE(map.getDefect(), "");
}

} // namespace

TEST(cDensityMapCCP4HostileInput, ModeThatIsNeitherByteOrdersTwo) {
    MapBytes file;
    for (const int mode : {0, 1, 6, 12, -2, 0x01000000}) {
        file.mode = mode;
        const auto [map, errors] = loadBytes(file.bytes());
        expectEmpty(map);
        EXPECT_TRUE(startsWith(errors, wrongMode)) << errors;
        EXPECT_NE(errors.find("mode " + std::to_string(mode)), std::string::npos);
    }
}

TEST(cDensityMapCCP4HostileInput, FileOneByteShort) {
    std::string bytes = MapBytes().bytes();
    bytes.pop_back();
    const auto [map, errors] = loadBytes(bytes);
    expectEmpty(map);
    EXPECT_EQ(errors, truncatedText + sizeLine(1263, 1023));
}

TEST(cDensityMapCCP4HostileInput, FilesShorterThanAHeader) {
    const std::string bytes = MapBytes().bytes();
    for (const std::size_t size : {0U, 1U, 8U, 12U, 13U, 15U}) {
        const auto [map, errors] = loadBytes(bytes.substr(0, size));
        expectEmpty(map);
        EXPECT_TRUE(startsWith(errors, noMapWord + truncatedText + "filesize = " + std::to_string(size)))
            << errors;
    }
    EXPECT_EQ(loadBytes(bytes.substr(0, 16)).errors, noMapWord + truncatedText + sizeLine(16, 16 - 240));
    EXPECT_EQ(loadBytes(bytes.substr(0, 210)).errors, noMapWord + truncatedText + sizeLine(210, 210 - 240));
    EXPECT_EQ(loadBytes(bytes.substr(0, 1023)).errors, truncatedText + sizeLine(1023, 1023 - 240));
    EXPECT_EQ(loadBytes(bytes.substr(0, 1024)).errors, truncatedText + sizeLine(1024, 1024 - 240));
}

TEST(cDensityMapCCP4HostileInput, ShortFileWithExtentsThatWouldMakeItLong) {
    MapBytes file;
    file.extent = {-1, 1000, 1000};
    const auto [map, errors] = loadBytes(file.bytes().substr(0, 1000));
    expectEmpty(map);
    EXPECT_TRUE(startsWith(errors, truncatedText)) << errors;
}

TEST(cDensityMapCCP4HostileInput, FailedLoadEmptiesAMapThatHeldVoxels) {
    const TemporaryDirectory directory;
    writeFile(directory.file("short.map"), MapBytes().bytes().substr(0, 1100));
    cDensityMapCCP4 map = loadBytes(MapBytes().bytes()).map;
    const cDensityMapCCP4 copy = map;
    const CapturedErrors errors;
    map.load(directory.file("short.map"));
    expectEmpty(map);
    EXPECT_EQ(copy.getDensity(2, 3, 4), 60.0);
}

TEST(cDensityMapCCP4HostileInput, DirectoryCannotBeOpened) {
    const TemporaryDirectory directory;
    cDensityMapCCP4 map;
    EXPECT_THROW(map.load(directory.path()), std::string);
}

TEST(cDensityMapCCP4HostileInput, PipesAndDevicesAreToldAndNotWaitedFor) {
    const TemporaryDirectory directory;
    const std::string pipe = directory.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path : {pipe, std::string("/dev/zero"), directory.path()}) {
        cDensityMapCCP4 map;
        const CapturedErrors errors;
        EXPECT_THROW(map.load(path), std::string);
        EXPECT_EQ(errors.text(), path + ": not a regular file\n");
    }
}

TEST(cDensityMapCCP4HostileInput, GzipIsNamedAsSuch) {
    const auto [map, errors] = loadBytes("\x1f\x8b\x08" + std::string(2000, 'z'));
    expectEmpty(map);
    EXPECT_NE(errors.find("gzip"), std::string::npos);
    EXPECT_NE(errors.find("gunzip"), std::string::npos);
    EXPECT_NE(errors.find(wrongMode), std::string::npos);
}

TEST(cDensityMapCCP4HostileInput, ExtentsBelowOneLeaveTheMapEmpty) {
    const std::vector<std::array<int, 3>> cases{{-3, 4, 5},  {-3, -4, 5},
                                                {3, -4, -5}, {0, 4, 5},
                                                {0, 0, 0},   {std::numeric_limits<int>::lowest(), 1, 2}};
    for (const auto& extent : cases) {
        MapBytes file;
        file.extent = extent;
        const auto [map, errors] = loadBytes(file.bytes());
        expectEmpty(map);
        EXPECT_NE(errors, "");
    }
}

TEST(cDensityMapCCP4HostileInput, ExtentsWhoseProductOverflows) {
    const std::string muchLarger = "Error: File is MUCH larger than expected and doesn't match header. \n";
    const std::vector<std::pair<std::array<int, 3>, std::string>> cases{
        {{65536, 65536, 1}, truncatedText + sizeLine(1264, 1264)},         // 2^34 bytes wrap to 0
        {{1 << 30, 60, 1073741825}, truncatedText + sizeLine(1264, 1264)}, // so does every multiple of 2^32
        {{70000, 70000, 70000}, muchLarger}};                              // the wrapped number is negative
    for (const auto& [extent, message] : cases) {
        MapBytes file;
        file.extent = extent;
        const auto [map, errors] = loadBytes(file.bytes());
        expectEmpty(map);
        EXPECT_EQ(errors, message);
    }
}

TEST(cDensityMapCCP4HostileInput, WrappedExtentsThatMatchTheFileExactly) {
    MapBytes file;
    file.extent = {65536, 65536, 1};
    file.voxels.clear(); // 1024 bytes: by the wrapped product the header alone is the whole map
    const auto [map, errors] = loadBytes(file.bytes());
    expectEmpty(map);
    EXPECT_EQ(errors, truncatedText + sizeLine(1024, 1024));
}

TEST(cDensityMapCCP4HostileInput, MoreVoxelsThanTheCallerTakesAreNotRead) {
    const TemporaryDirectory directory;
    writeFile(directory.file("test.map"), MapBytes().bytes()); // 60 voxels
    cDensityMapCCP4 map;
    map.m_largestVoxelCount = 60;
    map.load(directory.file("test.map"));
    EXPECT_FALSE(map.isEmpty());
    map.m_largestVoxelCount = 59;
    const CapturedErrors errors;
    map.load(directory.file("test.map"));
    expectEmpty(map);
    EXPECT_NE(errors.text().find("more than the 59 voxels"), std::string::npos);
}

TEST(cDensityMapCCP4HostileInput, SymmetryCountBeyondTheFileIsTruncated) {
    MapBytes file;
    for (const int count : {800, 2000000000, std::numeric_limits<int>::max()}) {
        file.symmetryCount = count;
        const std::string bytes = file.bytes() + std::string(40, 'x');
        const auto [map, errors] = loadBytes(bytes);
        expectEmpty(map);
        EXPECT_EQ(errors, truncatedText + sizeLine(1304, 1064));
    }
}

TEST(cDensityMapCCP4HostileInput, NegativeSymmetryCountNeverReadsTheHeaderAsVoxels) {
    MapBytes file;
    file.symmetryCount = -80;
    EXPECT_EQ(loadBytes(file.bytes()).map.getDensity(2, 3, 4), 60.0); // the file's length tells it is wrong
    for (const int count : {-4, -80, -1024, std::numeric_limits<int>::lowest()}) {
        file.symmetryCount = count;
        expectEmpty(loadBytes(file.bytes() + std::string(40, 'x')).map);
        expectEmpty(loadBytes(file.bytes().substr(0, 1264U - 80U)).map);
    }
}

TEST(cDensityMapCCP4HostileInput, AxisOrdersThatAreNoPermutation) {
    const std::vector<std::array<int, 3>> orders{{10, 11, 12},
                                                 {1, 1, 2},
                                                 {0, 1, 2},
                                                 {3, 3, 3},
                                                 {-1, 2, 3},
                                                 {1, 2, 400},
                                                 {1, 2, std::numeric_limits<int>::lowest()}};
    for (const auto& order : orders) {
        MapBytes file;
        file.axisOrder = order;
        const auto [map, errors] = loadBytes(file.bytes());
        expectEmpty(map);
        EXPECT_NE(errors.find("axis order"), std::string::npos);
    }
}

TEST(cDensityMapCCP4HostileInput, AxisOfOneVoxelReadsZeroEverywhere) {
    MapBytes file;
    file.extent = {1, 12, 5};
    file.sampling = {0, 12, 5}; // the default would be 0 intervals
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(map.getDensity(0, 11, 4), 60.0);
    EXPECT_EQ(map.getValue(), std::vector<double>(60, 0.0));
    EXPECT_NE(map.getDefect().find("one voxel only along x"), std::string::npos);
}

TEST(cDensityMapCCP4HostileInput, CellThatIsNotFiniteAndPositive) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
    for (const float length : {-3.0F, 0.0F, infinity, notANumber, 1e38F}) {
        MapBytes file;
        file.cell[0] = length;
        file.sampling[0] = length > 1e37F ? 1 : 3;
        file.start = {std::numeric_limits<int>::max(), 0, 0};
        const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
        EXPECT_EQ(map.getValue().size(), 60U);
        EXPECT_EQ(map.getDefect() == "", length == 1e38F);
        map.getAverageValue();
    }
    MapBytes flat;
    flat.angles = {90.0F, 90.0F, 0.0F};
    EXPECT_NE(loadBytes(flat.bytes()).map.getDefect(), "");
    MapBytes impossible;
    impossible.angles = {10.0F, 20.0F, 150.0F};
    EXPECT_NE(loadBytes(impossible.bytes()).map.getDefect(), "");
}

TEST(cDensityMapCCP4HostileInput, VoxelsThatAreNoNumbersAreReadAsTheyAre) {
    MapBytes file;
    file.extent = file.sampling = {5, 4, 3};
    file.voxels[26] = std::numeric_limits<float>::quiet_NaN(); // voxel (1, 1, 1)
    file.voxels[27] = std::numeric_limits<float>::infinity();
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_TRUE(std::isnan(map.getDensity(1, 1, 1)));
    EXPECT_TRUE(std::isinf(map.getDensity(2, 1, 1)));
    EXPECT_NE(map.getDefect().find("2 voxels"), std::string::npos);
}

TEST(cDensityMapCCP4HostileInput, NonsenseHeadersNeverLeaveTheArrays) {
    std::uint32_t state = 12345;
    const auto next = [&state] { return state = state * 1664525U + 1013904223U; };
    const std::string good = MapBytes().bytes();
    for (int round = 0; round < 200; ++round) {
        std::string bytes = good;
        for (int change = 0; change < 3; ++change) {
            const std::size_t word = next() % 26U;
            const std::uint32_t value = next() % 3U == 0 ? next() : (next() >> 8U) % 12U;
            if (word != 3) {
                std::memcpy(bytes.data() + 4U * word, &value, 4);
            }
        }
        const cDensityMapCCP4 map = loadBytes(bytes).map;
        EXPECT_EQ(map.getValue().size(), map.m_grid.getTotalSize());
        map.getAverageValue();
        EXPECT_LE(map.isEmpty() ? 0 : map.m_data->voxelCount(), 60U);
    }
}
