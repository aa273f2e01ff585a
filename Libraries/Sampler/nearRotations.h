// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SAMPLER_NEARROTATIONS_H
#define SELVANE_SAMPLER_NEARROTATIONS_H

#include <array>
#include <vector>

#include "Math/cMatrix33.h"

/// The angle of the rotation that leads from one orientation to another, degrees, 0 to 180.
double degreesBetween(const cMatrix33& a, const cMatrix33& b);

/// A rotation, and behind it those of a list that are within an angle of it, in the order of the list.
/// @param rotations  angles for cMatrix33::rotationXYZ, radians
/// @param degrees    at 0 and below only the rotation itself is left
std::vector<std::array<double, 3>> rotationsNear(const std::vector<std::array<double, 3>>& rotations,
                                                 const cMatrix33& middle, double degrees);

#endif
