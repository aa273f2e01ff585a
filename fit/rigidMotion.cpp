// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/rigidMotion.h"

RigidMotion rigidMotion(const PoseMove& move) {
    const double angle = move.dRotation.norm();
    const cMatrix33 turn =
        angle > 0.0 ? cMatrix33::fromAxisAngle(move.dRotation / angle, angle) : cMatrix33::identity();
    const cMatrix33 rotation = move.rotation * turn;
    return {rotation, move.rotation * (move.shift + move.dTau) - rotation * move.center + move.center};
}
