// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DENSITYREADER_CCP4LAYOUT_H
#define SELVANE_DENSITYREADER_CCP4LAYOUT_H

#include <array>
#include <cstddef>
#include <optional>

/// What the reader and the writer of CCP4 maps share: the places of the header fields and of the voxels.
namespace ccp4 {

constexpr int headerSize = 1024;
constexpr int floatMode = 2;

/// Byte offsets in the header; a field is 4 bytes or several of them.
enum Offset : std::size_t {
    EXTENT = 0,
    MODE = 12,
    START = 16,
    SAMPLING = 28,
    CELL_LENGTHS = 40,
    CELL_ANGLES = 52,
    AXIS_ORDER = 64,
    MIN_DENSITY = 76,
    MAX_DENSITY = 80,
    MEAN_DENSITY = 84,
    SPACE_GROUP = 88,
    SYMMETRY_BYTES = 92,
    ORIGIN_WORDS = 196,
    MAP_WORD = 208,
    UNWRITTEN = 1016
};

/// For each axis x, y, z whether column (0), row (1) or section (2) runs along it; nothing when the axis
/// order is no permutation of 1, 2, 3.
/// @param axisOrder  the axis, 1 to 3, along which column, row and section run
std::optional<std::array<int, 3>> invertAxisOrder(const std::array<int, 3>& axisOrder);

/// The sizes (nx, ny, nz) of a map with the given extents in columns, rows, sections.
std::array<int, 3> toAxes(const std::array<int, 3>& perCrs, const std::array<int, 3>& xyz2crs);

/// The distances in a voxel array of shape (nx, ny, nz), z fastest, between neighbouring columns, rows and
/// sections.
std::array<std::size_t, 3> crsStrides(const std::array<std::size_t, 3>& shape,
                                      const std::array<int, 3>& xyz2crs);

} // namespace ccp4

#endif
