// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ROTATEMAP_H
#define SELVANE_CROSSCORRELATION_ROTATEMAP_H

#include <array>
#include <vector>

class cGrid;

/// Samples a map at its nodes rotated about the centre of its box, filters it, and pads it: the target of one
/// rotation as a whole, where MapRotator gives it row by row. Node v of the source's range holds
///   source(centre + R (x_v - centre)), R = rotationXYZ(eulerAngles).
/// @param source     sourceGrid.getTotalSize() values
/// @param target     targetGrid.getTotalSize() doubles, overwritten
/// @param threshold  for fccf::SigmaFilter, in standard deviations
/// @throws std::length_error if the target has fewer nodes on an axis, or the map not one value per node
void rotateMap(const std::vector<double>& source, const cGrid& sourceGrid,
               const std::array<double, 3>& eulerAngles, const cGrid& targetGrid, double* target,
               double threshold);

#endif
