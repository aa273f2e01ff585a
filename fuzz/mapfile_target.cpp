// SPDX-License-Identifier: GPL-3.0-or-later
// The reader of maps of every kind, plain and gzipped, and the writer.
#include <algorithm>
#include <cmath>
#include <optional>

#include "Formats/readMap.h"
#include "Formats/tests/gzipBytes.h"
#include "Formats/writeMap.h"
#include "IO/openInput.h"
#include "fuzz/fuzzTarget.h"

namespace {

/// The map, or nothing if it is refused in good order.
std::optional<MapFile> readOrRefuse(const std::string& path) {
    try {
        return readMap(path);
    } catch (const InputError& error) {
        require(!error.reason().empty() && error.isThere(), "a refusal has a reason");
        require(std::string(error.what()) == path + ": " + error.reason(), "a refusal names the file");
        return std::nullopt;
    }
}

bool isNear(const cVector3& a, const cVector3& b) {
    constexpr double floatError = 1e-6;
    return (a - b).norm() <= floatError * (1.0 + a.norm());
}

bool isSame(const DensityMap& a, const DensityMap& b) {
    return a.size == b.size && a.values == b.values && isNear(a.origin, b.origin) && isNear(a.voxel, b.voxel);
}

void checkMap(const MapFile& file, std::size_t inputSize) {
    constexpr std::size_t mostFolded = 1100;
    constexpr std::size_t mostGrowth = 8; // of a skew cell
    const DensityMap& map = file.map;
    require(map.size[0] * map.size[1] * map.size[2] == map.values.size(), "a value for each voxel");
    require(!map.values.empty(), "a voxel at least");
    require(map.values.size() <= inputSize * mostFolded * mostGrowth, "the length bears out the voxels");
    require(
        std::all_of(map.values.begin(), map.values.end(), [](float value) { return std::isfinite(value); }),
        "all values are finite");
    for (int axis = 0; axis < 3; ++axis) {
        require(map.voxel[axis] > 0.0 && std::isfinite(map.voxel[axis]), "a voxel has a size");
        require(std::isfinite(map.origin[axis]), "a map has a place");
    }
    for (const std::string& remark : file.remarks) {
        require(!remark.empty() && remark.back() == '.', "a remark is a sentence");
    }
}

/// What is written reads back, whatever the header said.
void checkRoundTrip(const DensityMap& map, const std::string& path) {
    constexpr double smallest = 1e-3; // angstrom; a file of a smaller voxel is not believed
    writeMap(path, map);
    const std::optional<MapFile> again = readOrRefuse(path);
    require(again.has_value(), "a map that was written can be read");
    require(again->map.size == map.size && again->map.values == map.values, "the voxels come back");
    const bool isMeasurable = std::min({map.voxel.x, map.voxel.y, map.voxel.z}) > smallest;
    require(!isMeasurable || isSame(again->map, map), "the place comes back");
}

bool isGzip(const std::string& bytes) {
    return bytes.compare(0, 2, "\x1f\x8b") == 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchDirectory scratch;
    constexpr std::size_t mostWritten = 100000; // voxels; more would take the time of many inputs
    const std::optional<MapFile> file = readOrRefuse(scratch.write("input", data, size));
    if (file) {
        checkMap(*file, size);
        if (file->map.values.size() <= mostWritten) {
            checkRoundTrip(file->map, scratch.path("again"));
        }
    }
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    if (!isGzip(bytes)) {
        const std::string packed = gzipped(bytes, 1);
        const std::optional<MapFile> unpacked = readOrRefuse(
            scratch.write("packed", reinterpret_cast<const std::uint8_t*>(packed.data()), packed.size()));
        require(file.has_value() == unpacked.has_value(), "gzip does not decide what is a map");
        require(!file || isSame(file->map, unpacked->map), "gzip does not change a map");
    }
    return 0;
}
