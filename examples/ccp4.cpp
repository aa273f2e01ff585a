// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/ccp4.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "examples/files.h"

namespace example {
namespace {

constexpr std::size_t HEADER_BYTES = 1024;
constexpr std::size_t WORD_BYTES = 4;
constexpr std::size_t LABEL_BYTES = 80;

/// Offsets of the header's words, in bytes.
namespace offset {
constexpr std::size_t EXTENTS = 0;
constexpr std::size_t MODE = 12;
constexpr std::size_t STARTS = 16;
constexpr std::size_t SAMPLING = 28;
constexpr std::size_t CELL_LENGTHS = 40;
constexpr std::size_t CELL_ANGLES = 52;
constexpr std::size_t AXIS_ORDER = 64;
constexpr std::size_t MINIMUM = 76;
constexpr std::size_t MAXIMUM = 80;
constexpr std::size_t MEAN = 84;
constexpr std::size_t SPACE_GROUP = 88;
constexpr std::size_t MAP_WORD = 208;
constexpr std::size_t MACHINE_STAMP = 212;
constexpr std::size_t DEVIATION = 216;
constexpr std::size_t LABEL_COUNT = 220;
constexpr std::size_t LABELS = 224;
} // namespace offset

void putWord(std::string& bytes, std::size_t at, std::uint32_t word) {
    for (std::size_t b = 0; b < WORD_BYTES; ++b) {
        bytes[at + b] = static_cast<char>(static_cast<unsigned char>(word >> (8 * b)));
    }
}

void putInt(std::string& bytes, std::size_t at, int value) {
    putWord(bytes, at, static_cast<std::uint32_t>(value));
}

void putFloat(std::string& bytes, std::size_t at, double value) {
    const auto single = static_cast<float>(value);
    std::uint32_t word = 0;
    static_assert(sizeof single == sizeof word, "CCP4 needs 32-bit floats");
    std::memcpy(&word, &single, sizeof word);
    putWord(bytes, at, word);
}

void putStatistics(std::string& bytes, const std::vector<float>& voxels) {
    const std::vector<double> values(voxels.begin(), voxels.end());
    double sum = 0.0;
    for (const double value : values) {
        sum += value;
    }
    const auto [least, greatest] = std::minmax_element(values.begin(), values.end());
    putFloat(bytes, offset::MINIMUM, *least);
    putFloat(bytes, offset::MAXIMUM, *greatest);
    putFloat(bytes, offset::MEAN, sum / static_cast<double>(values.size()));
    putFloat(bytes, offset::DEVIATION, standardDeviation(values));
}

void putHeader(std::string& bytes, const Map& map) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t word = WORD_BYTES * axis;
        const int extent = map.lattice.extents[axis];
        putInt(bytes, offset::EXTENTS + word, extent);
        putInt(bytes, offset::STARTS + word, map.lattice.start[axis]);
        putInt(bytes, offset::SAMPLING + word, extent);
        putFloat(bytes, offset::CELL_LENGTHS + word, extent * map.lattice.spacing);
        putFloat(bytes, offset::CELL_ANGLES + word, 90.0);
        putInt(bytes, offset::AXIS_ORDER + word, static_cast<int>(axis) + 1);
    }
    putInt(bytes, offset::MODE, 2);
    putInt(bytes, offset::SPACE_GROUP, 1);
    putStatistics(bytes, map.values);
    bytes.replace(offset::MAP_WORD, WORD_BYTES, "MAP ");
    bytes.replace(offset::MACHINE_STAMP, WORD_BYTES, std::string("\x44\x44\0\0", WORD_BYTES));
    putInt(bytes, offset::LABEL_COUNT, 1);
    std::string label = "Simulated example map";
    label.resize(LABEL_BYTES, ' ');
    bytes.replace(offset::LABELS, LABEL_BYTES, label);
}

} // namespace

std::string ccp4Bytes(const Map& map) {
    std::string bytes(HEADER_BYTES + WORD_BYTES * map.values.size(), '\0');
    putHeader(bytes, map);
    for (std::size_t i = 0; i < map.values.size(); ++i) {
        putFloat(bytes, HEADER_BYTES + WORD_BYTES * i, static_cast<double>(map.values[i]));
    }
    return bytes;
}

void writeCcp4(const std::string& path, const Map& map) {
    writeFile(path, ccp4Bytes(map));
}

} // namespace example
