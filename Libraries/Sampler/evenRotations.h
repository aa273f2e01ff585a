// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SAMPLER_EVENROTATIONS_H
#define SELVANE_SAMPLER_EVENROTATIONS_H

#include <array>
#include <cstddef>
#include <vector>

/// A set of rotations spread evenly over all of them, as many as it takes that no orientation is farther
/// than `step` from the nearest: super-Fibonacci spirals (Alexa 2022). With n rotations, number i is the
/// quaternion
///   (r sin a, r cos a, R sin b, R cos b),  r^2 = (i + 1/2) / n,  R^2 = 1 - r^2,
///   a = 2 pi (i + 1/2) / sqrt(2),  b = 2 pi (i + 1/2) / psi,  psi^4 = psi + 4.
/// For the same farthest distance it takes a fifth to a twelfth of the rotations of cAngularSampler's set.
/// @param step  degrees
/// @return angles for cMatrix33::rotationXYZ, radians
/// @throws std::invalid_argument unless the step is above 0 and no finer than evenRotationLimit
std::vector<std::array<double, 3>> evenRotations(double step);

/// The size of that set: the least n with n^(1/3) step >= 245 degrees, but at least 30. The farthest
/// distance is at most 245 n^(-1/3) degrees for all larger sets, and falls to 215 n^(-1/3) for the largest.
/// @throws std::invalid_argument as evenRotations()
std::size_t evenRotationCount(double step);

/// The finest step, degrees: 118 million rotations.
constexpr double evenRotationLimit = 0.5;

#endif
