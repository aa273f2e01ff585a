// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cInterval.h"

#include <algorithm>
#include <cmath>

cInterval cInterval::operator*(const cInterval& b) const {
    const auto ends = std::minmax({lower * b.lower, lower * b.upper, upper * b.lower, upper * b.upper});
    return {ends.first, ends.second};
}

cInterval cInterval::operator/(const cInterval& b) const {
    if (b.contains(0.0)) {
        return {-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
    }
    const auto ends = std::minmax({lower / b.lower, lower / b.upper, upper / b.lower, upper / b.upper});
    return {ends.first, ends.second};
}

cInterval cInterval::operator*(double factor) const {
    return factor < 0.0 ? cInterval(upper * factor, lower * factor)
                        : cInterval(lower * factor, upper * factor);
}

cInterval& cInterval::operator+=(double shift) {
    lower += shift;
    upper += shift;
    return *this;
}

cInterval cInterval::operator^(const cInterval& b) const {
    return {std::max(lower, b.lower), std::min(upper, b.upper)};
}

bool cInterval::isEmpty(double a, double b) const {
    return std::max(lower, a) > std::min(upper, b);
}

double cInterval::getAbsLower() const {
    return contains(0.0) ? 0.0 : std::min(std::fabs(lower), std::fabs(upper));
}

double cInterval::getAbsUpper() const {
    return std::max(std::fabs(lower), std::fabs(upper));
}

void cInterval::bound(double x) {
    lower = std::min(lower, x);
    upper = std::max(upper, x);
}

void cInterval::bound(const cInterval& b) {
    lower = std::min(lower, b.lower);
    upper = std::max(upper, b.upper);
}

void cInterval::expand(double d) {
    lower -= d;
    upper += d;
}
