// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_MAPHEADER_H
#define SELVANE_FORMATS_MAPHEADER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// How a voxel is stored: the numbers are those of the MODE word.
enum class VoxelMode { SignedByte = 0, Int16 = 1, Float32 = 2, Uint16 = 6, Float16 = 12 };

/// What the header of a CCP4 or MRC file says (Cheng et al., J. Struct. Biol. 192, 146-150, 2015), judged as
/// far as it can be without the rest of the file. Words that programs fill with rubbish are kept as they are.
struct MapHeader {
    static constexpr std::size_t length = 1024; ///< bytes

    bool isSwapped = false; ///< the other byte order than this machine's
    VoxelMode mode = VoxelMode::Float32;
    std::array<std::size_t, 3> extents{};   ///< columns, rows, sections; each at least 1
    std::array<std::int32_t, 3> start{};    ///< of columns, rows, sections, voxels
    std::array<int, 3> axes{};              ///< of columns, rows, sections: 0 is x, 1 y, 2 z; a permutation
    std::array<std::int32_t, 3> sampling{}; ///< intervals along the cell's edges a, b, c
    std::array<float, 3> cell{};            ///< edges, angstrom
    std::array<float, 3> angles{};          ///< alpha, beta, gamma, degrees
    std::array<float, 3> origin{};          ///< ORIGIN words, x, y, z, angstrom
    std::int32_t spaceGroup = 0;
    std::int32_t extendedBytes =
        0; ///< NSYMBT: what lies between this header and the voxels, as the file says

    /// Bytes of one voxel in the file.
    std::size_t voxelSize() const;

    /// Bytes of all voxels in the file; the highest number where they are more than it.
    std::uint64_t voxelBytes() const;

    /// The extents as a text, "24 x 22 x 20".
    std::string extentsText() const;
};

/// Reads the 1024 bytes. The byte order is the one in which mode, extents and axes make sense, for the stamp
/// that should tell it is often missing or wrong.
/// @throws InputError with the reason and the remedy for what is no map or one of a kind that is not read
MapHeader parseMapHeader(const char* bytes, const std::string& path);

#endif
