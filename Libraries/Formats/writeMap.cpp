// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/writeMap.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include "IO/ResultFile.h"

namespace {

constexpr std::size_t headerWords = 256;
constexpr std::size_t tile = 16; // voxels; a tile of tile x tile floats is turned within the nearest cache

using Header = std::array<std::uint32_t, headerWords>;

void put(Header& header, std::size_t word, std::int32_t value) {
    header[word] = static_cast<std::uint32_t>(value);
}

void put(Header& header, std::size_t word, double value) {
    const auto number = static_cast<float>(value);
    std::memcpy(&header[word], &number, sizeof number);
}

void put(Header& header, std::size_t word, const char* text) {
    std::memcpy(&header[word], text, std::strlen(text));
}

void putStatistics(Header& header, const std::vector<float>& values) {
    const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
    double sum = 0.0;
    for (const float value : values) {
        sum += static_cast<double>(value);
    }
    const double mean = sum / static_cast<double>(values.size());
    double squares = 0.0;
    for (const float value : values) {
        squares += (static_cast<double>(value) - mean) * (static_cast<double>(value) - mean);
    }
    constexpr std::size_t extremesWord = 19;
    constexpr std::size_t deviationWord = 54;
    put(header, extremesWord, static_cast<double>(*least));
    put(header, extremesWord + 1, static_cast<double>(*greatest));
    put(header, extremesWord + 2, mean);
    put(header, deviationWord, std::sqrt(squares / static_cast<double>(values.size())));
}

/// The start words that put the first voxel where it stands; all 0 where no whole numbers do.
std::array<std::int32_t, 3> startOf(const DensityMap& map) {
    constexpr double whole = 1e-3; // of a voxel
    constexpr double highest = std::numeric_limits<std::int32_t>::max();
    std::array<std::int32_t, 3> start{};
    for (int axis = 0; axis < 3; ++axis) {
        const double voxels = map.origin[axis] / map.voxel[axis];
        const double nearest = std::round(voxels);
        if (!(std::fabs(voxels - nearest) <= whole && std::fabs(nearest) < highest)) {
            return {};
        }
        start[static_cast<std::size_t>(axis)] = static_cast<std::int32_t>(nearest);
    }
    return start;
}

Header headerOf(const DensityMap& map) {
    constexpr std::int32_t floatMode = 2;
    constexpr std::int32_t version = 20140; // of the format
    Header header{};
    const std::array<std::int32_t, 3> start = startOf(map);
    put(header, 3, floatMode);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto count = static_cast<std::int32_t>(map.size[axis]);
        const int component = static_cast<int>(axis);
        put(header, axis, count);
        put(header, 4 + axis, start[axis]);
        put(header, 7 + axis, count);
        put(header, 10 + axis, count * map.voxel[component]);
        put(header, 13 + axis, 90.0);
        put(header, 16 + axis, component + 1);
        put(header, 49 + axis, map.origin[component]);
    }
    put(header, 22, std::int32_t{1}); // space group
    put(header, 27, version);
    put(header, 52, "MAP ");
    constexpr std::uint16_t one = 1;
    const bool isLittle = *reinterpret_cast<const char*>(&one) == 1;
    put(header, 53, isLittle ? "DD" : "\x11\x11");
    putStatistics(header, map.values);
    put(header, 55, std::int32_t{1}); // labels
    std::memset(&header[56], ' ', sizeof header - 56 * sizeof header[0]);
    put(header, 56, "Selvane");
    return header;
}

/// Sections first ... first + count - 1, x fastest.
void fillSections(const DensityMap& map, std::size_t first, std::size_t count, std::vector<float>& sections) {
    const auto [nx, ny, nz] = map.size;
    for (std::size_t j = 0; j < ny; ++j) {
        for (std::size_t i = 0; i < nx; i += tile) {
            const std::size_t columns = std::min(tile, nx - i);
            float turned[tile][tile];
            for (std::size_t c = 0; c < columns; ++c) {
                const float* from = map.values.data() + map.index(i + c, j, first);
                for (std::size_t k = 0; k < count; ++k) {
                    turned[k][c] = from[k];
                }
            }
            for (std::size_t k = 0; k < count; ++k) {
                std::memcpy(&sections[(k * ny + j) * nx + i], turned[k], columns * sizeof(float));
            }
        }
    }
}

bool writeAll(std::FILE* stream, const DensityMap& map) {
    const Header header = headerOf(map);
    if (std::fwrite(header.data(), sizeof header, 1, stream) != 1) {
        return false;
    }
    const std::size_t inSection = map.size[0] * map.size[1];
    std::vector<float> sections(inSection * std::min(tile, map.size[2]));
    for (std::size_t first = 0; first < map.size[2]; first += tile) {
        const std::size_t count = std::min(tile, map.size[2] - first);
        fillSections(map, first, count, sections);
        if (std::fwrite(sections.data(), sizeof(float), inSection * count, stream) != inSection * count) {
            return false;
        }
    }
    return true;
}

void check(const DensityMap& map) {
    constexpr std::size_t longest = std::numeric_limits<std::int32_t>::max();
    std::size_t count = 1;
    for (const std::size_t extent : map.size) {
        if (extent < 1 || extent > longest || __builtin_mul_overflow(count, extent, &count)) {
            throw std::invalid_argument("a map of " + std::to_string(extent) + " voxels along an axis");
        }
    }
    if (count != map.values.size()) {
        throw std::invalid_argument("a map of " + std::to_string(count) + " voxels has " +
                                    std::to_string(map.values.size()) + " values");
    }
}

} // namespace

void writeMap(const std::string& path, const DensityMap& map) {
    check(map);
    ResultFile file(path);
    if (file.stream() == nullptr || !writeAll(file.stream(), map) || !file.commit()) {
        throw std::runtime_error(path + ": cannot be written: " + std::strerror(errno) +
                                 "; make room, permit writing, or give another folder");
    }
}
