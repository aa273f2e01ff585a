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

/// The resolution at which a map is compared with itself: coarser than its own, where noise that is not
/// symmetric tells places apart that are not, but fine enough to tell turns of the model. Between symmetric
/// places of a real ring at 11.5 A with as much white noise as there is scatter in the map the
/// self-correlation is 0.27 at 11.5 A and 0.80 at 20 A.
double resolutionFor(double mapResolution, double radiusOfGyration);

/// The least self-correlation of an equivalence. Symmetric places of that ring have 0.91 and more, 0.69 and
/// more with the noise; wrong places at most 0.39 in maps of 10 and 11.5 A, one of them between two proteins
/// of one fold.
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
/// @param map  at the resolution of resolutionFor()
/// @note A place is equivalent to one beside it, from which it differs by less than the map shows, so places
/// that are one have to be merged before.
std::vector<std::size_t> group(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                               const std::vector<RigidMotion>& places);

} // namespace equivalence

#endif
