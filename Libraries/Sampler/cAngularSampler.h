// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SAMPLER_CANGULARSAMPLER_H
#define SELVANE_SAMPLER_CANGULARSAMPLER_H

#include <array>
#include <vector>

#include "Math/cVector3.h"

/// The finite set of rotations that a scan visits: the directions of a spiral over the sphere, which are
/// evenly spread, and a full turn in equal steps for each of them.
///
/// A direction is (phi, theta) and the turn is psi, the angles of a z-x-z Euler triple. Angles are in radians
/// but for the step and the bounds, which are in degrees.
class cAngularSampler {
public:
    /// The rotations for an angular step, as triples for cMatrix33::rotationXYZ. For each direction, from
    /// theta = pi up to theta = 0, all psi in ascending order. About 129600 / (pi step^2) directions, the two
    /// poles always among them, times 360 / step turns.
    /// @param step  degrees
    /// @throws std::invalid_argument when the step is not above 0, not finite, or too small to count the list
    static std::vector<std::array<double, 3>> constructRotations(double step);

    /// The z-x-z triples within bounds, by the generalised spiral of points on a sphere (Rakhmanov, Saff and
    /// Zhou 1994): heights in equal steps, and phi grows by 3.6 / sqrt((1 - h^2) K) from point to point.
    /// Ends the process with exit(-1) when the bounds leave no psi.
    /// @param bounds  degrees, (low, high) of phi, theta, psi
    /// @param step    degrees
    /// @param count   number of triples
    /// @param angles  new array of 3 * count doubles, each triple (phi, theta, psi) in [0, 2 pi), [0, pi],
    ///                [0, 2 pi); the caller frees it with delete[]
    /// @throws std::invalid_argument as constructRotations, and when the bounds are not finite or too far
    ///         apart to count the list
    static void eu_spiral(double bounds[3][2], double step, unsigned long* count, double*& angles);

    /// Brings a z-x-z triple (a0, b0, c0) into [low, low + 2 pi] per angle; a middle angle more than pi above
    /// its bound is folded back, with half a turn on the two others, so the rotation stays the same.
    static void remap_eulers(double* a, double* b, double* c, double a0, double b0, double c0, double aLow,
                             double bLow, double cLow);

    /// The triple of a scan for a z-x-z triple (a, b, c). It is not a decomposition of the z-x-z matrix: the
    /// angle about y comes first and the one about x second, and the scan's rotation is what
    /// cMatrix33::rotationXYZ makes of the three as they stand.
    static void convertZXZtoXYZ(double a, double b, double c, std::array<double, 3>& out);
    static void convertZXZtoXYZ(double a, double b, double c, cVector3& out);

    /// Angles with m = Rx(x) Ry(y) Rz(z), y in [-pi/2, pi/2].
    /// @return 1, or 0 where y is +-pi/2 and only x +- z is defined; then z = 0
    static int ToEulerAnglesXYZ(double& x, double& y, double& z, double m[3][3]);
};

#endif
