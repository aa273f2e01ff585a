// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>

#include "tests/robustness/cases.h"

namespace {

// Byte offsets of a header.
constexpr std::size_t extentOffset = 0;
constexpr std::size_t modeOffset = 12;
constexpr std::size_t startOffset = 16;
constexpr std::size_t samplingOffset = 28;
constexpr std::size_t cellLengthsOffset = 40;
constexpr std::size_t cellAnglesOffset = 52;
constexpr std::size_t axisOrderOffset = 64;
constexpr std::size_t symmetryBytesOffset = 92;
constexpr std::size_t mapWordOffset = 208;
constexpr std::size_t headerSize = 1024;

constexpr float infinite = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr std::int32_t lowest = std::numeric_limits<std::int32_t>::lowest();

const std::string noMap = "map.ccp4: the map holds no voxels";

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
        setIntAt(content, symmetryBytesOffset, count);
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
    ints(extentOffset, {65536, 65536, 1})(scene);
    cutTo(headerSize)(scene);
}

std::vector<Case> extentCases() {
    const std::string truncated = "Error: File appears truncated and doesn't match header.";
    const std::string larger = "Error: File is MUCH larger than expected and doesn't match header.";
    return {
        {"an extent of 0", ints(extentOffset, {0}), End::Stops, noMap},
        {"a negative extent", ints(extentOffset, {-20}), End::Stops, noMap},
        {"the lowest integer as an extent", ints(extentOffset, {lowest}), End::Stops, noMap},
        {"an axis of one voxel", makeFlat, End::Stops, "map.ccp4: the map has one voxel only along y"},
        {"extents of 2000000000 each", ints(extentOffset, {2000000000, 2000000000, 2000000000}), End::Stops,
         "Error: File"},
        {"extents twice those of the voxels", ints(extentOffset, {40, 48, 36}), End::Stops, truncated},
        {"extents whose product is 0 in 32 bits, with a file that agrees", wrapExtents, End::Stops,
         truncated},
        {"extents whose product is negative in 32 bits", ints(extentOffset, {70000, 70000, 70000}),
         End::Stops, larger},
        {"a negative count of symmetry bytes where the file's length says 0",
         ints(symmetryBytesOffset, {-80}), End::Fits, ""},
        {"a negative count of symmetry bytes, and a surplus", symmetryWithSurplus(-80), End::Stops,
         truncated},
        {"2000000000 symmetry bytes where the file's length says 0", ints(symmetryBytesOffset, {2000000000}),
         End::Fits, ""},
        {"2000000000 symmetry bytes, and a surplus", symmetryWithSurplus(2000000000), End::Stops, truncated},
        {"2 MB behind the voxels", bytes([](std::string& content) { content.append(2000000, '\0'); }),
         End::Stops, larger},
        {"voxels cut short by a byte", bytes([](std::string& content) { content.pop_back(); }), End::Stops,
         truncated},
        {"a file of 0 bytes", cutTo(0), End::Stops, noMap},
        {"a file of 1 byte", cutTo(1), End::Stops, noMap},
        {"a file of 8 bytes", cutTo(8), End::Stops, noMap},
        {"a file of 1023 bytes", cutTo(headerSize - 1), End::Stops, truncated},
        {"a file of 1024 bytes", cutTo(headerSize), End::Stops, truncated},
    };
}

std::vector<Case> geometryCases() {
    const std::string edge = "map.ccp4: the voxel size of the map along ";
    const std::string noOrder = "not a permutation of 1 2 3";
    return {
        {"the axis order 1 1 2", ints(axisOrderOffset, {1, 1, 2}), End::Stops, noOrder},
        {"the axis order 0 1 2", ints(axisOrderOffset, {0, 1, 2}), End::Stops, noOrder},
        {"the axis order 10 11 12", ints(axisOrderOffset, {10, 11, 12}), End::Stops, noOrder},
        {"sampling 0 on one axis", ints(samplingOffset, {0}), End::Fits, ""},
        {"a negative sampling", ints(samplingOffset, {-20}), End::Stops, edge + "x"},
        {"the largest integer as start", ints(startOffset, {std::numeric_limits<std::int32_t>::max()}),
         End::Fits, "the refinement moved no pose"},
        {"an angle alpha of 0", floats(cellAnglesOffset, {0.0F}), End::Stops, edge + "z"},
        {"an angle gamma of 0", floats(cellAnglesOffset + 8, {0.0F}), End::Stops, edge},
        {"an angle gamma of 180", floats(cellAnglesOffset + 8, {180.0F}), End::Stops, edge},
        {"three angles of 180", floats(cellAnglesOffset, {180.0F, 180.0F, 180.0F}), End::Stops, edge},
        {"angles that no cell has (10, 20, 150)", floats(cellAnglesOffset, {10.0F, 20.0F, 150.0F}),
         End::Stops, edge + "z"},
        {"an angle that is no number", floats(cellAnglesOffset, {notANumber}), End::Stops, edge},
        {"a cell edge that is no number", floats(cellLengthsOffset, {notANumber}), End::Stops, edge + "x"},
        {"an infinite cell edge", floats(cellLengthsOffset, {infinite}), End::Stops, edge + "x"},
        {"a negative cell edge", floats(cellLengthsOffset, {-50.0F}), End::Stops, edge + "x"},
        {"a cell edge of 0", floats(cellLengthsOffset, {0.0F}), End::Stops, edge + "x"},
        {"a cell edge of 1e30", floats(cellLengthsOffset, {1e30F}), End::Stops,
         "leaves no density above the cut"},
        {"a cell edge of 1e-30", floats(cellLengthsOffset, {1e-30F}), End::Stops,
         "the model's box has more than 2^31 nodes"},
    };
}

std::vector<Case> contentCases() {
    const std::string noScore = "map.ccp4: no voxel of any rotation scored above 0.0001";
    return {
        {"mode 0", ints(modeOffset, {0}), End::Stops, "only mode 2, 32-bit floats, can be read"},
        {"no MAP word", bytes([](std::string& content) { content.replace(mapWordOffset, 4, "XXX "); }),
         End::Fits, "Error: 'MAP' string missing, not a valid CCP4 file"},
        {"gzip", bytes([](std::string& content) {
             content.replace(0, 3, "\x1f\x8b\x08");
             content[13] = '\x7f';
         }),
         End::Stops, "this is a gzip file"},
        {"a voxel that is no number", floats(headerSize + 400, {notANumber}), End::Stops,
         "map.ccp4: the map has 1 voxels that are not finite numbers"},
        {"an infinite voxel", floats(headerSize + 400, {-infinite}), End::Stops,
         "map.ccp4: the map has 1 voxels that are not finite numbers"},
        {"a voxel of 3e38", floats(headerSize + 4000, {3e38F}), End::Fits, ""},
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
