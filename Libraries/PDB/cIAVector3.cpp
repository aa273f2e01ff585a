// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cIAVector3.h"

#include <algorithm>
#include <cmath>

namespace {

double length(const cInterval& interval) {
    return interval.upper - interval.lower;
}
double middle(const cInterval& interval) {
    return 0.5 * (interval.lower + interval.upper);
}

bool holds(const cInterval& outer, const cInterval& inner) {
    return outer.lower <= inner.lower && inner.upper <= outer.upper;
}

bool areWithin(const cInterval& a, const cInterval& b, double margin) {
    return a.lower <= b.upper + margin && b.lower <= a.upper + margin;
}

double square(double value) {
    return value * value;
}

} // namespace

cIAVector3::cIAVector3(double value) : x(value), y(value), z(value) {}

cIAVector3::cIAVector3(const cVector3& p) : x(p.x), y(p.y), z(p.z) {}

cIAVector3::cIAVector3(double px, double py, double pz) : x(px), y(py), z(pz) {}

cIAVector3::cIAVector3(double xLower, double xUpper, double yLower, double yUpper, double zLower,
                       double zUpper)
    : x(xLower, xUpper), y(yLower, yUpper), z(zLower, zUpper) {}

cIAVector3::cIAVector3(const double bounds[3][2])
    : x(bounds[0][0], bounds[0][1]), y(bounds[1][0], bounds[1][1]), z(bounds[2][0], bounds[2][1]) {}

cIAVector3::cIAVector3(const cInterval& ix, const cInterval& iy, const cInterval& iz) : x(ix), y(iy), z(iz) {}

cInterval cIAVector3::operator|(const cIAVector3& b) const {
    return x * b.x + y * b.y + z * b.z;
}

cIAVector3 cIAVector3::operator^(const cIAVector3& b) const {
    return {y * b.z - z * b.y, z * b.x - x * b.z, x * b.y - y * b.x};
}

double cIAVector3::lengthsSum() const {
    return length(x) + length(y) + length(z);
}

double cIAVector3::volume() const {
    return length(x) * length(y) * length(z);
}

void cIAVector3::makePointBox() {
    *this = cIAVector3(center());
}

cVector3 cIAVector3::center() const {
    return {middle(x), middle(y), middle(z)};
}

bool cIAVector3::contain(const cIAVector3& b) const {
    return holds(x, b.x) && holds(y, b.y) && holds(z, b.z);
}

bool cIAVector3::overlaps(const cIAVector3& b, double margin) const {
    return areWithin(x, b.x, margin) && areWithin(y, b.y, margin) && areWithin(z, b.z, margin);
}

bool cIAVector3::overlapsAdvanced(const cIAVector3& b, double lo2, double hi2) const {
    const cInterval differences[] = {x - b.x, y - b.y, z - b.z};
    double nearest2 = 0.0;
    double farthest2 = 0.0;
    for (const cInterval& difference : differences) {
        nearest2 += square(difference.getAbsLower());
        farthest2 += square(difference.getAbsUpper());
    }
    return nearest2 <= hi2 && farthest2 >= lo2;
}

double cIAVector3::distance2ToPoint(const cVector3& p) const {
    const cInterval differences[] = {x - p.x, y - p.y, z - p.z};
    double distance2 = 0.0;
    for (const cInterval& difference : differences) {
        distance2 += square(difference.getAbsLower());
    }
    return distance2;
}

void cIAVector3::split(cIAVector3& a, cIAVector3& b) const {
    cInterval cIAVector3::*axis = length(y) > length(x) ? &cIAVector3::y : &cIAVector3::x;
    if (length(z) > length(this->*axis)) {
        axis = &cIAVector3::z;
    }
    const cIAVector3 whole = *this; // a or b may be this box
    const double half = middle(whole.*axis);
    a = whole;
    b = whole;
    (a.*axis).upper = half;
    (b.*axis).lower = half;
}

void cIAVector3::expand(double d) {
    x.expand(d);
    y.expand(d);
    z.expand(d);
}

void cIAVector3::bound(const cIAVector3& b) {
    x.bound(b.x);
    y.bound(b.y);
    z.bound(b.z);
}
