// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_CLASHTEST_H
#define SELVANE_ASSESSMENT_CLASHTEST_H

#include <array>
#include <cstddef>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Math/RigidMotion.h"
#include "Math/cVector3.h"

/// Tells whether two placements of a model take the same space.
class ClashTest {
public:
    /// Two atoms that are not bonded come hardly nearer, angstrom.
    static constexpr double closest = 3.0;
    /// From this share of the atoms on two placements clash. Neighbours of a real ring at 11.5 A have up to
    /// 0.018 where their places have been climbed to their best scores, wrong places upon each other mostly
    /// more than 0.1.
    static constexpr double leastShare = 0.03;

    /// Sorts the atoms into cells, once for all placements.
    explicit ClashTest(const std::vector<ModelAtom>& atoms);

    /// The fraction of the atoms of a placement that are nearer than `closest` to some atom of the other one;
    /// the larger one of the two. 0 without atoms.
    double share(const RigidMotion& a, const RigidMotion& b) const;

    bool clashes(const RigidMotion& a, const RigidMotion& b) const { return share(a, b) >= leastShare; }

private:
    void layCells();
    std::size_t cellOf(const cVector3& position, int axis) const;
    bool isNearAtom(const cVector3& position) const;
    std::size_t countNear(const RigidMotion& motion) const;

    std::vector<cVector3> m_positions; ///< in the order of their cells
    cVector3 m_low = cVector3(0.0), m_high = cVector3(0.0);
    double m_edge = closest; ///< of a cell, angstrom
    std::array<std::size_t, 3> m_cells{};
    std::vector<std::size_t> m_begin; ///< of a cell's atoms, and one more
};

#endif
