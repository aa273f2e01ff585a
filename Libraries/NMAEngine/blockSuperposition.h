// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_BLOCKSUPERPOSITION_H
#define SELVANE_NMAENGINE_BLOCKSUPERPOSITION_H

#include <array>
#include <list>
#include <vector>

#include "Math/cVector3.h"
#include "PDB/cPDBAtom.h"

/// A small rigid motion of a block, p -> centre + travel + (rotation by `turn`) (p - centre).
struct BlockMotion {
    cVector3 center; ///< of mass, before the motion
    cVector3 turn;   ///< rotation vector: angle in radians times unit axis, right-handed
    cVector3 travel; ///< of the centre
};

/// The rigid motion of the listed atoms that comes nearest, in the mass-weighted least squares sense, to
/// where they went. It is meant for small motions. The turn of atoms on a line is the shortest one that
/// brings the line to its new direction; a single atom doesn't turn.
/// @param before   all atoms
/// @param after    their new positions
/// @param block    the atoms of the block, places in `before` and `after`
/// @param masses   of the block's atoms, in the order of `block`
/// @throws std::out_of_range  an atom of the block outside `before` or `after`
BlockMotion fitBlockMotion(const std::vector<cPDBAtom>& before,
                           const std::vector<std::array<double, 3>>& after, const std::list<int>& block,
                           const std::vector<double>& masses);

#endif
