// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_BLOCKSCREW_H
#define SELVANE_NMAENGINE_BLOCKSCREW_H

#include "Math/cMatrix33.h"
#include "Math/cVector3.h"

/// A finite rigid motion of a block, p -> p + (R - 1) (p - centre) + shift.
///
/// With the rotation vector `turn` = angle theta times unit axis n, and the vector `travel`, it is the screw
/// that turns by theta about an axis through X along n, and slides by the part of `travel` along n:
///   p -> R (p - X) + X + n (travel . n).
/// X lies at infinity for some angles, so it is not formed: shift = (1 - R) (X - centre) + n (travel . n) is,
/// in closed form. R takes the angle modulo 2 pi.
///
/// A turn smaller than `leastTurn` (radians), and none, is a translation by `travel`.
class BlockScrew {
public:
    /// The path of the velocity field travel + turn x (p - centre) over one unit of time:
    ///   X = centre + (n x across) / theta,
    ///   shift = along + across sin(theta) / theta + (n x across) (1 - cos(theta)) / theta,
    /// along and across being the parts of travel along n and across it. Its centre goes on an arc, so that
    /// it ends up nearer than `travel`.
    static BlockScrew followingVelocity(const cVector3& center, const cVector3& turn, const cVector3& travel,
                                        double leastTurn);

    /// The screw whose centre moves by exactly `travel`: shift = travel. Its axis,
    ///   X = centre + across / 2 - (travel x n) / (2 tan(theta / 2)),
    /// goes to infinity as theta nears a multiple of 2 pi other than 0; the motion does not, and becomes the
    /// translation by `travel` there.
    static BlockScrew movingCentre(const cVector3& center, const cVector3& turn, const cVector3& travel,
                                   double leastTurn);

    cVector3 operator()(const cVector3& p) const { return p + m_turning * (p - m_center) + m_shift; }

private:
    BlockScrew(const cVector3& center, const cMatrix33& turning, const cVector3& shift)
        : m_center(center), m_turning(turning), m_shift(shift) {}

    cVector3 m_center;
    cMatrix33 m_turning; ///< R - 1, so that no turn leaves the positions as they are, to the bit
    cVector3 m_shift;
};

#endif
