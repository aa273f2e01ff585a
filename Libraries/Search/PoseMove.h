// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_POSEMOVE_H
#define SELVANE_SEARCH_POSEMOVE_H

#include "Math/cMatrix33.h"
#include "Math/cVector3.h"

/// Where a pose puts the atoms of the model: with u the displacement of an atom at p by the modes,
///   p' = R ((p - c) + t) + R (dt + w x (p - c) + u) + c,
/// the model shifted, moved by the local increments, and then turned about c. Lengths in angstrom.
struct PoseMove {
    cMatrix33 rotation; ///< R
    cVector3 center;    ///< c
    cVector3 shift;     ///< t
    cVector3 dTau;      ///< dt, the local increment of the shift
    cVector3 dRotation; ///< w, the local increment of the rotation, in radians

    cVector3 operator()(const cVector3& p, const cVector3& flex) const {
        const cVector3 local = dTau + (dRotation ^ (p - center)) + flex;
        return rotation * ((p - center) + shift) + rotation * local + center;
    }

    /// The rotation and the translation of the rigid motion p' = R p + translation() that the pose is but for
    /// dRotation and u.
    cVector3 translation() const { return rotation * (shift + dTau - center) + center; }
};

#endif
