// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "DensityReader/cDensityMapCCP4.h"
#include "DensityReader/ccp4Layout.h"
#include "IO/message.h"
#include "IO/openInput.h"
#include "Math/pi.h"

namespace {

constexpr std::int64_t bytesPerVoxel = 4;
constexpr std::int64_t largestSurplus = 1048576; // bytes before the voxels, header included

/// A line beyond the fixed messages, for a user who has to find out what to do.
void printNote(const std::string& name, const std::string& text) {
    tell(name + ": " + text);
}

void printTruncated(std::int64_t fileSize, std::int64_t dataOffset) {
    std::cerr << "Error: File appears truncated and doesn't match header. " << std::endl;
    std::cerr << "filesize = " << fileSize << " dataOffset = " << dataOffset
              << " CCP4HDSIZE = " << ccp4::headerSize << std::endl;
}

template <class Word>
void reverseBytes(Word& word) {
    static_assert(sizeof(Word) == 4);
    auto* bytes = reinterpret_cast<char*>(&word);
    std::reverse(bytes, bytes + 4);
}

template <class Words>
void reverseBytesOfEach(Words& words) {
    for (auto& word : words) {
        reverseBytes(word);
    }
}

std::ifstream openMap(const std::string& name) {
    try {
        return openInput(name);
    } catch (const InputError& error) {
        if (error.isThere()) {
            tell(error.what());
        }
        throw std::string("Error: could not open CCP4 density map file " + name);
    }
}

/// The bytes before the voxels by the header's extents, in 32-bit arithmetic that wraps around.
std::int32_t wrappedDataOffset(std::int64_t fileSize, const std::array<int, 3>& extent) {
    std::uint32_t voxelBytes = bytesPerVoxel;
    for (const int n : extent) {
        voxelBytes *= static_cast<std::uint32_t>(n);
    }
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(fileSize) - voxelBytes);
}

std::int32_t wrappedSum(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

/// Checks a start of the voxels in full width, where neither a product nor a sum wraps around.
/// @return whether the file holds all voxels of the extents from there on
bool fileHoldsVoxels(std::int64_t fileSize, std::int64_t dataStart, const std::array<int, 3>& extent) {
    if (dataStart < ccp4::headerSize || dataStart > fileSize) {
        return false;
    }
    std::int64_t voxelsLeft = (fileSize - dataStart) / bytesPerVoxel;
    for (const int n : extent) {
        voxelsLeft /= n;
    }
    return voxelsLeft > 0;
}

/// Finds the voxels from the file's length, because the header's count of symmetry bytes is often wrong.
/// @return the offset of the first voxel, or nothing after a message
std::optional<std::int64_t> locateVoxels(const std::string& name, std::int64_t fileSize,
                                         const std::array<int, 3>& extent, std::int32_t symmetryBytes,
                                         std::int64_t largestVoxelCount) {
    const std::int32_t dataOffset = wrappedDataOffset(fileSize, extent);
    if (fileSize < ccp4::headerSize) {
        printTruncated(fileSize, dataOffset);
        return std::nullopt;
    }
    if (dataOffset != wrappedSum(ccp4::headerSize, symmetryBytes)) {
        if (dataOffset == ccp4::headerSize) {
            symmetryBytes = 0;
        } else if (dataOffset < ccp4::headerSize) {
            printTruncated(fileSize, dataOffset);
            return std::nullopt;
        } else if (dataOffset >= largestSurplus) {
            std::cerr << "Error: File is MUCH larger than expected and doesn't match header. " << std::endl;
            return std::nullopt;
        }
    }
    if (*std::min_element(extent.begin(), extent.end()) < 1) {
        printNote(name, "the header tells " + std::to_string(extent[0]) + " x " + std::to_string(extent[1]) +
                            " x " + std::to_string(extent[2]) + " voxels, so there is no map in it");
        return std::nullopt;
    }
    const std::int64_t dataStart = std::int64_t{ccp4::headerSize} + symmetryBytes;
    if (!fileHoldsVoxels(fileSize, dataStart, extent)) {
        printTruncated(fileSize, dataOffset);
        return std::nullopt;
    }
    if (std::int64_t{extent[0]} * extent[1] > largestVoxelCount / extent[2]) {
        printNote(name, "the map has more than the " + std::to_string(largestVoxelCount) +
                            " voxels that can be held here; use a coarser map, or a part of it");
        return std::nullopt;
    }
    return dataStart;
}

} // namespace

/// The first bytes of a file, zeros where the file is shorter.
class cDensityMapCCP4::Header {
public:
    explicit Header(std::istream& file) {
        file.read(m_bytes.data(), ccp4::headerSize);
        m_size = static_cast<std::size_t>(file.gcount());
        file.clear();
        file.seekg(0, std::ios::end);
        m_fileSize = static_cast<std::int64_t>(file.tellg());
    }

    std::int64_t fileSize() const { return m_fileSize; }

    template <class Field>
    void get(ccp4::Offset offset, Field& field) const {
        std::memcpy(&field, m_bytes.data() + offset, sizeof(field));
    }
    bool holds(ccp4::Offset field) const { return m_size >= field + 4; }

    bool startsWithMapWord() const { return std::memcmp(m_bytes.data() + ccp4::MAP_WORD, "MAP ", 4) == 0; }

    /// Whether the fields that every map has are in a range that no text reaches.
    bool isPlausible(bool reversed) const {
        constexpr int largestMode = 16;
        constexpr int largestExtent = 1 << 16;
        std::array<int, 3> extent{};
        std::array<int, 3> axisOrder{};
        int mode = 0;
        get(ccp4::EXTENT, extent);
        get(ccp4::MODE, mode);
        get(ccp4::AXIS_ORDER, axisOrder);
        if (reversed) {
            reverseBytesOfEach(extent);
            reverseBytes(mode);
            reverseBytesOfEach(axisOrder);
        }
        return mode >= 0 && mode <= largestMode && ccp4::invertAxisOrder(axisOrder) &&
               std::all_of(extent.begin(), extent.end(), [](int n) { return n > 0 && n < largestExtent; });
    }

    bool isCompressed() const { return m_bytes[0] == '\x1f' && m_bytes[1] == '\x8b'; }

    /// Whether "MAP" occurs in the blank-delimited word that starts at its place or after blanks there.
    bool hasMapWord() const {
        const auto blank = [](char c) { return c == ' ' || (c >= '\t' && c <= '\r'); };
        const char* end = m_bytes.data() + m_size;
        const char* first =
            std::find_if_not(m_bytes.data() + std::min<std::size_t>(ccp4::MAP_WORD, m_size), end, blank);
        return std::string(first, std::find_if(first, end, blank)).find("MAP") != std::string::npos;
    }

private:
    std::array<char, ccp4::headerSize> m_bytes{};
    std::size_t m_size = 0;
    std::int64_t m_fileSize = 0;
};

bool cDensityMapCCP4::looksLikeMap(const std::string& name) {
    try {
        std::ifstream file = openInput(name);
        const Header header(file);
        return header.startsWithMapWord() || header.isPlausible(false) || header.isPlausible(true);
    } catch (const InputError&) {
        return false;
    }
}

void cDensityMapCCP4::load(const std::string& name) {
    std::ifstream file = openMap(name);
    clearVoxels();
    const Header header(file);
    readFields(header);
    if (!header.hasMapWord()) {
        std::cerr << "Error: 'MAP' string missing, not a valid CCP4 file " << std::endl;
    }
    const auto reversed = settleByteOrder(header, name);
    if (!reversed) {
        return;
    }
    std::int32_t symmetryBytes = 0;
    header.get(ccp4::SYMMETRY_BYTES, symmetryBytes);
    if (*reversed) {
        reverseBytes(symmetryBytes);
    }
    const auto dataStart =
        locateVoxels(name, header.fileSize(), m_extent, symmetryBytes, m_largestVoxelCount);
    if (!dataStart) {
        return;
    }
    applyDefaults();
    const auto xyz2crs = ccp4::invertAxisOrder(m_axisOrder);
    if (!xyz2crs) {
        printNote(name, "the axis order is " + std::to_string(m_axisOrder[0]) + " " +
                            std::to_string(m_axisOrder[1]) + " " + std::to_string(m_axisOrder[2]) +
                            ", not a permutation of 1 2 3, so the voxels have no place");
        return;
    }
    file.seekg(*dataStart);
    if (!readVoxels(file, *reversed, *xyz2crs)) {
        printNote(name, "the voxels could not be read");
        return;
    }
    setGeometry(*xyz2crs);
}

/// The byte order is told by the mode alone. A file too short to tell one is left to the check of its length.
std::optional<bool> cDensityMapCCP4::settleByteOrder(const Header& header, const std::string& name) {
    if (m_mode == ccp4::floatMode || !header.holds(ccp4::MODE)) {
        return false;
    }
    const int modeAsRead = m_mode;
    reverseBytes(m_mode);
    if (m_mode == ccp4::floatMode) {
        reverseFields();
        return true;
    }
    std::cerr << "Error: Non-real (32-bit float) data types are unsupported " << std::endl;
    printNote(name, header.isCompressed()
                        ? std::string("this is a gzip file; unpack it with gunzip and give the unpacked map")
                        : "the data type is mode " + std::to_string(modeAsRead) +
                              "; only mode 2, 32-bit floats, can be read, so convert the map to mode 2");
    return std::nullopt;
}

void cDensityMapCCP4::readFields(const Header& header) {
    header.get(ccp4::EXTENT, m_extent);
    header.get(ccp4::MODE, m_mode);
    header.get(ccp4::START, m_start);
    header.get(ccp4::SAMPLING, m_sampling);
    header.get(ccp4::CELL_LENGTHS, m_cellLengths);
    header.get(ccp4::CELL_ANGLES, m_cellAngles);
    header.get(ccp4::AXIS_ORDER, m_axisOrder);
    header.get(ccp4::MIN_DENSITY, m_minDensity);
    header.get(ccp4::MAX_DENSITY, m_maxDensity);
    header.get(ccp4::MEAN_DENSITY, m_meanDensity);
    header.get(ccp4::ORIGIN_WORDS, m_originWords);
}

void cDensityMapCCP4::reverseFields() {
    // Deliberate: minimum, maximum and mean stay in the order of the file.
    reverseBytesOfEach(m_extent);
    reverseBytesOfEach(m_start);
    reverseBytesOfEach(m_sampling);
    reverseBytesOfEach(m_cellLengths);
    reverseBytesOfEach(m_cellAngles);
    reverseBytesOfEach(m_axisOrder);
    reverseBytesOfEach(m_originWords);
}

void cDensityMapCCP4::applyDefaults() {
    // Deliberate: x takes the columns, y the rows, z the sections, whatever the axis order.
    for (std::size_t n = 0; n < 3; ++n) {
        if (m_sampling[n] == 0) {
            m_sampling[n] = m_extent[n] - 1;
        }
    }
    if (m_axisOrder == std::array<int, 3>{}) {
        m_axisOrder = {1, 2, 3};
    }
    if (m_cellLengths == std::array<float, 3>{}) {
        m_cellLengths.fill(1.0F);
    }
}

bool cDensityMapCCP4::readVoxels(std::istream& file, bool reversed, const std::array<int, 3>& xyz2crs) {
    const auto sizes = ccp4::toAxes(m_extent, xyz2crs);
    auto voxels = std::make_shared<VoxelArray<double>>(static_cast<std::size_t>(sizes[0]),
                                                       static_cast<std::size_t>(sizes[1]),
                                                       static_cast<std::size_t>(sizes[2]));
    const auto strides = ccp4::crsStrides(voxels->shape(), xyz2crs);
    const auto columns = static_cast<std::size_t>(m_extent[0]), rows = static_cast<std::size_t>(m_extent[1]);
    std::vector<float> buffer(columns);
    for (std::size_t row = 0; row < rows * static_cast<std::size_t>(m_extent[2]); ++row) {
        if (!file.read(reinterpret_cast<char*>(buffer.data()),
                       static_cast<std::streamsize>(columns * bytesPerVoxel))) {
            return false;
        }
        if (reversed) {
            reverseBytesOfEach(buffer);
        }
        double* first = voxels->values().data() + row % rows * strides[1] + row / rows * strides[2];
        for (std::size_t c = 0; c < columns; ++c) {
            first[c * strides[0]] = buffer[c];
        }
    }
    m_data = std::move(voxels);
    return true;
}

void cDensityMapCCP4::setGeometry(const std::array<int, 3>& xyz2crs) {
    const auto voxelEdge = [this](std::size_t axis) { // Deliberate: in single precision
        return static_cast<double>(m_cellLengths[axis] / static_cast<float>(m_sampling[axis]));
    };
    m_delta = cVector3(voxelEdge(0), voxelEdge(1), voxelEdge(2));

    const double cosAlpha = std::cos(m_cellAngles[0] * radiansPerDegree);
    const double cosBeta = std::cos(m_cellAngles[1] * radiansPerDegree);
    const double cosGamma = std::cos(m_cellAngles[2] * radiansPerDegree);
    const double sinGamma = std::sin(m_cellAngles[2] * radiansPerDegree);
    const double z2 = (cosAlpha - cosGamma * cosBeta) / sinGamma;
    const double z3 = std::sqrt(1.0 - cosBeta * cosBeta - z2 * z2);
    m_xAxis = cVector3(1.0, 0.0, 0.0);
    m_yAxis = cVector3(cosGamma, sinGamma, 0.0);
    m_zAxis = cVector3(cosBeta, z2, z3);

    const auto start = ccp4::toAxes(m_start, xyz2crs);
    const double sx = static_cast<float>(start[0]);
    const double sy = static_cast<float>(start[1]);
    const double sz = static_cast<float>(start[2]);
    m_firstVoxelByStartWords = cVector3(sx * m_delta.x + sy * m_delta.y * cosGamma + sz * m_delta.z * cosBeta,
                                        sy * m_delta.y * sinGamma + sz * m_delta.z * z2, sz * m_delta.z * z3);
    // Deliberate: one voxel up along each axis.
    m_origin = m_firstVoxelByStartWords + m_delta;

    const auto sizes = ccp4::toAxes(m_extent, xyz2crs);
    const double fx = static_cast<float>(sizes[0] - 1);
    const double fy = static_cast<float>(sizes[1] - 1);
    const double fz = static_cast<float>(sizes[2] - 1);
    // For a skew cell the grid's box is the bounding diagonal of the cell.
    const cVector3 extent = fx * m_delta.x * m_xAxis + fy * m_delta.y * m_yAxis + fz * m_delta.z * m_zAxis;
    m_grid.m_box = cBBox(m_origin, m_origin + extent);
    m_grid.setSize(static_cast<unsigned int>(sizes[0]), static_cast<unsigned int>(sizes[1]),
                   static_cast<unsigned int>(sizes[2]));
}
