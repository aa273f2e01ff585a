// SPDX-License-Identifier: GPL-3.0-or-later
#include "Interpolation/TrilinearSampler.h"

#include <cmath>

#include "Math/multiversion.h"

namespace {

/// One axis of a row of points and of the grid they are sampled from.
struct RowAxis {
    double start, step;
    double low, high; ///< the open box
    double inverseCell, origin;
    double last; ///< n - 1
};

struct Row {
    RowAxis x, y, z;
    const double* field;
    int ny, nz;
};

struct Place {
    int lower, upper;
    double fraction;
};

inline double coordinate(const RowAxis& axis, unsigned int k) {
    return axis.start + axis.step * static_cast<double>(static_cast<int>(k));
}

inline bool isInside(const RowAxis& axis, double p) {
    return (axis.low < p) & (p < axis.high);
}

/// TrilinearSampler::Neighbours in a form without branches.
inline Place placeOf(const RowAxis& axis, double p) {
    const double q = p * axis.inverseCell - axis.origin;
    const double capped = axis.last < q ? axis.last : q;
    const int lower = static_cast<int>(0.0 < capped ? capped : 0.0);
    const int last = static_cast<int>(axis.last);
    const int next = lower + 1;
    return {lower, last < next ? last : next, q - static_cast<double>(lower)};
}

/// The expression of TrilinearSampler::operator() for every point; a point outside reads a clamped place and
/// is then set to 0, so that the loop has no branches.
SELVANE_MULTIVERSION
void sampleRange(const Row& given, unsigned int begin, unsigned int end, double* __restrict out) {
    const Row row = given;
    for (unsigned int k = begin; k < end; ++k) {
        const double px = coordinate(row.x, k);
        const double py = coordinate(row.y, k);
        const double pz = coordinate(row.z, k);
        const Place x = placeOf(row.x, px);
        const Place y = placeOf(row.y, py);
        const Place z = placeOf(row.z, pz);
        const int row00 = (x.lower * row.ny + y.lower) * row.nz;
        const int row01 = (x.lower * row.ny + y.upper) * row.nz;
        const int row10 = (x.upper * row.ny + y.lower) * row.nz;
        const int row11 = (x.upper * row.ny + y.upper) * row.nz;
        const double weight00 = (1 - x.fraction) * (1 - y.fraction);
        const double weight01 = (1 - x.fraction) * y.fraction;
        const double weight10 = x.fraction * (1 - y.fraction);
        const double weight11 = x.fraction * y.fraction;
        const double below = 1 - z.fraction;
        const double above = z.fraction;
        const double value = row.field[row00 + z.lower] * (weight00 * below) +
                             row.field[row00 + z.upper] * (weight00 * above) +
                             row.field[row01 + z.lower] * (weight01 * below) +
                             row.field[row01 + z.upper] * (weight01 * above) +
                             row.field[row10 + z.lower] * (weight10 * below) +
                             row.field[row10 + z.upper] * (weight10 * above) +
                             row.field[row11 + z.lower] * (weight11 * below) +
                             row.field[row11 + z.upper] * (weight11 * above);
        const bool inside = isInside(row.x, px) & isInside(row.y, py) & isInside(row.z, pz);
        out[k] = inside ? value : 0.0;
    }
}

} // namespace

namespace lerp {

TrilinearSampler::Range TrilinearSampler::insideRange(const cVector3& start, const cVector3& step,
                                                      unsigned int n) const {
    double first = 0.0;
    double last = static_cast<double>(n);
    for (int axis = 0; axis < 3; ++axis) {
        const double edge = m_max[axis] - m_min[axis];
        // Along an axis that the row hardly moves in, rounding decides; leave that to the exact test.
        constexpr double negligible = 1e-6;
        if (!(std::abs(step[axis]) > negligible * edge / std::max(last, 1.0))) {
            continue;
        }
        const double a = (m_min[axis] - start[axis]) / step[axis];
        const double b = (m_max[axis] - start[axis]) / step[axis];
        first = std::max(first, std::floor(std::min(a, b)) - 1.0);
        last = std::min(last, std::ceil(std::max(a, b)) + 2.0);
    }
    if (!(first < last)) {
        return {0, 0};
    }
    return {static_cast<unsigned int>(first), static_cast<unsigned int>(last)};
}

void TrilinearSampler::sampleRow(const cVector3& start, const cVector3& step, unsigned int n,
                                 double* out) const {
    const Range range = m_max == m_min ? Range{0, 0} : insideRange(start, step, n);
    std::fill(out, out + range.begin, 0.0);
    const Row row{{start.x, step.x, m_min.x, m_max.x, m_inverseCell.x, m_origin.x, m_last.x},
                  {start.y, step.y, m_min.y, m_max.y, m_inverseCell.y, m_origin.y, m_last.y},
                  {start.z, step.z, m_min.z, m_max.z, m_inverseCell.z, m_origin.z, m_last.z},
                  m_f,
                  static_cast<int>(m_ny),
                  static_cast<int>(m_nz)};
    sampleRange(row, range.begin, range.end, out);
    std::fill(out + range.end, out + n, 0.0);
}

} // namespace lerp
