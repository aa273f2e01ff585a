// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_TURNTENSOR_H
#define SELVANE_FORMATS_TURNTENSOR_H

#include <array>

#include "Math/cMatrix33.h"

/// A symmetric tensor in the order of the ANISOU record: 11, 22, 33, 12, 13, 23.
using SymmetricTensor = std::array<double, 6>;

/// The tensor of an atom that is turned: R U R^T.
inline SymmetricTensor turnTensor(const SymmetricTensor& u, const cMatrix33& rotation) {
    const cMatrix33 whole(u[0], u[3], u[4], u[3], u[1], u[5], u[4], u[5], u[2]);
    const cMatrix33 turned = rotation * whole * rotation.getTranspose();
    return {turned(0, 0), turned(1, 1), turned(2, 2), turned(0, 1), turned(0, 2), turned(1, 2)};
}

#endif
