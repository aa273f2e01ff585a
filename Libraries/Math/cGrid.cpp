// SPDX-License-Identifier: GPL-3.0-or-later
#include "Math/cGrid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <stdexcept>
#include <string>

#include "IO/cInfo.h"
#include "Math/RotatedLattice.h"
#include "Math/cMatrix33.h"

namespace {

/// Truncates to a number of nodes; 0 for what is negative or not a number.
unsigned int truncateToSize(double value) {
    return static_cast<unsigned int>(std::max(truncateToInt(value), 0));
}

/// m_max of a padded grid: the far corner of one grid moved by the extent of the other. Deliberate: nominal,
/// not min + (n - 1) d.
cVector3 nominalMax(const cGrid& grid, const cGrid& other) {
    cVector3 max;
    for (int axis = 0; axis < 3; ++axis) {
        max[axis] =
            grid.m_box.m_max[axis] + (static_cast<double>(other.m_size[axis]) - 1) * other.m_cellDim[axis];
    }
    return max;
}

void paddPairTo(const std::array<unsigned int, 3>& size, const cGrid& g1, const cGrid& g2, cGrid& out1,
                cGrid& out2) {
    const cBBox box1(g1.m_box.m_min, nominalMax(g1, g2));
    const cBBox box2(g2.m_box.m_min, nominalMax(g2, g1));
    const cVector3 cell1 = g1.m_cellDim;
    const cVector3 cell2 = g2.m_cellDim;
    for (cGrid* out : {&out1, &out2}) {
        out->setSize(size[0], size[1], size[2]);
    }
    out1.m_box = box1;
    out2.m_box = box2;
    out1.m_cellDim = cell1;
    out2.m_cellDim = cell2;
}

} // namespace

cGrid::cGrid() : m_center(0.0), m_size{0, 0, 0}, m_cellDim(0.0), m_sliceSize(0), m_totalSize(0) {}

cGrid::cGrid(const cBBox& box, double resolution) : cGrid() {
    constexpr double nodesPerResolution = 0.8;
    m_box = box;
    coarseResolution(nodesPerResolution * resolution);
}

cGrid::cGrid(const cBBox& box, const unsigned int* sizes) : cGrid() {
    m_box = box;
    setSize(sizes[0], sizes[1], sizes[2]);
}

cGrid::cGrid(const cBBox& box, int n) : cGrid() {
    const auto size = static_cast<unsigned int>(std::max(n, 0));
    m_box = box;
    setSize(size, size, size);
}

cGrid::cGrid(const cGrid& other) : cGrid() {
    *this = other;
}

cGrid& cGrid::operator=(const cGrid& other) {
    if (this == &other) {
        return *this;
    }
    // Deliberate: m_center is not carried over.
    std::copy(other.m_size, other.m_size + 3, m_size);
    m_box = other.m_box;
    m_cellDim = other.m_cellDim;
    m_sliceSize = other.m_sliceSize;
    m_totalSize = other.m_totalSize;
    m_flatIndex2Index = other.m_flatIndex2Index;
    return *this;
}

void cGrid::setBBox(const cBBox& box) {
    m_box = box;
    updateCellFromBox();
}

void cGrid::setSize(unsigned int nx, unsigned int ny, unsigned int nz) {
    m_size[0] = nx;
    m_size[1] = ny;
    m_size[2] = nz;
    updateCellFromBox();
    updateTotals();
}

void cGrid::setCellDim(const cVector3& cell) {
    m_cellDim = cell;
    for (int axis = 0; axis < 3; ++axis) {
        const double min = m_box.m_min[axis];
        const double steps = std::ceil((m_box.m_max[axis] - min) / cell[axis]);
        m_size[axis] = truncateToSize(steps + 1);
        m_box.m_max[axis] = (static_cast<double>(m_size[axis]) - 1) * cell[axis] + min;
    }
    updateTotals();
}

void cGrid::coarseResolution(double resolution) {
    const cVector3 nodes = (m_box.m_max - m_box.m_min) / resolution;
    setSize(truncateToSize(nodes.x), truncateToSize(nodes.y), truncateToSize(nodes.z));
}

void cGrid::padToCube() {
    std::fill(m_size, m_size + 3, *std::max_element(m_size, m_size + 3));
    updateMaxToWholeLength();
    updateTotals();
}

void cGrid::padTwice() {
    for (unsigned int& size : m_size) {
        size *= 2;
    }
    updateMaxToWholeLength();
    updateTotals();
}

cGrid cGrid::computeGridPadded(int factor) const {
    // Deliberate: the box doubles whatever the factor.
    const cBBox box(m_box.m_min, 2 * m_box.m_max - m_box.m_min);
    const auto times = static_cast<unsigned int>(factor);
    const unsigned int sizes[3] = {times * m_size[0], times * m_size[1], times * m_size[2]};
    return {box, sizes};
}

void cGrid::paddTwoGrids(const cGrid& g1, const cGrid& g2, cGrid& out1, cGrid& out2) {
    std::array<unsigned int, 3> size = g1.getSizes();
    for (std::size_t axis = 0; axis < 3; ++axis) {
        size[axis] += g2.m_size[axis];
    }
    paddPairTo(size, g1, g2, out1, out2);
}

void cGrid::paddTwoGridsToPowerTwo(const cGrid& g1, const cGrid& g2, cGrid& out1, cGrid& out2, cInfo& info,
                                   bool nopadding) {
    // Deliberate: the sizes of g2 play no part, and each axis is padded by itself.
    std::array<unsigned int, 3> size = g1.getSizes();
    if (!nopadding) {
        std::for_each(size.begin(), size.end(), getPowerTwo);
    }
    info.printInfo(" Best grid size ", cVector3(size[0], size[1], size[2]), nullptr);
    paddPairTo(size, g1, g2, out1, out2);
}

cVector3 cGrid::vectorToIndex(const cVector3& position) const {
    cVector3 index = (position - m_box.m_min) / m_cellDim;
    index.round(); // Deliberate: floors, where the other form goes to the nearest node.
    for (int axis = 0; axis < 3; ++axis) {
        if (index[axis] == m_size[axis]) {
            index[axis] -= 1;
        }
    }
    return index;
}

cVector3 cGrid::vectorToIndex(const std::array<double, 3>& position) const {
    const cVector3 quotient = (cVector3(position.data()) - m_box.m_min) / m_cellDim;
    cVector3 index;
    for (int axis = 0; axis < 3; ++axis) {
        index[axis] = truncateToInt(std::round(quotient[axis]));
        if (index[axis] == m_size[axis]) {
            index[axis] -= 1;
        }
    }
    return index;
}

void cGrid::loadFlatIndex2Index() {
    m_flatIndex2Index = FlatIndexTable(m_totalSize, m_size[1], m_size[2]);
}

void cGrid::getRotatedPos(const cMatrix33& rotation, const cVector3& center,
                          std::vector<cVector3>& out) const {
    // Counted in double: the total of a grid beyond 2^32 nodes has wrapped.
    const double nodes = static_cast<double>(m_size[0]) * m_size[1] * m_size[2];
    if (static_cast<double>(out.size()) < nodes) {
        throw std::length_error("rotated positions: " + std::to_string(nodes) + " entries expected, " +
                                std::to_string(out.size()) + " found");
    }
    const RotatedLattice lattice(*this, rotation, center);
    auto position = out.begin();
    for (unsigned int i = 0; i < m_size[0]; ++i) {
        for (unsigned int j = 0; j < m_size[1]; ++j) {
            for (unsigned int k = 0; k < m_size[2]; ++k) {
                *position++ = lattice(i, j, k);
            }
        }
    }
}

std::vector<cVector3> cGrid::getRotatedPos(const cMatrix33& rotation, const cVector3& center) const {
    std::vector<cVector3> positions(m_totalSize);
    for (std::size_t f = 0; f < positions.size(); ++f) {
        const auto [i, j, k] = m_flatIndex2Index[f];
        const cVector3 index(static_cast<double>(i), static_cast<double>(j), static_cast<double>(k));
        const cVector3 position = m_box.m_min + index * m_cellDim;
        positions[f] = rotation * (position - center) + center;
    }
    return positions;
}

bool cGrid::operator==(const cGrid& other) const {
    return std::equal(m_size, m_size + 3, other.m_size) && m_cellDim == other.m_cellDim &&
           m_box == other.m_box;
}

void cGrid::updateTotals() {
    m_sliceSize = m_size[0] * m_size[1];
    m_totalSize = m_sliceSize * m_size[2];
    loadFlatIndex2Index();
}

void cGrid::updateCellFromBox() {
    for (int axis = 0; axis < 3; ++axis) {
        const double steps = static_cast<double>(m_size[axis]) - 1;
        m_cellDim[axis] = (m_box.m_max[axis] - m_box.m_min[axis]) / steps;
    }
}

void cGrid::updateMaxToWholeLength() {
    // Deliberate: the length is cut to whole angstrom, so the box does not end at a node.
    for (int axis = 0; axis < 3; ++axis) {
        m_box.m_max[axis] = std::trunc(m_size[axis] * m_cellDim[axis]) + m_box.m_min[axis];
    }
}

unsigned int getPowerTwo(unsigned int& n) {
    --n;
    for (unsigned int shift = 1; shift < 32; shift *= 2) {
        n |= n >> shift;
    }
    return ++n;
}

std::ostream& operator<<(std::ostream& out, const cGrid& grid) {
    out << '\n';
    for (int axis = 0; axis < 3; ++axis) {
        out << "\t " << axis + 1 << ") : * range : [" << grid.m_box.m_min[axis] << ", "
            << grid.m_box.m_max[axis] << "]\n";
        out << "\t  "
            << "    * size  : " << grid.m_size[axis] << '\n';
        out << "\t  "
            << "    * space : " << grid.m_cellDim[axis] << '\n';
    }
    return out;
}
