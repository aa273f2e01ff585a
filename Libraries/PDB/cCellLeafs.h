// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CCELLLEAFS_H
#define SELVANE_PDB_CCELLLEAFS_H

#include <vector>

#include "Math/cVector3.h"
#include "PDB/cCellPDB.h"

/// A cell of a cAtomGrid cut into perEdge³ leaves.
class cCellLeafs : public cCellPDB {
public:
    /// Leaf centres lie at corner + (i + 0.5) * edge / perEdge, z running fastest.
    cCellLeafs(const cVector3& corner, double edge, int perEdge);

    /// -1: a subdivided cell holds no atoms itself.
    int getOccupied() const override { return -1; }

    int m_nLeaves;
    int m_leavesPerEdge;
    std::vector<cVector3> m_centers;
};

#endif
