// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SAMPLER_ROTATIONANGLES_H
#define SELVANE_SAMPLER_ROTATIONANGLES_H

#include <array>

#include "Math/cMatrix33.h"

/// The angles of a rotation for cMatrix33::rotationXYZ, radians.
std::array<double, 3> rotationAngles(const cMatrix33& rotation);

#endif
