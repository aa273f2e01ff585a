// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_INTERPOLATION_TRILINEARSAMPLER_H
#define SELVANE_INTERPOLATION_TRILINEARSAMPLER_H

#include "Math/cGrid.h"
#include "Math/cVector3.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace lerp {

/// A field on a grid, read at any point by trilinear interpolation:
///   q = p inv - q0 per axis, inv = 1 / cell, q0 = m_min inv,
///   value = sum over the 8 corners of f times the weights (1 - fx) or fx, (1 - fy) or fy, (1 - fz) or fz,
/// with i = truncate(q.x), i1 = min(i + 1, nx - 1), fx = q.x - i, and likewise along y and z. A point that
/// the grid's box (m_min to m_max) does not strictly contain gives 0.
///
/// The cell of a point and the last bit of its value hang on the order of these operations. It is written
/// here only, so that lerp3d and kernels that rotate and sample in one go give the same bits.
///
/// The field is not owned and must not move. It holds grid.getTotalSize() doubles, which is not checked.
class TrilinearSampler {
public:
    TrilinearSampler(const cGrid& grid, const double* f)
        : m_f(f)
        , m_min(grid.m_box.m_min)
        , m_max(grid.m_box.m_max)
        , m_inverseCell(1 / grid.m_cellDim.x, 1 / grid.m_cellDim.y, 1 / grid.m_cellDim.z)
        , m_origin((grid.m_box.m_min + 0.0 * grid.m_cellDim) * m_inverseCell)
        , m_last(static_cast<double>(grid.m_size[0]) - 1, static_cast<double>(grid.m_size[1]) - 1,
                 static_cast<double>(grid.m_size[2]) - 1)
        , m_ny(grid.m_size[1])
        , m_nz(grid.m_size[2]) {
        if (grid.getTotalSize() == 0) {
            m_max = m_min; // no node, so no point is inside
        }
    }
    TrilinearSampler(const cGrid& grid, const std::vector<double>& f) : TrilinearSampler(grid, f.data()) {}

    /// The field at p.
    double operator()(const cVector3& p) const {
        if (!(m_min < p && p < m_max)) {
            return 0.0;
        }
        const cVector3 q = p * m_inverseCell - m_origin;
        const Neighbours x(q.x, m_last.x), y(q.y, m_last.y), z(q.z, m_last.z);
        const double* const row00 = row(x.lower, y.lower);
        const double* const row01 = row(x.lower, y.upper);
        const double* const row10 = row(x.upper, y.lower);
        const double* const row11 = row(x.upper, y.upper);
        const double weight00 = (1 - x.fraction) * (1 - y.fraction);
        const double weight01 = (1 - x.fraction) * y.fraction;
        const double weight10 = x.fraction * (1 - y.fraction);
        const double weight11 = x.fraction * y.fraction;
        const double below = 1 - z.fraction;
        const double above = z.fraction;
        return row00[z.lower] * (weight00 * below) + row00[z.upper] * (weight00 * above) +
               row01[z.lower] * (weight01 * below) + row01[z.upper] * (weight01 * above) +
               row10[z.lower] * (weight10 * below) + row10[z.upper] * (weight10 * above) +
               row11[z.lower] * (weight11 * below) + row11[z.upper] * (weight11 * above);
    }

    /// The field at the n points start + k step, k = 0 .. n - 1, each bit for bit what operator() gives: the
    /// form for a row of a rotated lattice, which uses wide instructions and skips what lies outside the box.
    void sampleRow(const cVector3& start, const cVector3& step, unsigned int n, double* out) const;

private:
    /// The range of k outside which no point of a row can lie inside the box, widened by one on either side.
    struct Range {
        unsigned int begin, end;
    };
    Range insideRange(const cVector3& start, const cVector3& step, unsigned int n) const;

    /// The two nodes around a coordinate in units of the cell.
    struct Neighbours {
        int lower, upper;
        double fraction;

        /// The clamp holds coordinates that only rounding, a nominal m_max beyond the last node or a cell
        /// that is not finite puts off the grid; its order of arguments turns not-a-number into 0.
        Neighbours(double q, double last)
            : lower(static_cast<int>(std::max(0.0, std::min(q, last))))
            , upper(std::min(lower + 1, static_cast<int>(last)))
            , fraction(q - lower) {}
    };

    /// The nodes (i, j, 0), (i, j, 1), ...; cGrid::indexToFlatIndex without its last term.
    const double* row(int i, int j) const {
        return m_f + static_cast<std::size_t>(
                         (static_cast<unsigned int>(i) * m_ny + static_cast<unsigned int>(j)) * m_nz);
    }

    const double* m_f;
    cVector3 m_min, m_max;
    cVector3 m_inverseCell;
    cVector3 m_origin; ///< q0, node (0, 0, 0) in units of the cell
    cVector3 m_last;   ///< n - 1 per axis
    unsigned int m_ny, m_nz;
};

} // namespace lerp

#endif
