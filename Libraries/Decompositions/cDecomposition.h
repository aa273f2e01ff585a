// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DECOMPOSITIONS_CDECOMPOSITION_H
#define SELVANE_DECOMPOSITIONS_CDECOMPOSITION_H

#include "Math/cGrid.h"
#include "Math/cVector3.h"

/// A scalar field over a lattice, told by its coefficients at the nodes. A kind of field overrides what it
/// can answer; what it can't writes "cDecomposition:Not defined" to standard output and ends the process with
/// exit(-1).
class cDecomposition {
public:
    cGrid m_grid; ///< the lattice of the field

    cDecomposition() = default;
    cDecomposition(const cDecomposition&) = default;
    cDecomposition& operator=(const cDecomposition&) = default;
    virtual ~cDecomposition() = default;

    /// The value of the field at a position, angstrom. Here: ends the process.
    virtual double getValue(const cVector3& position) const;
    virtual double getValue(double x, double y, double z) const;
    /// The coefficient of node (i, j, k). Here: ends the process.
    virtual double getCoef(int i, int j, int k) const;
    /// Trilinear interpolation over getCoef in the cell that cGrid::vectorToIndex finds. 0 where the box does
    /// not strictly contain the position or the cell has no upper neighbour on some axis.
    virtual double getAverageValue(const cVector3& position) const;
    /// The smallest and the largest getCoef over all nodes; (+inf, -inf) on a grid without nodes.
    virtual void getMinMaxValues(double& min, double& max) const;
};

#endif
