// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_PI_H
#define SELVANE_MATH_PI_H

constexpr double pi = 3.141592653589793; ///< the double nearest to it
constexpr double radiansPerDegree = pi / 180.0;

#endif
