// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_GEOMETRY_H
#define SELVANE_EXAMPLES_GEOMETRY_H

#include <array>

namespace example {

/// A point or a direction, in angstrom.
struct Vec3 {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

Vec3 operator+(const Vec3& a, const Vec3& b);
Vec3 operator-(const Vec3& a, const Vec3& b);
Vec3 operator*(double s, const Vec3& a);
double dot(const Vec3& a, const Vec3& b);
Vec3 cross(const Vec3& a, const Vec3& b);
double norm(const Vec3& a);

/// Row-major 3 x 3 matrix that acts on column vectors.
using Mat3 = std::array<std::array<double, 3>, 3>;

Vec3 operator*(const Mat3& m, const Vec3& a);
Mat3 transposed(const Mat3& m);

/// Active, right-handed rotation of the unit quaternion (w, x, y, z).
Mat3 rotationFromQuaternion(double w, double x, double y, double z);

/// Angle at b of a-b-c, in degrees.
double bondAngle(const Vec3& a, const Vec3& b, const Vec3& c);

/// Torsion a-b-c-d in degrees, in (-180, 180]; 0 is cis, clockwise seen from b to c is positive.
double torsionAngle(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& d);

/// Position of d from its internal coordinates: length of c-d in angstrom, angle b-c-d and torsion a-b-c-d in
/// degrees (Parsons et al., 2005). a, b and c must not lie on a line.
Vec3 placeAtom(const Vec3& a, const Vec3& b, const Vec3& c, double length, double angle, double torsion);

/// Angle by which two substituents s and u of an atom are turned apart about its bond to a third atom r, in
/// degrees within [0, 180], from the three bond angles r-s, r-u and s-u at that atom.
double branchTorsion(double angleRS, double angleRU, double angleSU);

} // namespace example

#endif
