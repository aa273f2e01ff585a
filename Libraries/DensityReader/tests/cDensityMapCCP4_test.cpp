// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstddef>
#include <limits>

#include "DensityReader/cDensityMapCCP4.h"
#include "Math/pi.h"
#include "testMaps.h"

namespace {

constexpr double rounding = 1e-12;
constexpr double singleRounding = 1e-6;

void expectNear(const cVector3& found, const cVector3& expected, double tolerance) {
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(found[axis], expected[axis], tolerance) << "axis " << axis;
    }
}

std::array<unsigned int, 3> sizes(const cDensityMapCCP4& map) {
    return {map.m_grid.m_size[0], map.m_grid.m_size[1], map.m_grid.m_size[2]};
}

template <class Word>
Word wordAt(const std::string& bytes, std::size_t offset) {
    Word word{};
    std::memcpy(&word, bytes.data() + offset, sizeof(word));
    return word;
}

std::vector<float> voxelsOf(const std::string& bytes) {
    std::vector<float> voxels((bytes.size() - 1024) / 4);
    std::memcpy(voxels.data(), bytes.data() + 1024, voxels.size() * 4);
    return voxels;
}

} // namespace

TEST(cDensityMapCCP4, ReadsHeaderAndVoxels) {
    MapBytes file;
    file.start = {7, -8, 9};
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(map.m_extent, file.extent);
    EXPECT_EQ(map.m_mode, 2);
    EXPECT_EQ(map.m_start, file.start);
    EXPECT_EQ(map.m_sampling, file.sampling);
    EXPECT_EQ(map.m_cellLengths, file.cell);
    EXPECT_EQ(map.m_cellAngles, file.angles);
    EXPECT_EQ(map.m_axisOrder, file.axisOrder);
    EXPECT_EQ(map.m_minDensity, -1.0F);
    EXPECT_EQ(map.m_maxDensity, 2.0F);
    EXPECT_EQ(map.m_meanDensity, 0.5F);
    EXPECT_EQ(sizes(map), (std::array<unsigned int, 3>{3, 4, 5}));
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 4; ++j) {
            for (int k = 0; k < 5; ++k) {
                EXPECT_EQ(map.getDensity(i, j, k), 1.0 + i + 3 * j + 12 * k);
            }
        }
    }
    EXPECT_EQ(map.getDefect(), "");
}

TEST(cDensityMapCCP4, LooksLikeAMapByItsWordOrByItsHeader) {
    const TemporaryDirectory directory;
    const auto looksLikeMap = [&](const std::string& bytes) {
        std::ofstream(directory.file("input"), std::ios::binary) << bytes;
        return cDensityMapCCP4::looksLikeMap(directory.file("input"));
    };
    const std::string bytes = MapBytes().bytes();
    EXPECT_TRUE(looksLikeMap(bytes));
    std::string wordless = bytes;
    wordless.replace(208, 4, 4, '\0');
    EXPECT_TRUE(looksLikeMap(wordless));
    std::string reversed = wordless;
    for (std::size_t word = 0; word < 256; ++word) {
        std::reverse(reversed.begin() + 4 * static_cast<std::ptrdiff_t>(word),
                     reversed.begin() + 4 * static_cast<std::ptrdiff_t>(word + 1));
    }
    EXPECT_TRUE(looksLikeMap(reversed));
    std::string extentless = wordless;
    extentless.replace(0, 12, 12, '\0');
    EXPECT_FALSE(looksLikeMap(extentless));
    EXPECT_TRUE(looksLikeMap(bytes.substr(0, 212)));
    EXPECT_FALSE(looksLikeMap(""));
    EXPECT_FALSE(looksLikeMap(std::string(2000, '\0')));
    EXPECT_FALSE(looksLikeMap("ATOM      1  CA  ALA A   1       1.000   2.000   3.000\n"));
    EXPECT_FALSE(cDensityMapCCP4::looksLikeMap(directory.path()));
    EXPECT_FALSE(cDensityMapCCP4::looksLikeMap(directory.file("nowhere")));
}

TEST(cDensityMapCCP4, SupportsOneExtension) {
    EXPECT_EQ(cDensityMapCCP4().supportedExtension(), std::set<std::string>{"ccp4"});
}

TEST(cDensityMapCCP4, RightAngledCellStartsOneVoxelUp) {
    // Seen to fail with the first voxel where the start words put it.
    MapBytes file;
    file.extent = file.sampling = {10, 10, 10};
    file.cell = {10.0F, 10.0F, 10.0F};
    file.voxels = MapBytes::numbered(1000);
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    EXPECT_EQ(map.m_delta, cVector3(1.0));
    expectNear(map.m_origin, cVector3(1.0), rounding);
    expectNear(map.m_grid.m_box.m_max, cVector3(10.0), rounding);
    EXPECT_EQ(map.getValue(map.m_origin), 0.0);
}

TEST(cDensityMapCCP4, AxisOrder312PutsRowsAlongX) {
    MapBytes file;
    file.axisOrder = {3, 1, 2};
    file.start = {10, 20, 30};
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    EXPECT_EQ(sizes(map), (std::array<unsigned int, 3>{4, 5, 3})); // NR, NS, NC
    for (int c = 0; c < 3; ++c) {
        for (int r = 0; r < 4; ++r) {
            for (int s = 0; s < 5; ++s) {
                EXPECT_EQ(map.getDensity(r, s, c), 1.0 + c + 3 * r + 12 * s);
            }
        }
    }
    expectNear(map.m_delta, cVector3(1.0, 2.0, 0.5), rounding); // cell and sampling are not permuted
    expectNear(map.m_firstVoxelByStartWords, cVector3(20.0, 60.0, 5.0), 1e-10);
}

TEST(cDensityMapCCP4, EveryAxisOrderReadsTheSameField) {
    const std::vector<std::array<int, 3>> orders{{1, 2, 3}, {1, 3, 2}, {2, 1, 3},
                                                 {2, 3, 1}, {3, 1, 2}, {3, 2, 1}};
    const std::array<int, 3> size{3, 4, 5}, start{-2, 7, 1};
    for (const auto& order : orders) {
        MapBytes file;
        file.axisOrder = order;
        for (std::size_t crs = 0; crs < 3; ++crs) {
            file.extent[crs] = size[static_cast<std::size_t>(order[crs] - 1)];
            file.start[crs] = start[static_cast<std::size_t>(order[crs] - 1)];
        }
        file.voxels.clear();
        std::array<int, 3> at{};
        const auto along = [&](std::size_t crs) -> int& {
            return at[static_cast<std::size_t>(order[crs] - 1)];
        };
        for (along(2) = 0; along(2) < file.extent[2]; ++along(2)) {
            for (along(1) = 0; along(1) < file.extent[1]; ++along(1)) {
                for (along(0) = 0; along(0) < file.extent[0]; ++along(0)) {
                    file.voxels.push_back(static_cast<float>(100 * at[0] + 10 * at[1] + at[2]));
                }
            }
        }
        const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
        ASSERT_EQ(sizes(map), (std::array<unsigned int, 3>{3, 4, 5}));
        EXPECT_EQ(map.getDensity(2, 1, 4), 214.0);
        EXPECT_EQ(map.getDensity(0, 3, 2), 32.0);
        expectNear(map.m_origin, cVector3(-1.0, 16.0, 1.0), 1e-10);
    }
}

TEST(cDensityMapCCP4, OppositeByteOrderReadsTheSameMapButForTheStatistics) {
    // Seen to fail with minimum, maximum and mean reversed as well.
    MapBytes file;
    file.start = {7, -8, 9};
    file.axisOrder = {2, 3, 1};
    file.originWords = {1.0F, 2.0F, 3.0F};
    file.symmetryCount = 80;
    file.symmetryRecords = std::string(80, 'S');
    const cDensityMapCCP4 plain = loadBytes(file.bytes()).map;
    file.reversed = true;
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(map.m_mode, 2);
    EXPECT_EQ(map.m_start, plain.m_start);
    EXPECT_EQ(map.m_sampling, plain.m_sampling);
    EXPECT_EQ(map.m_cellLengths, plain.m_cellLengths);
    EXPECT_EQ(map.m_cellAngles, plain.m_cellAngles);
    EXPECT_EQ(map.m_originWords, plain.m_originWords);
    EXPECT_EQ(map.m_grid, plain.m_grid);
    EXPECT_EQ(map.m_data->values(), plain.m_data->values());
    // Deliberate: the statistics stay in the order of the file; 2 = 0x40000000 reads as a denormal 0x40.
    EXPECT_EQ(map.m_maxDensity, 64.0F * std::numeric_limits<float>::denorm_min());
}

TEST(cDensityMapCCP4, SkewCellKeepsItsAxesAndSpansTheDiagonal) {
    MapBytes file;
    file.angles = {80.0F, 100.0F, 110.0F};
    file.start = {1, 2, 3};
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    const auto cosine = [](double degrees) { return std::cos(degrees * radiansPerDegree); };
    for (const cVector3& axis : {map.m_xAxis, map.m_yAxis, map.m_zAxis}) {
        EXPECT_NEAR(axis.norm(), 1.0, rounding);
    }
    EXPECT_NEAR(map.m_yAxis | map.m_zAxis, cosine(80.0), rounding);
    EXPECT_NEAR(map.m_xAxis | map.m_zAxis, cosine(100.0), rounding);
    EXPECT_NEAR(map.m_xAxis | map.m_yAxis, cosine(110.0), rounding);
    EXPECT_GT(map.m_zAxis.z, 0.0);

    const cVector3 delta(1.0, 2.0, 0.5);
    const cVector3 first = 1 * delta.x * map.m_xAxis + 2 * delta.y * map.m_yAxis + 3 * delta.z * map.m_zAxis;
    expectNear(map.m_origin, first + delta, rounding);
    cVector3 last;
    map.mapToWorld(2, 3, 4, last);
    expectNear(map.m_grid.m_box.m_max, last, rounding);
    expectNear(map.m_grid.m_cellDim, (last - map.m_origin) / cVector3(2.0, 3.0, 4.0), rounding);
}

TEST(cDensityMapCCP4, VoxelSizeIsFormedInSinglePrecision) {
    // Seen to fail with the quotient taken in double precision.
    MapBytes file;
    file.cell = {126.72F, 8.0F, 2.5F};
    file.sampling = {24, 3, 5};
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    EXPECT_EQ(map.m_delta.x, static_cast<double>(126.72F / 24.0F));
    EXPECT_EQ(map.m_delta.y, static_cast<double>(8.0F / 3.0F));
}

TEST(cDensityMapCCP4, ZeroSamplingBecomesExtentLessOne) {
    MapBytes file;
    file.sampling = {0, 9, 0};
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    EXPECT_EQ(map.m_sampling, (std::array<int, 3>{2, 9, 4}));
}

TEST(cDensityMapCCP4, ZeroSamplingTakesColumnsRowsAndSectionsInWhateverOrder) {
    MapBytes file;
    file.axisOrder = {3, 1, 2}; // x runs over the 4 rows, y over the 5 sections, z over the 3 columns
    file.sampling = {0, 0, 0};
    // Seen to fail with the extents taken along the axes.
    EXPECT_EQ(loadBytes(file.bytes()).map.m_sampling, (std::array<int, 3>{2, 3, 4}));
}

TEST(cDensityMapCCP4, DefaultsNeedAllThreeToBeZero) {
    MapBytes file;
    file.cell = {3.0F, 0.0F, 0.0F};
    // Seen to fail with every zero length made 1.
    EXPECT_EQ(loadBytes(file.bytes()).map.m_cellLengths, file.cell);
}

TEST(cDensityMapCCP4, ZeroAxisOrderAndZeroCellGetDefaults) {
    MapBytes file;
    file.axisOrder = {0, 0, 0};
    file.cell = {0.0F, 0.0F, 0.0F};
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    EXPECT_EQ(map.m_axisOrder, (std::array<int, 3>{1, 2, 3}));
    // One angstrom in total along each edge.
    expectNear(map.m_delta * cVector3(3.0, 4.0, 5.0), cVector3(1.0), singleRounding);
}

TEST(cDensityMapCCP4, SymmetryRecordsAreSkipped) {
    MapBytes file;
    file.symmetryCount = 160;
    file.symmetryRecords = std::string(160, 'S');
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(map.getDensity(0, 0, 0), 1.0);
    EXPECT_EQ(map.getDensity(2, 3, 4), 60.0);
}

TEST(cDensityMapCCP4, WrongSymmetryCountReadsAsZero) {
    MapBytes file;
    file.symmetryCount = 80;
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(map.getDensity(0, 0, 0), 1.0);
    EXPECT_EQ(map.getDensity(2, 3, 4), 60.0);
}

TEST(cDensityMapCCP4, SurplusAtTheEndIsIgnored) {
    MapBytes file;
    file.voxels = MapBytes::numbered(60 + 999);
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "");
    EXPECT_EQ(map.getDensity(2, 3, 4), 60.0);
}

TEST(cDensityMapCCP4, SurplusOfAMebibyteLeavesTheMapEmpty) {
    MapBytes file;
    const std::string bytes = file.bytes();
    EXPECT_FALSE(loadBytes(bytes + std::string(1048575 - 1024, 'x')).map.isEmpty());
    const auto [map, errors] = loadBytes(bytes + std::string(1048576 - 1024, 'x'));
    EXPECT_TRUE(map.isEmpty());
    EXPECT_EQ(errors, "Error: File is MUCH larger than expected and doesn't match header. \n");
}

TEST(cDensityMapCCP4, MissingMapWordIsToldAndStopsNothing) {
    MapBytes file;
    file.mapWord = "PAM ";
    const auto [map, errors] = loadBytes(file.bytes());
    EXPECT_EQ(errors, "Error: 'MAP' string missing, not a valid CCP4 file \n");
    EXPECT_EQ(map.getDensity(2, 3, 4), 60.0);
}

TEST(cDensityMapCCP4, MapWordMayFollowBlanksOrStandInsideAWord) {
    MapBytes file;
    for (const char* word : {"  MAP", "xMAPx", "\n\tMAP"}) {
        file.mapWord = word;
        EXPECT_EQ(loadBytes(file.bytes()).errors, "");
    }
    file.mapWord = "MA P ";
    EXPECT_NE(loadBytes(file.bytes()).errors, "");
}

TEST(cDensityMapCCP4, AbsentFileThrowsAStringAndKeepsTheMap) {
    cDensityMapCCP4 map = loadBytes(MapBytes().bytes()).map;
    const TemporaryDirectory directory;
    const std::string name = directory.file("absent.map");
    try {
        map.load(name);
        FAIL() << "there is no such file";
    } catch (const std::string& text) {
        EXPECT_EQ(text, "Error: could not open CCP4 density map file " + name);
    }
    EXPECT_EQ(map.getDensity(2, 3, 4), 60.0);
}

TEST(cDensityMapCCP4, SecondLoadMakesNewVoxelsAndLeavesCopiesAlone) {
    const TemporaryDirectory directory;
    MapBytes file;
    cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    const cDensityMapCCP4 copy = map;
    file.voxels.assign(60, 0.25F);
    writeFile(directory.file("second.map"), file.bytes());
    map.load(directory.file("second.map"));
    EXPECT_EQ(map.getDensity(1, 1, 1), 0.25);
    EXPECT_EQ(copy.getDensity(0, 0, 1), 13.0);
}

TEST(cDensityMapCCP4, OriginWordsTakeNoPartButTellTheFrameShift) {
    // Seen to fail with the shift of the ORIGIN words added to the origin.
    MapBytes file;
    file.start = {1, 1, 1};
    const cDensityMapCCP4 plain = loadBytes(file.bytes()).map;
    EXPECT_EQ(plain.getFrameShiftFromOriginWords(), cVector3(0.0));
    file.originWords = {14.0F, 9.5F, -9.25F};
    const cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    EXPECT_EQ(map.m_grid, plain.m_grid);
    EXPECT_EQ(map.m_originWords, file.originWords);
    expectNear(map.getFrameShiftFromOriginWords(), cVector3(13.0, 7.5, -9.75), 1e-10);
}

TEST(cDensityMapCCP4, FrameShiftIsZeroWhereTheWordsAgreeOrAreNoNumbers) {
    MapBytes file;
    file.cell = {126.72F, 126.72F, 126.72F};
    file.sampling = {24, 24, 24};
    file.start = {-12, -12, -12};
    file.originWords = {-63.36F, -63.36F, -63.36F};
    EXPECT_EQ(loadBytes(file.bytes()).map.getFrameShiftFromOriginWords(), cVector3(0.0));
    file.originWords[1] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(loadBytes(file.bytes()).map.getFrameShiftFromOriginWords(), cVector3(0.0));
}

TEST(cDensityMapCCP4, SaveWritesTheHeaderFieldByField) {
    MapBytes file;
    file.start = {7, -8, 9};
    file.axisOrder = {2, 3, 1};
    file.angles = {90.0F, 95.0F, 90.0F};
    file.originWords = {1.0F, 2.0F, 3.0F};
    file.symmetryCount = 80;
    file.symmetryRecords = std::string(80, 'S');
    cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    map.m_mode = 7;
    const TemporaryDirectory directory;
    const std::string name = directory.file("out.map");
    writeFile(name, std::string(100000, 'x')); // truncated by the new map
    EXPECT_TRUE(map.save(name));
    EXPECT_EQ(map.m_mode, 2);

    MapBytes expected = file;
    expected.originWords = {0.0F, 0.0F, 0.0F};
    expected.symmetryCount = 0;
    expected.symmetryRecords.clear();
    EXPECT_EQ(readFile(name), expected.bytes());
}

TEST(cDensityMapCCP4, SavedMapReadsBackInTheSamePlace) {
    // Seen to fail with the one voxel put into the start words written.
    for (const bool reversed : {false, true}) {
        MapBytes file;
        file.reversed = reversed;
        file.start = {-3, 5, 2};
        file.sampling = {0, 0, 0};
        file.axisOrder = {3, 1, 2};
        cDensityMapCCP4 map = loadBytes(file.bytes()).map;
        const TemporaryDirectory directory;
        EXPECT_TRUE(map.save(directory.file("out.map")));
        cDensityMapCCP4 again;
        again.load(directory.file("out.map"));
        EXPECT_EQ(again.m_origin, map.m_origin);
        EXPECT_EQ(again.m_grid, map.m_grid);
        EXPECT_EQ(again.m_data->values(), map.m_data->values());
        EXPECT_EQ(again.m_sampling, map.m_sampling); // the defaults of the first reading
    }
}

TEST(cDensityMapCCP4, SaveWritesTheCornerOfALargerGrid) {
    // Seen to fail with the extents of the new grid written.
    MapBytes file;
    file.axisOrder = {3, 1, 2}; // nx, ny, nz = 4, 5, 3
    cDensityMapCCP4 map = loadBytes(file.bytes()).map;
    cGrid larger;
    larger.m_box = cBBox(cVector3(0.0), cVector3(7.0, 7.0, 3.0));
    larger.setSize(8, 8, 4);
    std::vector<double> values(larger.getTotalSize());
    for (std::size_t n = 0; n < values.size(); ++n) {
        values[n] = static_cast<double>(n);
    }
    map.loadFromValues(values, larger);
    const TemporaryDirectory directory;
    const std::string name = directory.file("out.map");
    EXPECT_TRUE(map.save(name));
    const std::string bytes = readFile(name);
    EXPECT_EQ(wordAt<std::int32_t>(bytes, 0), 3);
    EXPECT_EQ(wordAt<float>(bytes, 80), 255.0F); // extremes of the values, not of the corner
    const std::vector<float> voxels = voxelsOf(bytes);
    ASSERT_EQ(voxels.size(), 60U);
    for (int s = 0; s < 5; ++s) {
        for (int r = 0; r < 4; ++r) {
            for (int c = 0; c < 3; ++c) {
                EXPECT_EQ(voxels[static_cast<std::size_t>(12 * s + 3 * r + c)],
                          static_cast<float>(larger.indexToFlatIndex(r, s, c)));
            }
        }
    }
}

TEST(cDensityMapCCP4, SaveOfASmallerGridWritesNothing) {
    cDensityMapCCP4 map = loadBytes(MapBytes().bytes()).map;
    cGrid smaller;
    smaller.m_box = cBBox(cVector3(0.0), cVector3(1.0));
    smaller.setSize(3, 4, 4);
    map.loadFromValues(std::vector<double>(48, 1.0), smaller);
    const TemporaryDirectory directory;
    EXPECT_FALSE(map.save(directory.file("out.map")));
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.map")));
}

TEST(cDensityMapCCP4, SaveWithoutAnAxisPermutationWritesNothing) {
    cDensityMapCCP4 map = loadBytes(MapBytes().bytes()).map;
    map.m_axisOrder = {10, 11, 12};
    const TemporaryDirectory directory;
    EXPECT_FALSE(map.save(directory.file("out.map")));
    EXPECT_FALSE(std::filesystem::exists(directory.file("out.map")));
}

TEST(cDensityMapCCP4, SaveToAPlaceThatCannotBeOpenedIsSilent) {
    cDensityMapCCP4 map = loadBytes(MapBytes().bytes()).map;
    const TemporaryDirectory directory;
    const CapturedErrors errors;
    EXPECT_FALSE(map.save(directory.file("absent/out.map")));
    EXPECT_FALSE(map.save(directory.path()));
    EXPECT_EQ(errors.text(), "");
}

TEST(cDensityMapCCP4, SaveToAFullDeviceFails) {
    cDensityMapCCP4 map = loadBytes(MapBytes().bytes()).map;
    EXPECT_FALSE(map.save("/dev/full"));
}

TEST(cDensityMapCCP4, SaveWithoutExtentsWritesAHeaderOnly) {
    cDensityMapCCP4 map = numberedMap(cBBox(cVector3(0.0), cVector3(1.0)), 2, 2, 2);
    const TemporaryDirectory directory;
    EXPECT_TRUE(map.save(directory.file("out.map")));
    const std::string bytes = readFile(directory.file("out.map"));
    EXPECT_EQ(bytes.size(), 1016U);
    EXPECT_EQ(bytes.substr(208, 4), "MAP ");
}
