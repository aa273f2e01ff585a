// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_FLATINDEXTABLE_H
#define SELVANE_MATH_FLATINDEXTABLE_H

#include <cstddef>
#include <tuple>

/// The table flat index -> (i, j, k) of a lattice, f = (i ny + j) nz + k. It reads like a vector of tuples
/// but computes each entry: stored, it would take 24 bytes a node, three times the field itself.
class FlatIndexTable {
public:
    using Index = std::tuple<unsigned long, unsigned long, unsigned long>;

    FlatIndexTable() = default;
    FlatIndexTable(const FlatIndexTable&) = default;
    /// @param size    number of entries, nx * ny * nz
    /// @param ny, nz  nodes along the two faster axes
    FlatIndexTable(std::size_t size, unsigned int ny, unsigned int nz) : m_size(size), m_ny(ny), m_nz(nz) {}

    std::size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }

    /// @param flatIndex  below size(), not checked
    Index operator[](std::size_t flatIndex) const {
        const std::size_t row = flatIndex / m_nz;
        return {row / m_ny, row % m_ny, flatIndex % m_nz};
    }

private:
    friend class cGrid; ///< brings its table up to date; nobody else may put another in its place
    FlatIndexTable& operator=(const FlatIndexTable&) = default;

    std::size_t m_size = 0;
    std::size_t m_ny = 1;
    std::size_t m_nz = 1;
};

#endif
