// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_DECOMPOSITIONS_TRILINEAR_H
#define SELVANE_DECOMPOSITIONS_TRILINEAR_H

#include "Math/cVector3.h"

/// The trilinear blend of the eight values at the corners of a lattice cell.
/// @param value     callable (i, j, k) -> double
/// @param i, j, k   indices of the low corner; the seven others are one higher on one, two or three axes
/// @param fraction  place in the cell, 0 at the low corner and 1 at the high one, per axis
template <class Value>
double blendTrilinearly(const Value& value, int i, int j, int k, const cVector3& fraction) {
    const auto alongZ = [&](int a, int b) {
        return (1.0 - fraction.z) * value(a, b, k) + fraction.z * value(a, b, k + 1);
    };
    const auto alongYZ = [&](int a) {
        return (1.0 - fraction.y) * alongZ(a, j) + fraction.y * alongZ(a, j + 1);
    };
    return (1.0 - fraction.x) * alongYZ(i) + fraction.x * alongYZ(i + 1);
}

#endif
