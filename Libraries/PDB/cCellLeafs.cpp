// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cCellLeafs.h"

#include <cstddef>

cCellLeafs::cCellLeafs(const cVector3& corner, double edge, int perEdge)
    : m_nLeaves(perEdge * perEdge * perEdge), m_leavesPerEdge(perEdge) {
    m_centers.reserve(static_cast<std::size_t>(m_nLeaves));
    for (int i = 0; i < perEdge; ++i) {
        for (int j = 0; j < perEdge; ++j) {
            for (int k = 0; k < perEdge; ++k) {
                m_centers.push_back(corner + cVector3(i + 0.5, j + 0.5, k + 0.5) * (edge / perEdge));
            }
        }
    }
}
