// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_RIGIDMOTION_H
#define SELVANE_MATH_RIGIDMOTION_H

#include "Math/cMatrix33.h"
#include "Math/cVector3.h"

/// A rotation and a translation: x' = R x + t, lengths in angstrom.
struct RigidMotion {
    cMatrix33 rotation = cMatrix33::identity();
    cVector3 translation = cVector3(0.0);

    cVector3 operator()(const cVector3& x) const { return rotation * x + translation; }

    /// The motion that undoes this one.
    RigidMotion inverse() const {
        const cMatrix33 back = rotation.getTranspose();
        return {back, back * translation * -1.0};
    }

    static RigidMotion shift(const cVector3& by) { return {cMatrix33::identity(), by}; }
};

/// First `first`, then `second`.
inline RigidMotion chain(const RigidMotion& first, const RigidMotion& second) {
    return {second.rotation * first.rotation, second(first.translation)};
}

#endif
