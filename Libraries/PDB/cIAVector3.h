// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CIAVECTOR3_H
#define SELVANE_PDB_CIAVECTOR3_H

#include "Math/cVector3.h"
#include "PDB/cInterval.h"

/// An interval per axis: an axis-aligned box, or a vector known up to intervals. Faces belong to the box.
class cIAVector3 {
public:
    /// Unset: three empty intervals.
    cIAVector3() = default;
    /// Point box; all three axes [value, value] in the form with one value.
    explicit cIAVector3(double value);
    explicit cIAVector3(const cVector3& p);
    cIAVector3(double px, double py, double pz);
    cIAVector3(double xLower, double xUpper, double yLower, double yUpper, double zLower, double zUpper);
    /// bounds[axis][0] is the lower end, bounds[axis][1] the upper.
    explicit cIAVector3(const double bounds[3][2]);
    cIAVector3(const cInterval& ix, const cInterval& iy, const cInterval& iz);

    /// Dot and cross product in interval arithmetic.
    cInterval operator|(const cIAVector3& b) const;
    cIAVector3 operator^(const cIAVector3& b) const;

    /// Sum of the three edge lengths; product of the three.
    double lengthsSum() const;
    double volume() const;
    /// Collapses the box to its centre.
    void makePointBox();
    cVector3 center() const;

    /// b lies in this box.
    bool contain(const cIAVector3& b) const;
    /// This box lies in b.
    bool inBounds(const cIAVector3& b) const { return b.contain(*this); }
    bool overlaps(const cIAVector3& b) const { return overlaps(b, 0.0); }
    /// The boxes are at most `margin` apart on each axis.
    bool overlaps(const cIAVector3& b, double margin) const;
    /// Some point of this box and some point of b have a squared distance in [lo2, hi2].
    bool overlapsAdvanced(const cIAVector3& b, double lo2, double hi2) const;
    /// Squared distance from p to the nearest point of the box, 0 inside.
    double distance2ToPoint(const cVector3& p) const;

    /// Halves the longest axis into a (low half) and b; of equal axes x goes before y, and both before z.
    void split(cIAVector3& a, cIAVector3& b) const;
    void expand(double d);
    void shrink(double d) { expand(-d); }
    /// Grows to contain b.
    void bound(const cIAVector3& b);

    cInterval x, y, z;
};

#endif
