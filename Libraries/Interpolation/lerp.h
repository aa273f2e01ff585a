// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_INTERPOLATION_LERP_H
#define SELVANE_INTERPOLATION_LERP_H

#include <vector>

#include "Math/cVector3.h"

class cGrid;
class cMatrix33;

/// Trilinear interpolation of a field f on a grid, f in the flat order of cGrid. A point that the grid's box
/// does not strictly contain gives 0. All functions are pure and may run at the same time on shared input.
namespace lerp {

/// The field at each position, by TrilinearSampler.
/// @param out  positions.size() entries or more, written by index, not resized
/// @throws std::length_error when f is not of the grid's size or out is too short; nothing is written then
void lerp3d(const std::vector<cVector3>& positions, const cGrid& grid, const std::vector<double>& f,
            std::vector<double>& out);

/// The field at each position, merged axis by axis between the nodes around it. Equal to the other form up to
/// rounding; which nodes are around a point is rounded another way.
/// @throws std::length_error when f is not of the grid's size
std::vector<double> lerp3d(const std::vector<cVector3>& positions, const cGrid& grid,
                           const std::vector<double>& f);

/// The field at R p for each node position p of the grid, in flat order: a rotation about the world origin,
/// merged axis by axis like the form before.
/// @throws std::length_error when f is not of the grid's size
std::vector<double> lerp3d(const cMatrix33& rotation, const cGrid& grid, const std::vector<double>& f);

} // namespace lerp

#endif
