// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_ROTATEDLATTICE_H
#define SELVANE_MATH_ROTATEDLATTICE_H

#include "Math/cGrid.h"
#include "Math/cMatrix33.h"
#include "Math/cVector3.h"

/// The node positions of a grid after a rotation R about a point c, p' = c + R (p - c), node by node:
///   p'(i, j, k) = o + i A + j B + k C,  o = c - R (c - m_min),  A, B, C = the columns of R times the cell.
/// The sum is taken from left to right. Whether a point lies in a box, and in which cell, hangs on its last
/// bit, so every user of rotated nodes takes them from here: cGrid::getRotatedPos and kernels without an
/// array.
class RotatedLattice {
public:
    RotatedLattice(const cGrid& grid, const cMatrix33& rotation, const cVector3& center)
        : m_origin(center - rotation * (center - grid.m_box.m_min))
        , m_stepX(step(rotation, grid, 0))
        , m_stepY(step(rotation, grid, 1))
        , m_stepZ(step(rotation, grid, 2)) {}

    /// @param i, j, k  node indices along x, y, z
    cVector3 operator()(unsigned int i, unsigned int j, unsigned int k) const {
        return m_origin + m_stepX * i + m_stepY * j + m_stepZ * k;
    }

    /// Node (i, j, 0); with k steps added it is node (i, j, k), in the order of operator().
    cVector3 rowStart(unsigned int i, unsigned int j) const { return m_origin + m_stepX * i + m_stepY * j; }

    /// From one node of a row to the next.
    const cVector3& rowStep() const { return m_stepZ; }

private:
    static cVector3 step(const cMatrix33& rotation, const cGrid& grid, int axis) {
        const double cell = grid.m_cellDim[axis];
        return {rotation(0, axis) * cell, rotation(1, axis) * cell, rotation(2, axis) * cell};
    }

    cVector3 m_origin;
    cVector3 m_stepX, m_stepY, m_stepZ;
};

#endif
