// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_CGRID_H
#define SELVANE_MATH_CGRID_H

#include <array>
#include <iosfwd>
#include <vector>

#include "Math/FlatIndexTable.h"
#include "Math/cBBox.h"
#include "Math/cVector3.h"

class cInfo;
class cMatrix33;

/// The geometry of a regular lattice. It holds no values: a field on it is a flat array of doubles.
///
/// Node (i, j, k) along x, y, z has the flat index (i ny + j) nz + k, so z runs fastest, and the position
/// m_box.m_min + (i dx, j dy, k dz), in angstrom. Walk a grid by m_min, m_cellDim and m_size: the m_max of a
/// padded grid is a nominal extent, not the place of the last node.
///
/// Arguments are not checked. Where a cell is (max - min) / (n - 1), one node on an axis makes it infinite or
/// not a number. Sizes that do not come out as positive numbers become 0.
class cGrid {
public:
    cVector3 m_center;                ///< spare: never set here and not copied
    unsigned int m_size[3];           ///< nodes along x, y, z: nx, ny, nz
    cBBox m_box;                      ///< m_min is node (0, 0, 0)
    cVector3 m_cellDim;               ///< node distances dx, dy, dz, angstrom
    unsigned int m_sliceSize;         ///< nx * ny
    unsigned int m_totalSize;         ///< nx * ny * nz, modulo 2^32
    FlatIndexTable m_flatIndex2Index; ///< flat index -> (i, j, k)

    /// No nodes, a default box. Like every constructor it reseeds the generator of rand(), through cBBox().
    cGrid();
    /// Per axis n = truncate((max - min) / (0.8 resolution)).
    cGrid(const cBBox& box, double resolution);
    /// @param sizes  nx, ny, nz
    cGrid(const cBBox& box, const unsigned int* sizes);
    /// n nodes on each axis.
    cGrid(const cBBox& box, int n);
    cGrid(const cGrid& other);
    cGrid& operator=(const cGrid& other);
    virtual ~cGrid() = default;

    /// Takes the box and keeps the sizes; the cell follows.
    void setBBox(const cBBox& box);
    /// Takes the sizes and keeps the box; the cell follows.
    void setSize(unsigned int nx, unsigned int ny, unsigned int nz);
    /// Takes the cell: n = ceil((max - min) / d) + 1 per axis, and max moves to min + (n - 1) d.
    void setCellDim(const cVector3& cell);
    /// Per axis n = truncate((max - min) / resolution); the cell follows.
    void coarseResolution(double resolution);
    /// All sizes become the largest of the three. max = min + truncate(n d), a whole number of angstrom.
    void padToCube();
    /// Doubles the sizes. max = min + truncate(n d), a whole number of angstrom.
    void padTwice();
    /// A grid of factor times the nodes over a box of twice the edges, whatever the factor.
    cGrid computeGridPadded(int factor) const;

    /// Gives two grids a common size, the sum of theirs per axis; each keeps its origin and its cell.
    static void paddTwoGrids(const cGrid& g1, const cGrid& g2, cGrid& out1, cGrid& out2);
    /// Gives two grids a common size for cyclic correlation; each keeps its origin and its cell. The size is
    /// that of g1, raised per axis to the next power of two unless nopadding is set; g2 plays no part in it.
    /// @param info  is told the common size
    static void paddTwoGridsToPowerTwo(const cGrid& g1, const cGrid& g2, cGrid& out1, cGrid& out2,
                                       cInfo& info, bool nopadding);

    unsigned int getTotalSize() const { return m_totalSize; }
    /// m_size as a value.
    std::array<unsigned int, 3> getSizes() const { return {m_size[0], m_size[1], m_size[2]}; }

    /// Of a cyclic correlation on this grid: n d per axis, angstrom.
    cVector3 getPeriod() const {
        return cVector3(m_size[0] * m_cellDim.x, m_size[1] * m_cellDim.y, m_size[2] * m_cellDim.z);
    }

    /// (i ny + j) nz + k in 32-bit unsigned arithmetic. An index off the grid is not caught.
    unsigned int indexToFlatIndex(int i, int j, int k) const {
        return (static_cast<unsigned int>(i) * m_size[1] + static_cast<unsigned int>(j)) * m_size[2] +
               static_cast<unsigned int>(k);
    }
    /// The same with the components truncated.
    unsigned int indexToFlatIndex(const cVector3& index) const {
        return indexToFlatIndex(truncateToInt(index.x), truncateToInt(index.y), truncateToInt(index.z));
    }

    /// The node at or below a position: floor((p - min) / d) per axis, where n becomes n - 1 and nothing else
    /// is clamped, so a point outside the box gives an index off the grid. The floor decides by the last bit
    /// of the quotient, which is formed in this order and nowhere else.
    cVector3 vectorToIndex(const cVector3& position) const;
    /// The node nearest to a position, halves away from zero; clamped like the other form.
    cVector3 vectorToIndex(const std::array<double, 3>& position) const;

    bool isIndexOnGrid(int i, int j, int k) const {
        return i >= 0 && j >= 0 && k >= 0 && static_cast<unsigned int>(i) < m_size[0] &&
               static_cast<unsigned int>(j) < m_size[1] && static_cast<unsigned int>(k) < m_size[2];
    }
    bool isIndexOnGrid(const cVector3& index) const {
        return index.x >= 0 && index.y >= 0 && index.z >= 0 && index.x < m_size[0] && index.y < m_size[1] &&
               index.z < m_size[2];
    }

    /// Brings the table up to date with the sizes.
    void loadFlatIndex2Index();

    /// The positions of all nodes, rotated about center, in flat order; see RotatedLattice for the
    /// arithmetic.
    /// @param out  getTotalSize() entries or more, not resized
    /// @throws std::length_error when out is too short
    void getRotatedPos(const cMatrix33& rotation, const cVector3& center, std::vector<cVector3>& out) const;
    /// The same points up to rounding, each from R (p - center) + center.
    std::vector<cVector3> getRotatedPos(const cMatrix33& rotation, const cVector3& center) const;

    /// Sizes, cells and boxes all equal.
    bool operator==(const cGrid& other) const;
    bool operator!=(const cGrid& other) const { return !(*this == other); }

private:
    void updateTotals();
    void updateCellFromBox();
    void updateMaxToWholeLength();
};

/// Replaces n by the smallest power of two that is not below it and returns it; 0 stays 0, and above 2^31 the
/// result is 0, 2^32 in 32 bits.
unsigned int getPowerTwo(unsigned int& n);

/// Writes a line end, then range, size and spacing per axis, three lines each.
std::ostream& operator<<(std::ostream& out, const cGrid& grid);

#endif
