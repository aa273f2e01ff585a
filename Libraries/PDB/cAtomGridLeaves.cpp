// SPDX-License-Identifier: GPL-3.0-or-later
// The leaf layer: the cells without the outermost ring, each cut into leaves that lie inside or outside.
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "PDB/cAtomGrid.h"

namespace {

constexpr double maxLeaves = 2147483647.0;
constexpr double layerMargin = 1.0; // the layer begins one cell below the box

/// Index of a coordinate on a leaf lattice of n leaves; false off the lattice.
bool findLeafIndex(double cell, int perEdge, std::size_t n, std::size_t& index) {
    const double leaf = cell * perEdge;
    if (!(leaf >= 0.0 && leaf < static_cast<double>(n))) {
        return false;
    }
    index = static_cast<std::size_t>(leaf);
    return true;
}

/// The leaves first <= l < last whose centres (in leaf edges from the layer's corner: l + 0.5) lie within
/// `radius` of `place` along one axis.
struct LeafRange {
    LeafRange(double place, double radius, std::size_t n) {
        const double count = static_cast<double>(n);
        m_first = static_cast<std::size_t>(std::clamp(std::ceil(place - radius - 0.5), 0.0, count));
        m_last = static_cast<std::size_t>(std::clamp(std::floor(place + radius + 0.5), 0.0, count));
    }
    std::size_t m_first, m_last;
};

} // namespace

void cAtomGrid::initLeafLayer(int k) {
    if (k < 1) {
        throw std::invalid_argument("cAtomGrid: " + std::to_string(k) +
                                    " leaves per edge, at least 1 is needed");
    }
    if (m_nCells == 0) {
        return;
    }
    const double perCell = std::pow(static_cast<double>(k), 3.0);
    if (static_cast<double>(m_nCells) * perCell > maxLeaves) {
        throw std::length_error("cAtomGrid: " + std::to_string(m_nCells) + " cells of " + std::to_string(k) +
                                "³ leaves are more than 2147483647 leaves");
    }
    m_leaves.clear();
    m_leavesPerEdge = k;
    const cVector3 corner(m_box.x.lower, m_box.y.lower, m_box.z.lower);
    for (unsigned int i = 1; i < m_nx - 1; ++i) {
        for (unsigned int j = 1; j < m_ny - 1; ++j) {
            for (unsigned int l = 1; l < m_nz - 1; ++l) {
                m_leaves.emplace_back(corner + cVector3(i - 2.0, j - 2.0, l - 2.0) * m_cellSize, m_cellSize,
                                      k);
            }
        }
    }
    m_occupancy.assign(m_leaves.size() * static_cast<std::size_t>(perCell), true);
}

std::size_t cAtomGrid::leavesAlong(unsigned int cells) const {
    return m_leavesPerEdge == 0 ? 0 : (cells - std::size_t{2}) * static_cast<std::size_t>(m_leavesPerEdge);
}

void cAtomGrid::detectBoundaryLeafs(double radius) {
    std::fill(m_occupancy.begin(), m_occupancy.end(), false);
    if (!(radius >= 0.0) || m_leavesPerEdge == 0) {
        return;
    }
    for (int a = 0; a < m_nAtoms; ++a) {
        markLeavesNear(m_atoms[a].m_position, radius);
    }
}

void cAtomGrid::markLeavesNear(const cVector3& p, double radius) {
    // In leaf edges from the corner of the layer.
    const double perEdge = m_leavesPerEdge;
    const cVector3 place(((p.x - m_box.x.lower) * m_invCellSize + layerMargin) * perEdge,
                         ((p.y - m_box.y.lower) * m_invCellSize + layerMargin) * perEdge,
                         ((p.z - m_box.z.lower) * m_invCellSize + layerMargin) * perEdge);
    const double reach = radius * m_invCellSize * perEdge;
    const std::size_t ny = leavesAlong(m_ny);
    const std::size_t nz = leavesAlong(m_nz);
    const LeafRange xRange(place.x, reach, leavesAlong(m_nx));
    const LeafRange yRange(place.y, reach, ny);
    const LeafRange zRange(place.z, reach, nz);
    for (std::size_t i = xRange.m_first; i < xRange.m_last; ++i) {
        for (std::size_t j = yRange.m_first; j < yRange.m_last; ++j) {
            for (std::size_t k = zRange.m_first; k < zRange.m_last; ++k) {
                const cVector3 centre(static_cast<double>(i) + 0.5, static_cast<double>(j) + 0.5,
                                      static_cast<double>(k) + 0.5);
                if ((centre - place).norm2() <= reach * reach) {
                    m_occupancy[(i * ny + j) * nz + k] = true;
                }
            }
        }
    }
}

bool cAtomGrid::findLeaf(const cVector3& p, std::size_t& leaf) const {
    std::size_t i = 0;
    std::size_t j = 0;
    std::size_t k = 0;
    const std::size_t ny = leavesAlong(m_ny);
    const std::size_t nz = leavesAlong(m_nz);
    const bool isOnLayer =
        findLeafIndex((p.x - m_box.x.lower) * m_invCellSize + layerMargin, m_leavesPerEdge, leavesAlong(m_nx),
                      i) &&
        findLeafIndex((p.y - m_box.y.lower) * m_invCellSize + layerMargin, m_leavesPerEdge, ny, j) &&
        findLeafIndex((p.z - m_box.z.lower) * m_invCellSize + layerMargin, m_leavesPerEdge, nz, k);
    leaf = (i * ny + j) * nz + k;
    return isOnLayer;
}

bool cAtomGrid::contains(const cVector3& p) const {
    std::size_t leaf = 0;
    return findLeaf(p, leaf) && m_occupancy[leaf];
}

void cAtomGrid::query(cPDBAtom** in, int n, cPDBAtom** out, int& m) const {
    copyIf(true, in, n, out, m);
}

void cAtomGrid::queryOut(cPDBAtom** in, int n, cPDBAtom** out, int& m) const {
    copyIf(false, in, n, out, m);
}

void cAtomGrid::copyIf(bool inside, cPDBAtom** in, int n, cPDBAtom** out, int& m) const {
    m = 0;
    for (int a = 0; a < n; ++a) {
        if (contains(in[a]->m_position) == inside) {
            out[m++] = in[a];
        }
    }
}
