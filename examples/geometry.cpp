// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/geometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace example {
namespace {

constexpr double degree = 3.14159265358979323846 / 180.0;

} // namespace

Vec3 operator+(const Vec3& a, const Vec3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

Vec3 operator-(const Vec3& a, const Vec3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

Vec3 operator*(double s, const Vec3& a) {
    return {s * a.x, s * a.y, s * a.z};
}

double dot(const Vec3& a, const Vec3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Vec3 cross(const Vec3& a, const Vec3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

double norm(const Vec3& a) {
    return std::sqrt(dot(a, a));
}

Vec3 operator*(const Mat3& m, const Vec3& a) {
    return {m[0][0] * a.x + m[0][1] * a.y + m[0][2] * a.z, m[1][0] * a.x + m[1][1] * a.y + m[1][2] * a.z,
            m[2][0] * a.x + m[2][1] * a.y + m[2][2] * a.z};
}

Mat3 transposed(const Mat3& m) {
    Mat3 t{};
    for (std::size_t r = 0; r < 3; ++r) {
        for (std::size_t c = 0; c < 3; ++c) {
            t[r][c] = m[c][r];
        }
    }
    return t;
}

Mat3 rotationFromQuaternion(double w, double x, double y, double z) {
    return {{{1.0 - 2.0 * (y * y + z * z), 2.0 * (x * y - w * z), 2.0 * (x * z + w * y)},
             {2.0 * (x * y + w * z), 1.0 - 2.0 * (x * x + z * z), 2.0 * (y * z - w * x)},
             {2.0 * (x * z - w * y), 2.0 * (y * z + w * x), 1.0 - 2.0 * (x * x + y * y)}}};
}

double bondAngle(const Vec3& a, const Vec3& b, const Vec3& c) {
    const Vec3 u = a - b;
    const Vec3 v = c - b;
    return std::atan2(norm(cross(u, v)), dot(u, v)) / degree;
}

double torsionAngle(const Vec3& a, const Vec3& b, const Vec3& c, const Vec3& d) {
    const Vec3 axis = c - b;
    const Vec3 n1 = cross(b - a, axis);
    const Vec3 n2 = cross(axis, d - c);
    return std::atan2(norm(axis) * dot(b - a, n2), dot(n1, n2)) / degree;
}

Vec3 placeAtom(const Vec3& a, const Vec3& b, const Vec3& c, double length, double angle, double torsion) {
    const Vec3 axis = (1.0 / norm(c - b)) * (c - b);
    const Vec3 side = cross(b - a, axis);
    const Vec3 n = (1.0 / norm(side)) * side;
    const Vec3 m = cross(n, axis);
    const double along = -length * std::cos(angle * degree);
    const double across = length * std::sin(angle * degree);
    return c + along * axis + across * std::cos(torsion * degree) * m +
           across * std::sin(torsion * degree) * n;
}

double branchTorsion(double angleRS, double angleRU, double angleSU) {
    const double cosRS = std::cos(angleRS * degree);
    const double cosRU = std::cos(angleRU * degree);
    const double sines = std::sin(angleRS * degree) * std::sin(angleRU * degree);
    const double cosine = (std::cos(angleSU * degree) - cosRS * cosRU) / sines;
    return std::acos(std::clamp(cosine, -1.0, 1.0)) / degree;
}

} // namespace example
