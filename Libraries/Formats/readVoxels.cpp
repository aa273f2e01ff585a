// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/readVoxels.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "Formats/halfFloat.h"

namespace {

/// The voxels are turned from the file's order into the map's by tiles of so many columns and so many steps
/// along z. A run along z fills some cache lines, a run of columns is read whole, and the tile stays in the
/// nearest cache, so that neither side is touched again once it has left it.
constexpr std::size_t tileColumns = 64;
constexpr std::size_t tileDepth = 32;

/// Sections are read together up to so many bytes, or one if that is more.
constexpr std::size_t largestBlock = std::size_t{32} << 20U;

/// Turns voxels of the file into floats.
/// @return how many were not finite and became 0
using Decode = std::size_t (*)(const char* from, float* to, std::size_t count);

std::uint8_t swapped(std::uint8_t bits) {
    return bits;
}
std::uint16_t swapped(std::uint16_t bits) {
    return __builtin_bswap16(bits);
}
std::uint32_t swapped(std::uint32_t bits) {
    return __builtin_bswap32(bits);
}

struct AsSignedByte {
    using Bits = std::uint8_t;
    static float value(Bits bits) { return static_cast<float>(static_cast<std::int8_t>(bits)); }
    static bool isFinite(Bits) { return true; }
};

struct AsInt16 {
    using Bits = std::uint16_t;
    static float value(Bits bits) { return static_cast<float>(static_cast<std::int16_t>(bits)); }
    static bool isFinite(Bits) { return true; }
};

struct AsUint16 {
    using Bits = std::uint16_t;
    static float value(Bits bits) { return static_cast<float>(bits); }
    static bool isFinite(Bits) { return true; }
};

struct AsFloat16 {
    using Bits = std::uint16_t;
    static float value(Bits bits) { return halfToFloat(bits); }
    static bool isFinite(Bits bits) { return (bits & 0x7C00U) != 0x7C00U; }
};

struct AsFloat32 {
    using Bits = std::uint32_t;
    static float value(Bits bits) {
        float value = 0.0F;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    static bool isFinite(Bits bits) { return (bits & 0x7F800000U) != 0x7F800000U; }
};

template <class Mode, bool isSwapped>
std::size_t decode(const char* from, float* to, std::size_t count) {
    std::size_t notFinite = 0;
    for (std::size_t i = 0; i < count; ++i) {
        typename Mode::Bits bits = 0;
        std::memcpy(&bits, from + i * sizeof bits, sizeof bits);
        if (isSwapped) {
            bits = swapped(bits);
        }
        const bool isFinite = Mode::isFinite(bits);
        to[i] = isFinite ? Mode::value(bits) : 0.0F;
        notFinite += isFinite ? 0 : 1;
    }
    return notFinite;
}

template <class Mode>
Decode decoderOf(bool isSwapped) {
    return isSwapped ? &decode<Mode, true> : &decode<Mode, false>;
}

Decode decoderOf(const MapHeader& header) {
    switch (header.mode) {
    case VoxelMode::SignedByte:
        return decoderOf<AsSignedByte>(header.isSwapped);
    case VoxelMode::Int16:
        return decoderOf<AsInt16>(header.isSwapped);
    case VoxelMode::Uint16:
        return decoderOf<AsUint16>(header.isSwapped);
    case VoxelMode::Float16:
        return decoderOf<AsFloat16>(header.isSwapped);
    case VoxelMode::Float32:
        break;
    }
    return decoderOf<AsFloat32>(header.isSwapped);
}

/// Puts blocks of sections into their places in the map.
class Placer {
public:
    Placer(const MapHeader& header, Voxels& voxels)
        : m_voxels(voxels)
        , m_decode(decoderOf(header))
        , m_voxelSize(header.voxelSize())
        , m_columns(header.extents[0])
        , m_rows(header.extents[1])
        , m_zAxis(header.axes[0] == 2   ? 0
                  : header.axes[1] == 2 ? 1
                                        : 2) {
        const std::array<std::size_t, 3> size = sizeOf(header);
        const std::array<std::size_t, 3> ofMap = {size[1] * size[2], size[2], 1};
        for (std::size_t i = 0; i < 3; ++i) {
            m_strides[i] = ofMap[static_cast<std::size_t>(header.axes[i])];
        }
    }

    /// @param block  whole sections, from section `first` on
    void place(const char* block, std::size_t first, std::size_t sections) {
        if (m_zAxis == 0) {
            placeRows(block, first, sections);
        } else if (m_zAxis == 1) {
            // z runs along the rows: each section is turned by itself.
            for (std::size_t s = 0; s < sections; ++s) {
                const Plane plane{block + s * m_rows * m_columns * m_voxelSize, m_columns, m_rows,
                                  (first + s) * m_strides[2]};
                turn(plane);
            }
        } else {
            // z runs along the sections: planes of columns and sections are turned, a row each.
            for (std::size_t row = 0; row < m_rows; ++row) {
                const Plane plane{block + row * m_columns * m_voxelSize, m_rows * m_columns, sections,
                                  row * m_strides[1] + first};
                turn(plane);
            }
        }
    }

private:
    /// Runs of columns, one for each step along z.
    struct Plane {
        const char* from;
        std::size_t step; ///< from one run to the next, voxels of the file
        std::size_t depth;
        std::size_t to; ///< place of its first voxel in the map
    };

    void placeRows(const char* block, std::size_t first, std::size_t sections) {
        for (std::size_t s = 0; s < sections; ++s) {
            for (std::size_t row = 0; row < m_rows; ++row) {
                float* to = m_voxels.values.data() + (first + s) * m_strides[2] + row * m_strides[1];
                m_voxels.notFinite += m_decode(block, to, m_columns);
                block += m_columns * m_voxelSize;
            }
        }
    }

    void turn(const Plane& plane) {
        for (std::size_t z = 0; z < plane.depth; z += tileDepth) {
            for (std::size_t column = 0; column < m_columns; column += tileColumns) {
                turnTile(plane, column, z);
            }
        }
    }

    void turnTile(const Plane& plane, std::size_t column, std::size_t z) {
        const std::size_t columns = std::min(tileColumns, m_columns - column);
        const std::size_t depth = std::min(tileDepth, plane.depth - z);
        float tile[tileDepth][tileColumns];
        for (std::size_t k = 0; k < depth; ++k) {
            m_voxels.notFinite +=
                m_decode(plane.from + ((z + k) * plane.step + column) * m_voxelSize, tile[k], columns);
        }
        float* to = m_voxels.values.data() + plane.to + column * m_strides[0] + z;
        for (std::size_t c = 0; c < columns; ++c) {
            for (std::size_t k = 0; k < depth; ++k) {
                to[k] = tile[k][c];
            }
            to += m_strides[0];
        }
    }

    Voxels& m_voxels;
    Decode m_decode;
    std::size_t m_voxelSize;
    std::size_t m_columns;
    std::size_t m_rows;
    std::size_t m_zAxis;                    ///< of columns, rows and sections
    std::array<std::size_t, 3> m_strides{}; ///< in the map, of a column, a row, a section
};

std::size_t sectionsTogether(std::size_t sectionBytes, std::size_t sections) {
    const std::size_t fitting = std::max<std::size_t>(1, largestBlock / sectionBytes);
    return std::min({fitting, sections, tileDepth});
}

} // namespace

std::array<std::size_t, 3> sizeOf(const MapHeader& header) {
    std::array<std::size_t, 3> size{};
    for (std::size_t i = 0; i < 3; ++i) {
        size[static_cast<std::size_t>(header.axes[i])] = header.extents[i];
    }
    return size;
}

Voxels readVoxels(InputBytes& bytes, const MapHeader& header) {
    const std::size_t inSection = header.extents[0] * header.extents[1];
    const std::size_t sections = header.extents[2];
    Voxels voxels;
    voxels.values.resize(inSection * sections);
    Placer placer(header, voxels);
    const std::size_t sectionBytes = inSection * header.voxelSize();
    const std::size_t together = sectionsTogether(sectionBytes, sections);
    std::vector<char> block(together * sectionBytes);
    for (std::size_t first = 0; first < sections; first += together) {
        const std::size_t count = std::min(together, sections - first);
        if (bytes.read(block.data(), count * sectionBytes) < count * sectionBytes) {
            return voxels;
        }
        placer.place(block.data(), first, count);
    }
    voxels.isComplete = true;
    return voxels;
}
