// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>

#include "tests/robustness/cases.h"

namespace {

// Byte offsets of a header.
constexpr std::size_t EXTENT = 0;
constexpr std::size_t MODE = 12;
constexpr std::size_t START = 16;
constexpr std::size_t SAMPLING = 28;
constexpr std::size_t CELL_LENGTHS = 40;
constexpr std::size_t CELL_ANGLES = 52;
constexpr std::size_t AXIS_ORDER = 64;
constexpr std::size_t SYMMETRY_BYTES = 92;
constexpr std::size_t MAP_WORD = 208;
constexpr std::size_t HEADER_SIZE = 1024;

constexpr float INFINITE = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
constexpr std::int32_t LOWEST = std::numeric_limits<std::int32_t>::lowest();

const std::string NO_MAP = "map.ccp4: the map holds no voxels";

using Spoil = std::function<void(Scene&)>;

Spoil bytes(const std::function<void(std::string&)>& change) {
    return [change](Scene& scene) {
        std::string content = scene.read("map.ccp4");
        change(content);
        scene.write("map.ccp4", content);
    };
}

Spoil ints(std::size_t offset, const std::vector<std::int32_t>& values) {
    return bytes([=](std::string& content) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            setIntAt(content, offset + 4 * i, values[i]);
        }
    });
}

Spoil floats(std::size_t offset, const std::vector<float>& values) {
    return bytes([=](std::string& content) {
        for (std::size_t i = 0; i < values.size(); ++i) {
            setFloatAt(content, offset + 4 * i, values[i]);
        }
    });
}

Spoil cutTo(std::size_t size) {
    return bytes([=](std::string& content) { content.resize(size); });
}

/// Symmetry bytes that the file does not have, and a file 40 bytes longer than its voxels.
Spoil symmetryWithSurplus(std::int32_t count) {
    return bytes([=](std::string& content) {
        setIntAt(content, SYMMETRY_BYTES, count);
        content.append(40, '\0');
    });
}

Spoil voxels(const std::function<double(double)>& change) {
    return [change](Scene& scene) {
        for (double& value : scene.map.values) {
            value = change(value);
        }
        scene.write("map.ccp4", ccp4Bytes(scene.map));
    };
}

void makeFlat(Scene& scene) {
    TestMap flat;
    flat.size = {20, 1, 18};
    scene.write("map.ccp4", ccp4Bytes(simulate(flat, scene.model, flat.largestVoxel())));
}

/// Extents whose product of bytes is 2^34, which is 0 in 32 bits, so that a bare header seems to be all of
/// it.
void wrapExtents(Scene& scene) {
    ints(EXTENT, {65536, 65536, 1})(scene);
    cutTo(HEADER_SIZE)(scene);
}

std::vector<Case> extentCases() {
    const std::string truncated = "Error: File appears truncated and doesn't match header.";
    const std::string larger = "Error: File is MUCH larger than expected and doesn't match header.";
    return {
        {"an extent of 0", ints(EXTENT, {0}), End::Stops, NO_MAP},
        {"a negative extent", ints(EXTENT, {-20}), End::Stops, NO_MAP},
        {"the lowest integer as an extent", ints(EXTENT, {LOWEST}), End::Stops, NO_MAP},
        {"an axis of one voxel", makeFlat, End::Stops, "map.ccp4: the map has one voxel only along y"},
        {"extents of 2000000000 each", ints(EXTENT, {2000000000, 2000000000, 2000000000}), End::Stops,
         "Error: File"},
        {"extents twice those of the voxels", ints(EXTENT, {40, 48, 36}), End::Stops, truncated},
        {"extents whose product is 0 in 32 bits, with a file that agrees", wrapExtents, End::Stops,
         truncated},
        {"extents whose product is negative in 32 bits", ints(EXTENT, {70000, 70000, 70000}), End::Stops,
         larger},
        {"a negative count of symmetry bytes where the file's length says 0", ints(SYMMETRY_BYTES, {-80}),
         End::Fits, ""},
        {"a negative count of symmetry bytes, and a surplus", symmetryWithSurplus(-80), End::Stops,
         truncated},
        {"2000000000 symmetry bytes where the file's length says 0", ints(SYMMETRY_BYTES, {2000000000}),
         End::Fits, ""},
        {"2000000000 symmetry bytes, and a surplus", symmetryWithSurplus(2000000000), End::Stops, truncated},
        {"2 MB behind the voxels", bytes([](std::string& content) { content.append(2000000, '\0'); }),
         End::Stops, larger},
        {"voxels cut short by a byte", bytes([](std::string& content) { content.pop_back(); }), End::Stops,
         truncated},
        {"a file of 0 bytes", cutTo(0), End::Stops, NO_MAP},
        {"a file of 1 byte", cutTo(1), End::Stops, NO_MAP},
        {"a file of 8 bytes", cutTo(8), End::Stops, NO_MAP},
        {"a file of 1023 bytes", cutTo(HEADER_SIZE - 1), End::Stops, truncated},
        {"a file of 1024 bytes", cutTo(HEADER_SIZE), End::Stops, truncated},
    };
}

std::vector<Case> geometryCases() {
    const std::string edge = "map.ccp4: the voxel size of the map along ";
    const std::string noOrder = "not a permutation of 1 2 3";
    return {
        {"the axis order 1 1 2", ints(AXIS_ORDER, {1, 1, 2}), End::Stops, noOrder},
        {"the axis order 0 1 2", ints(AXIS_ORDER, {0, 1, 2}), End::Stops, noOrder},
        {"the axis order 10 11 12", ints(AXIS_ORDER, {10, 11, 12}), End::Stops, noOrder},
        {"sampling 0 on one axis", ints(SAMPLING, {0}), End::Fits, ""},
        {"a negative sampling", ints(SAMPLING, {-20}), End::Stops, edge + "x"},
        {"the largest integer as start", ints(START, {std::numeric_limits<std::int32_t>::max()}), End::Fits,
         "the refinement moved no pose"},
        {"an angle alpha of 0", floats(CELL_ANGLES, {0.0F}), End::Stops, edge + "z"},
        {"an angle gamma of 0", floats(CELL_ANGLES + 8, {0.0F}), End::Stops, edge},
        {"an angle gamma of 180", floats(CELL_ANGLES + 8, {180.0F}), End::Stops, edge},
        {"three angles of 180", floats(CELL_ANGLES, {180.0F, 180.0F, 180.0F}), End::Stops, edge},
        {"angles that no cell has (10, 20, 150)", floats(CELL_ANGLES, {10.0F, 20.0F, 150.0F}), End::Stops,
         edge + "z"},
        {"an angle that is no number", floats(CELL_ANGLES, {NOT_A_NUMBER}), End::Stops, edge},
        {"a cell edge that is no number", floats(CELL_LENGTHS, {NOT_A_NUMBER}), End::Stops, edge + "x"},
        {"an infinite cell edge", floats(CELL_LENGTHS, {INFINITE}), End::Stops, edge + "x"},
        {"a negative cell edge", floats(CELL_LENGTHS, {-50.0F}), End::Stops, edge + "x"},
        {"a cell edge of 0", floats(CELL_LENGTHS, {0.0F}), End::Stops, edge + "x"},
        {"a cell edge of 1e30", floats(CELL_LENGTHS, {1e30F}), End::Stops, "leaves no density above the cut"},
        {"a cell edge of 1e-30", floats(CELL_LENGTHS, {1e-30F}), End::Stops,
         "the model's box has more than 2^31 nodes"},
    };
}

std::vector<Case> contentCases() {
    const std::string noScore = "map.ccp4: no voxel of any rotation scored above 0.0001";
    return {
        {"mode 0", ints(MODE, {0}), End::Stops, "only mode 2, 32-bit floats, can be read"},
        {"no MAP word", bytes([](std::string& content) { content.replace(MAP_WORD, 4, "XXX "); }), End::Fits,
         "Error: 'MAP' string missing, not a valid CCP4 file"},
        {"gzip", bytes([](std::string& content) {
             content.replace(0, 3, "\x1f\x8b\x08");
             content[13] = '\x7f';
         }),
         End::Stops, "this is a gzip file"},
        {"a voxel that is no number", floats(HEADER_SIZE + 400, {NOT_A_NUMBER}), End::Stops,
         "map.ccp4: the map has 1 voxels that are not finite numbers"},
        {"an infinite voxel", floats(HEADER_SIZE + 400, {-INFINITE}), End::Stops,
         "map.ccp4: the map has 1 voxels that are not finite numbers"},
        {"a voxel of 3e38", floats(HEADER_SIZE + 4000, {3e38F}), End::Fits, ""},
        {"all voxels 0", voxels([](double) { return 0.0; }), End::Fits, noScore},
        {"all voxels 1", voxels([](double) { return 1.0; }), End::Fits, ""},
        {"all voxels negative", voxels([](double value) { return -1.0 - value; }), End::Fits, noScore},
    };
}

} // namespace

std::vector<Case> mapCases() {
    std::vector<Case> all = extentCases();
    for (const auto& part : {geometryCases(), contentCases()}) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}
