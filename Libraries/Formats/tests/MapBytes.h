// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_TESTS_MAPBYTES_H
#define SELVANE_FORMATS_TESTS_MAPBYTES_H

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

/// A small CCP4 or MRC file put together byte by byte. Whatever a header can say, true or not, can be set;
/// a voxel's value tells its place. Shares no code with the reader.
struct MapBytes {
    std::array<int, 3> size{3, 4, 5};  ///< along x, y, z
    std::array<int, 3> order{1, 2, 3}; ///< of columns, rows, sections: 1 is x
    std::array<int, 3> start{0, 0, 0}; ///< along x, y, z
    std::array<int, 3> sampling{3, 4, 5};
    std::array<float, 3> cell{6.0F, 12.0F, 20.0F}; ///< so a voxel measures 2 x 3 x 4
    std::array<float, 3> angles{90.0F, 90.0F, 90.0F};
    std::array<float, 3> origin{0.0F, 0.0F, 0.0F};
    int mode = 2;
    bool isBigEndian = false;
    std::string extended; ///< bytes between header and voxels
    std::string tail;     ///< bytes behind the voxels
    /// Of voxel (i, j, k), instead of the value that tells its place. Modes other than 2 round it to a whole
    /// number, which for mode 12 is to lie between -2048 and 2048.
    std::function<double(int, int, int)> field;

    /// Of voxel (i, j, k): fits a signed byte, and every voxel of up to 3 x 4 x 5 has its own.
    static int valueAt(int i, int j, int k) { return 20 * i + 5 * j + k - 29; }

    std::string bytes() const {
        std::string file = header() + extended;
        std::array<int, 3> at{};
        const auto extent = [this](std::size_t i) { return size[static_cast<std::size_t>(order[i] - 1)]; };
        for (int s = 0; s < extent(2); ++s) {
            for (int r = 0; r < extent(1); ++r) {
                for (int c = 0; c < extent(0); ++c) {
                    at[static_cast<std::size_t>(order[0] - 1)] = c;
                    at[static_cast<std::size_t>(order[1] - 1)] = r;
                    at[static_cast<std::size_t>(order[2] - 1)] = s;
                    file += voxel(at[0], at[1], at[2]);
                }
            }
        }
        return file + tail;
    }

    std::string header() const {
        std::string bytes(1024, '\0');
        for (std::size_t i = 0; i < 3; ++i) {
            const auto axis = static_cast<std::size_t>(order[i] - 1);
            setInt(bytes, 1 + i, size[axis]);
            setInt(bytes, 5 + i, start[axis]);
            setInt(bytes, 8 + i, sampling[i]);
            setFloat(bytes, 11 + i, cell[i]);
            setFloat(bytes, 14 + i, angles[i]);
            setInt(bytes, 17 + i, order[i]);
            setFloat(bytes, 50 + i, origin[i]);
        }
        setInt(bytes, 4, mode);
        setInt(bytes, 23, 1);
        setInt(bytes, 24, static_cast<int>(extended.size()));
        bytes.replace(208, 4, "MAP ");
        bytes.replace(212, 4, isBigEndian ? std::string("\x11\x11\0\0", 4) : std::string("DD\0\0", 4));
        return bytes;
    }

    /// Sets a word, counted from 1 as the format's description does.
    void setInt(std::string& file, std::size_t word, int value) const {
        file.replace(4 * (word - 1), 4, inOrder(static_cast<std::uint32_t>(value), 4));
    }
    void setFloat(std::string& file, std::size_t word, float value) const {
        file.replace(4 * (word - 1), 4, inOrder(bitsOf(value), 4));
    }

private:
    static std::uint32_t bitsOf(float value) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        return bits;
    }

    std::string inOrder(std::uint32_t bits, int count) const {
        std::string bytes;
        for (int i = 0; i < count; ++i) {
            const int shift = 8 * (isBigEndian ? count - 1 - i : i);
            bytes += static_cast<char>((bits >> shift) & 0xFFU);
        }
        return bytes;
    }

    std::string voxel(int i, int j, int k) const {
        const int value = field ? static_cast<int>(std::lround(field(i, j, k))) : valueAt(i, j, k);
        if (field && mode == 1) {
            return inOrder(static_cast<std::uint32_t>(value), 2);
        }
        if (field && mode == 2) {
            return inOrder(bitsOf(static_cast<float>(field(i, j, k))), 4);
        }
        switch (mode) {
        case 0:
            return inOrder(static_cast<std::uint32_t>(value), 1);
        case 1:
            return inOrder(static_cast<std::uint32_t>(value * 100), 2);
        case 6:
            return inOrder(static_cast<std::uint32_t>(value + 50000), 2);
        case 12:
            return inOrder(halfOf(value), 2);
        default:
            return inOrder(bitsOf(static_cast<float>(value) + 0.25F), 4);
        }
    }

    /// A whole number as a 16-bit float: sign, exponent with bias 15, fraction of 10 bits.
    static std::uint32_t halfOf(int value) {
        std::uint32_t size = static_cast<std::uint32_t>(value < 0 ? -value : value);
        if (size == 0) {
            return 0;
        }
        std::uint32_t exponent = 15 + 10;
        while (size < 1024) {
            size *= 2;
            --exponent;
        }
        return (value < 0 ? 0x8000U : 0U) | (exponent << 10U) | (size - 1024);
    }
};

#endif
