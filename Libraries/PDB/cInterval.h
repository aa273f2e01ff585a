// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CINTERVAL_H
#define SELVANE_PDB_CINTERVAL_H

#include <limits>

/// A closed interval of real numbers, with the operators of interval arithmetic: the result holds every value
/// that the operation takes on members of the operands. Rounding is not directed outwards.
class cInterval {
public:
    /// Unset: empty, so that the first bound() makes it a point.
    cInterval() = default;
    cInterval(double value) : lower(value), upper(value) {}
    cInterval(double low, double high) : lower(low), upper(high) {}

    cInterval operator+(const cInterval& b) const { return {lower + b.lower, upper + b.upper}; }
    cInterval operator-(const cInterval& b) const { return {lower - b.upper, upper - b.lower}; }
    cInterval operator*(const cInterval& b) const;
    /// The whole line if the divisor contains 0.
    cInterval operator/(const cInterval& b) const;
    cInterval operator-() const { return {-upper, -lower}; }
    cInterval operator*(double factor) const;
    cInterval& operator+=(const cInterval& b) { return *this = *this + b; }
    cInterval& operator-=(const cInterval& b) { return *this = *this - b; }
    /// Shifts both ends.
    cInterval& operator+=(double shift);
    /// Intersection; empty (lower above upper) if the two are disjoint.
    cInterval operator^(const cInterval& b) const;

    /// No point of the interval lies in [a, b].
    bool isEmpty(double a, double b) const;
    bool contains(double x) const { return lower <= x && x <= upper; }
    /// Smallest and largest magnitude of a member.
    double getAbsLower() const;
    double getAbsUpper() const;

    /// Grow to contain the argument.
    void bound(double x);
    void bound(const cInterval& b);
    /// Move both ends outwards, inwards by d.
    void expand(double d);
    void shrink(double d) { expand(-d); }

    double lower = std::numeric_limits<double>::infinity();
    double upper = -std::numeric_limits<double>::infinity();
};

#endif
