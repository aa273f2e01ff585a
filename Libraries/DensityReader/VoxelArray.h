// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DENSITYREADER_VOXELARRAY_H
#define SELVANE_DENSITYREADER_VOXELARRAY_H

#include <array>
#include <cstddef>
#include <vector>

/// A three-dimensional array in one block, z fastest: voxel (i, j, k) is number (i ny + j) nz + k, as in
/// cGrid. A voxel holds one value, or a fixed number of values that lie one after the other.
template <class T>
class VoxelArray {
public:
    /// All values zero.
    VoxelArray(std::size_t nx, std::size_t ny, std::size_t nz, std::size_t valuesPerVoxel = 1)
        : m_shape{nx, ny, nz}, m_valuesPerVoxel(valuesPerVoxel), m_values(nx * ny * nz * valuesPerVoxel) {}

    const std::array<std::size_t, 3>& shape() const { return m_shape; }
    std::size_t voxelCount() const { return m_shape[0] * m_shape[1] * m_shape[2]; }
    std::size_t valuesPerVoxel() const { return m_valuesPerVoxel; }

    /// Whether (i, j, k) is a voxel of the array. Any integers may be asked.
    bool contains(long i, long j, long k) const {
        return i >= 0 && j >= 0 && k >= 0 && static_cast<std::size_t>(i) < m_shape[0] &&
               static_cast<std::size_t>(j) < m_shape[1] && static_cast<std::size_t>(k) < m_shape[2];
    }

    /// Value number t of voxel (i, j, k). Indices are not checked.
    T& operator()(std::size_t i, std::size_t j, std::size_t k, std::size_t t = 0) {
        return m_values[flat(i, j, k, t)];
    }
    const T& operator()(std::size_t i, std::size_t j, std::size_t k, std::size_t t = 0) const {
        return m_values[flat(i, j, k, t)];
    }

    /// All values in the order of the block.
    std::vector<T>& values() { return m_values; }
    const std::vector<T>& values() const { return m_values; }

private:
    std::size_t flat(std::size_t i, std::size_t j, std::size_t k, std::size_t t) const {
        return ((i * m_shape[1] + j) * m_shape[2] + k) * m_valuesPerVoxel + t;
    }

    std::array<std::size_t, 3> m_shape;
    std::size_t m_valuesPerVoxel;
    std::vector<T> m_values;
};

#endif
