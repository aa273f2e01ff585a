// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/ccp4.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "examples/files.h"

namespace example {
namespace {

constexpr std::size_t headerBytes = 1024;
constexpr std::size_t wordBytes = 4;
constexpr std::size_t labelBytes = 80;

/// Offsets of the header's words, in bytes.
namespace offset {
constexpr std::size_t extents = 0;
constexpr std::size_t mode = 12;
constexpr std::size_t starts = 16;
constexpr std::size_t sampling = 28;
constexpr std::size_t cellLengths = 40;
constexpr std::size_t cellAngles = 52;
constexpr std::size_t axisOrder = 64;
constexpr std::size_t minimum = 76;
constexpr std::size_t maximum = 80;
constexpr std::size_t mean = 84;
constexpr std::size_t spaceGroup = 88;
constexpr std::size_t mapWord = 208;
constexpr std::size_t machineStamp = 212;
constexpr std::size_t deviation = 216;
constexpr std::size_t labelCount = 220;
constexpr std::size_t labels = 224;
} // namespace offset

void putWord(std::string& bytes, std::size_t at, std::uint32_t word) {
    for (std::size_t b = 0; b < wordBytes; ++b) {
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
    putFloat(bytes, offset::minimum, *least);
    putFloat(bytes, offset::maximum, *greatest);
    putFloat(bytes, offset::mean, sum / static_cast<double>(values.size()));
    putFloat(bytes, offset::deviation, standardDeviation(values));
}

void putHeader(std::string& bytes, const Map& map) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::size_t word = wordBytes * axis;
        const int extent = map.lattice.extents[axis];
        putInt(bytes, offset::extents + word, extent);
        putInt(bytes, offset::starts + word, map.lattice.start[axis]);
        putInt(bytes, offset::sampling + word, extent);
        putFloat(bytes, offset::cellLengths + word, extent * map.lattice.spacing);
        putFloat(bytes, offset::cellAngles + word, 90.0);
        putInt(bytes, offset::axisOrder + word, static_cast<int>(axis) + 1);
    }
    putInt(bytes, offset::mode, 2);
    putInt(bytes, offset::spaceGroup, 1);
    putStatistics(bytes, map.values);
    bytes.replace(offset::mapWord, wordBytes, "MAP ");
    bytes.replace(offset::machineStamp, wordBytes, std::string("\x44\x44\0\0", wordBytes));
    putInt(bytes, offset::labelCount, 1);
    std::string label = "Simulated example map";
    label.resize(labelBytes, ' ');
    bytes.replace(offset::labels, labelBytes, label);
}

} // namespace

std::string ccp4Bytes(const Map& map) {
    std::string bytes(headerBytes + wordBytes * map.values.size(), '\0');
    putHeader(bytes, map);
    for (std::size_t i = 0; i < map.values.size(); ++i) {
        putFloat(bytes, headerBytes + wordBytes * i, static_cast<double>(map.values[i]));
    }
    return bytes;
}

void writeCcp4(const std::string& path, const Map& map) {
    writeFile(path, ccp4Bytes(map));
}

} // namespace example
