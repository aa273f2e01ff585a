// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_INTERPOLATION_TRILINEARSAMPLER_H
#define SELVANE_INTERPOLATION_TRILINEARSAMPLER_H

#include <cstddef>
#include <vector>

#include "Math/cGrid.h"
#include "Math/cVector3.h"
#include "Math/multiversion.h"

namespace lerp {

/// A field on a grid, read at any point by trilinear interpolation. Per axis of n nodes, with inv = 1 / cell,
///   q = p inv - m_min inv,  i = truncate(q) held within 0 .. n - 2,  t = min(q - i, 1),
/// and the values of the nodes i and i + 1 are merged as a + t (b - a), along x, then y, then z. An axis of
/// one node is its own neighbour. A point that the grid's box (m_min to m_max) does not strictly contain
/// gives 0.
///
/// The cell of a point and the last bit of its value hang on the order of these operations. lerp3d and
/// kernels that rotate and sample in one go take them from here, so all give the same bits.
///
/// The field is not owned and must not move. It holds grid.getTotalSize() values, which is not checked.
/// @tparam Value  that the field is stored as, float or double; either way the arithmetic is that of doubles,
///                but where a row of floats is read from floats
template <class Value>
class BasicTrilinearSampler {
public:
    BasicTrilinearSampler(const cGrid& grid, const Value* f);
    BasicTrilinearSampler(const cGrid& grid, const std::vector<Value>& f)
        : BasicTrilinearSampler(grid, f.data()) {}

    /// The field at p.
    double operator()(const cVector3& p) const {
        if (m_isEmpty || !isInside(p)) {
            return 0.0;
        }
        const Place x = m_x.placeOf(p.x), y = m_y.placeOf(p.y), z = m_z.placeOf(p.z);
        const Value* const f = m_f + static_cast<std::size_t>(flatIndex(x.cell, y.cell, z.cell));
        return merge(mergeXY(f, x.fraction, y.fraction), mergeXY(f + m_z.toUpper, x.fraction, y.fraction),
                     z.fraction);
    }

    /// The field at the n points start + k step, k = 0 .. n - 1, each bit for bit what operator() gives: the
    /// form for a row of a rotated lattice, which uses wide instructions and skips what lies outside the box.
    /// @tparam Out  double; or float, for the values of operator() rounded to it, or, where Value is float,
    ///              merged in single precision, for an error of up to 24 units of 2^-24 of the largest
    ///              node of the cell. Places are found in double precision in any case.
    template <class Out>
    void sampleRow(const cVector3& start, const cVector3& step, unsigned int n, Out* out) const;

private:
    /// The cell of a coordinate, a whole number, and the way from its lower to its upper node.
    struct Place {
        double cell, fraction;
    };

    struct Axis {
        double min, max; ///< the open box
        double inverseCell;
        double origin;   ///< q of node 0
        double lastCell; ///< n - 2, but 0 for one node
        double stride;   ///< from one node to the next in the flat order
        std::ptrdiff_t
            toUpper; ///< from the lower to the upper node of a cell: the stride, but 0 for one node

        Axis(const cGrid& grid, int axis);

        bool isInside(double p) const { return (min < p) & (p < max); }

        double inCells(double p) const { return p * inverseCell - origin; }

        /// Whether p lies in a cell of the grid by mere truncation.
        bool isOnGrid(double p) const {
            const double q = inCells(p);
            return (-1.0 < q) & (q < lastCell + 1.0);
        }

        /// The place of a coordinate that isOnGrid().
        Place placeOnGrid(double p) const {
            const double q = inCells(p);
            const double cell = static_cast<double>(static_cast<int>(q));
            return {cell, q - cell};
        }

        /// The place of any coordinate. The clamps hold those that only rounding, a nominal m_max beyond the
        /// last node or a cell that is not finite puts off the grid; not-a-number goes to cell 0.
        Place placeOf(double p) const {
            const double q = inCells(p);
            const double capped = lastCell < q ? lastCell : q;
            const double cell = static_cast<double>(static_cast<int>(0.0 < capped ? capped : 0.0));
            const double fraction = q - cell;
            return {cell, 1.0 < fraction ? 1.0 : fraction};
        }
    };

    bool isInside(const cVector3& p) const {
        const bool x = m_x.isInside(p.x), y = m_y.isInside(p.y), z = m_z.isInside(p.z);
        return x & y & z;
    }

    /// cGrid::indexToFlatIndex; exact, as all three are whole numbers.
    double flatIndex(double x, double y, double z) const { return x * m_x.stride + y * m_y.stride + z; }

    template <class Real>
    static Real merge(const Real& lower, const Real& upper, const Real& fraction) {
        return lower + fraction * (upper - lower);
    }

    /// The four nodes around a point in the layer of f, its lowest.
    double mergeXY(const Value* f, double x, double y) const {
        const Value* const g = f + m_x.toUpper;
        return merge(merge(double{f[0]}, double{g[0]}, x),
                     merge(double{f[m_y.toUpper]}, double{g[m_y.toUpper]}, x), y);
    }

    struct Range {
        unsigned int begin, end;
    };
    /// The points of a row that lie inside the box. Every coordinate of start + k step grows or falls with k
    /// even when rounded, so they have no gap.
    Range insideRange(const cVector3& start, const cVector3& step, unsigned int n) const;

    /// Whether sampleOnGrid() may take p.
    bool isOnGrid(const cVector3& p) const {
        return m_hasPairs && m_x.isOnGrid(p.x) && m_y.isOnGrid(p.y) && m_z.isOnGrid(p.z);
    }
    template <class Out>
    SELVANE_WIDE_MULTIVERSION void sampleOnGrid(const cVector3& start, const cVector3& step, Range range,
                                                Out* out) const;

    const Value* m_f;
    Axis m_x, m_y, m_z;
    bool m_isEmpty;
    bool m_hasPairs; ///< two nodes or more along z, and no flat index beyond an int
};

extern template class BasicTrilinearSampler<double>;
extern template class BasicTrilinearSampler<float>;

using TrilinearSampler = BasicTrilinearSampler<double>;
using SingleTrilinearSampler = BasicTrilinearSampler<float>;

} // namespace lerp

#endif
