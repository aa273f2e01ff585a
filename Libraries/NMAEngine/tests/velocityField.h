// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_TESTS_VELOCITYFIELD_H
#define SELVANE_NMAENGINE_TESTS_VELOCITYFIELD_H

#include "Math/cVector3.h"

/// Velocities of a body in rigid motion, constant in time.
struct VelocityField {
    cVector3 center;
    cVector3 turn;   ///< angular velocity
    cVector3 travel; ///< velocity at the centre

    cVector3 operator()(const cVector3& p) const { return travel + (turn ^ (p - center)); }

    /// Where the field carries a point in one unit of time, by classical Runge-Kutta steps of fourth order.
    /// With 4000 steps a turn of 10 rad has a local error of (1/400)^5 rad per step, 1e-10 of the radius in
    /// all.
    cVector3 carry(cVector3 p) const {
        constexpr int nSteps = 4000;
        constexpr double h = 1.0 / nSteps;
        for (int i = 0; i < nSteps; ++i) {
            const cVector3 k1 = (*this)(p);
            const cVector3 k2 = (*this)(p + k1 * (h / 2));
            const cVector3 k3 = (*this)(p + k2 * (h / 2));
            const cVector3 k4 = (*this)(p + k3 * h);
            p += (k1 + k2 * 2.0 + k3 * 2.0 + k4) * (h / 6);
        }
        return p;
    }
};

#endif
