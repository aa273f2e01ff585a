// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_EQUIVALENCE_H
#define SELVANE_ASSESSMENT_EQUIVALENCE_H

#include <cstddef>
#include <vector>

#include "Assessment/ScoringMap.h"
#include "Formats/AtomicModel.h"
#include "Math/RigidMotion.h"

/// Two places A and B of a model are equivalent when the map looks the same from both: when the motion
///   g(x) = B(A^-1(x)),
/// which takes the model at A to the model at B, takes the map around the model at A to itself. Which
/// symmetry a map has, and about which axes, need not be known; it may be one of a part of the map alone.
namespace equivalence {

/// The least self-correlation of an equivalence. Of a real map of seven-fold symmetry at 11.5 A the symmetric
/// places have 0.98, 0.95 if they are 1 A off and 0.85 if 2 A; random turns about the same middle have at
/// most 0.28, and two proteins of one fold in a simulated complex at 10 A 0.34.
constexpr double leastSelfCorrelation = 0.6;

/// Nodes of the map's lattice under a model and around it, where its blurred density is above a hundredth of
/// its highest; up to 2,000 of them, evenly thinned out, of a large model.
std::vector<cVector3> nodesAround(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                                  const RigidMotion& place);

/// The correlation about the means, over nodes v, of the contrasts C(v) and C(g v), linear between nodes.
/// Nodes that are not in the whole map, or whose image is not, do not count. The density itself would tell
/// less: all of a protein is dense, so that any turn of a compact one leaves 0.7.
/// @return 0 when fewer than half of the nodes count, or the contrast is constant
double selfCorrelation(const ScoringMap& map, const std::vector<cVector3>& nodes, const RigidMotion& motion);

/// For each place the first one in the list that it is equivalent to and that is equivalent to none before:
/// itself, if there is none.
///
/// A place is equivalent to one beside it, from which it differs by less than the map shows, so places that
/// are one have to be merged before.
std::vector<std::size_t> group(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                               const std::vector<RigidMotion>& places);

} // namespace equivalence

#endif
