// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

#include "DensityReader/cDensityMapCCP4.h"
#include "DensityReader/ccp4Layout.h"
#include "IO/ResultFile.h"

namespace {

static_assert(std::numeric_limits<float>::is_iec559, "the format holds IEEE floats");

using HeaderBytes = std::array<char, ccp4::headerSize>;

template <class Field>
void put(HeaderBytes& header, ccp4::Offset offset, const Field& field) {
    std::memcpy(header.data() + offset, &field, sizeof(field));
}

/// Whether a voxel array of this shape holds every voxel of a map of these sizes.
bool covers(const std::array<std::size_t, 3>& shape, const std::array<int, 3>& sizes) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (sizes[axis] > 0 && shape[axis] < static_cast<std::size_t>(sizes[axis])) {
            return false;
        }
    }
    return true;
}

bool writeBytes(std::FILE* file, const void* bytes, std::size_t count) {
    return std::fwrite(bytes, 1, count, file) == count;
}

bool writeVoxels(std::FILE* file, const VoxelArray<double>& voxels, const std::array<int, 3>& extent,
                 const std::array<int, 3>& xyz2crs) {
    const auto strides = ccp4::crsStrides(voxels.shape(), xyz2crs);
    const auto columns = static_cast<std::size_t>(extent[0]), rows = static_cast<std::size_t>(extent[1]);
    std::vector<float> buffer(columns);
    for (std::size_t row = 0; row < rows * static_cast<std::size_t>(extent[2]); ++row) {
        const double* first = voxels.values().data() + row % rows * strides[1] + row / rows * strides[2];
        for (std::size_t c = 0; c < columns; ++c) {
            buffer[c] = static_cast<float>(first[c * strides[0]]);
        }
        if (!writeBytes(file, buffer.data(), columns * sizeof(float))) {
            return false;
        }
    }
    return true;
}

} // namespace

bool cDensityMapCCP4::hasExtent() const {
    return *std::min_element(m_extent.begin(), m_extent.end()) > 0;
}

bool cDensityMapCCP4::isWritable() const {
    if (!hasExtent()) {
        return true;
    }
    const auto xyz2crs = ccp4::invertAxisOrder(m_axisOrder);
    return !isEmpty() && xyz2crs && covers(m_data->shape(), ccp4::toAxes(m_extent, *xyz2crs));
}

bool cDensityMapCCP4::save(const std::string& name) {
    m_mode = ccp4::floatMode;
    if (!isWritable()) {
        return false;
    }
    ResultFile file(name);
    return file.stream() != nullptr && write(file.stream()) && file.commit();
}

bool cDensityMapCCP4::write(std::FILE* file) {
    m_mode = ccp4::floatMode;
    if (!isWritable()) {
        return false;
    }
    HeaderBytes header{};
    // Deliberate: the extents and the place of the map read, whatever grid the voxels have now.
    put(header, ccp4::EXTENT, m_extent);
    put(header, ccp4::MODE, m_mode);
    put(header, ccp4::START, m_start);
    put(header, ccp4::SAMPLING, m_sampling);
    put(header, ccp4::CELL_LENGTHS, m_cellLengths);
    put(header, ccp4::CELL_ANGLES, m_cellAngles);
    put(header, ccp4::AXIS_ORDER, m_axisOrder);
    put(header, ccp4::MIN_DENSITY, m_minDensity);
    put(header, ccp4::MAX_DENSITY, m_maxDensity);
    put(header, ccp4::MEAN_DENSITY, m_meanDensity);
    put(header, ccp4::SPACE_GROUP, int{1});
    put(header, ccp4::MAP_WORD, std::array<char, 4>{'M', 'A', 'P', ' '});

    if (!hasExtent()) {
        return writeBytes(file, header.data(), ccp4::UNWRITTEN);
    }
    return writeBytes(file, header.data(), header.size()) &&
           writeVoxels(file, *m_data, m_extent, *ccp4::invertAxisOrder(m_axisOrder));
}
