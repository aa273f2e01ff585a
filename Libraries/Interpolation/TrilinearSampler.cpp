// SPDX-License-Identifier: GPL-3.0-or-later
#include "Interpolation/TrilinearSampler.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "Math/multiversion.h"

namespace {

/// Points that sampleOnGrid() takes at a time; what it keeps of them stays in the first-level cache.
constexpr int chunkLength = 128;
static_assert(chunkLength % 2 == 0); // mergeLayers() takes two

inline double coordinate(double start, double step, int k) {
    return start + step * static_cast<double>(k);
}

inline cVector3 pointOf(const cVector3& start, const cVector3& step, unsigned int k) {
    const int index = static_cast<int>(k);
    return {coordinate(start.x, step.x, index), coordinate(start.y, step.y, index),
            coordinate(start.z, step.z, index)};
}

/// Four floats, for which every machine has registers.
using Four = float __attribute__((vector_size(16)));

/// Two floats from each of two places.
inline Four pairsAt(const float* a, const float* b) {
    double pairs[2];
    std::memcpy(&pairs[0], a, sizeof(double));
    std::memcpy(&pairs[1], b, sizeof(double));
    Four four;
    std::memcpy(&four, pairs, sizeof(four));
    return four;
}

/// Merges the four rows around each point along x and y, for two points at a time: of each row the two
/// neighbours along z.
/// @param cells, x, y  of n points; of an odd number with room for one more
/// @param layers  gets the lower and the upper neighbour of each point, by turns
inline void mergeLayers(const float* f, std::ptrdiff_t dx, std::ptrdiff_t dy, int* cells, float* x, float* y,
                        int n, float* layers) {
    if (n % 2 != 0) {
        cells[n] = cells[n - 1];
        x[n] = x[n - 1];
        y[n] = y[n - 1];
    }
    for (int k = 0; k < n; k += 2) {
        const float* const a = f + cells[k];
        const float* const b = f + cells[k + 1];
        const Four alongX = {x[k], x[k], x[k + 1], x[k + 1]};
        const Four alongY = {y[k], y[k], y[k + 1], y[k + 1]};
        const Four corner = pairsAt(a, b);
        const Four near = corner + alongX * (pairsAt(a + dx, b + dx) - corner);
        const Four edge = pairsAt(a + dy, b + dy);
        const Four far = edge + alongX * (pairsAt(a + dx + dy, b + dx + dy) - edge);
        const Four merged = near + alongY * (far - near);
        std::memcpy(layers + 2L * k, &merged, sizeof(merged));
    }
}

inline void prefetch(const void* address) {
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    static_cast<void>(address);
#endif
}

} // namespace

namespace lerp {

template <class Value>
BasicTrilinearSampler<Value>::Axis::Axis(const cGrid& grid, int axis)
    : min(grid.m_box.m_min[axis])
    , max(grid.m_box.m_max[axis])
    , inverseCell(1 / grid.m_cellDim[axis])
    , origin((grid.m_box.m_min[axis] + 0.0 * grid.m_cellDim[axis]) * inverseCell)
    , lastCell(std::max(static_cast<double>(grid.m_size[axis]) - 2, 0.0))
    , stride(1)
    , toUpper(0) {
    for (int inner = axis + 1; inner < 3; ++inner) {
        stride *= static_cast<double>(grid.m_size[inner]);
    }
    if (grid.m_size[axis] > 1) {
        toUpper = static_cast<std::ptrdiff_t>(stride);
    }
}

template <class Value>
BasicTrilinearSampler<Value>::BasicTrilinearSampler(const cGrid& grid, const Value* f)
    : m_f(f)
    , m_x(grid, 0)
    , m_y(grid, 1)
    , m_z(grid, 2)
    , m_isEmpty(grid.getTotalSize() == 0)
    , m_hasPairs(grid.m_size[2] > 1 && m_x.stride * grid.m_size[0] <= std::numeric_limits<int>::max()) {}

template <class Value>
typename BasicTrilinearSampler<Value>::Range
BasicTrilinearSampler<Value>::insideRange(const cVector3& start, const cVector3& step, unsigned int n) const {
    double first = 0.0;
    double last = static_cast<double>(n);
    const Axis* const axes[] = {&m_x, &m_y, &m_z};
    for (int a = 0; a < 3; ++a) {
        const Axis& axis = *axes[a];
        // Along an axis that the row hardly moves in, rounding decides; leave that to the exact test.
        constexpr double negligible = 1e-6;
        if (!(std::abs(step[a]) > negligible * (axis.max - axis.min) / std::max(last, 1.0))) {
            continue;
        }
        const double atMin = (axis.min - start[a]) / step[a];
        const double atMax = (axis.max - start[a]) / step[a];
        first = std::max(first, std::min(atMin, atMax) - 1.0);
        last = std::min(last, std::max(atMin, atMax) + 2.0);
    }
    if (!(first < last)) {
        return {0, 0};
    }
    Range range{static_cast<unsigned int>(first), static_cast<unsigned int>(last)};
    while (range.begin < range.end && !isInside(pointOf(start, step, range.begin))) {
        ++range.begin;
    }
    while (range.begin < range.end && !isInside(pointOf(start, step, range.end - 1))) {
        --range.end;
    }
    return range;
}

/// operator() in passes that suit the hardware: places with wide instructions; cache lines asked for early;
/// the two neighbours along z, which lie side by side, with one load each of the four rows around a point;
/// the merge along z again wide. Gathering all eight corners takes twice as long.
template <class Value>
template <class Out>
SELVANE_WIDE_MULTIVERSION void BasicTrilinearSampler<Value>::sampleOnGrid(const cVector3& start,
                                                                          const cVector3& step, Range range,
                                                                          Out* __restrict out) const {
    constexpr bool isSingle = std::is_same_v<Value, float> && std::is_same_v<Out, float>;
    using Real = std::conditional_t<isSingle, float, double>; // of the merges
    Real xs[chunkLength], ys[chunkLength], zs[chunkLength], layers[2 * chunkLength];
    int cells[chunkLength];
    const BasicTrilinearSampler self = *this; // a copy that no store can change
    const cVector3 first = start, by = step;
    const Value* const f = self.m_f;
    const std::ptrdiff_t dx = self.m_x.toUpper, dy = self.m_y.toUpper;
    const int end = static_cast<int>(range.end);
    for (int begin = static_cast<int>(range.begin); begin < end; begin += chunkLength) {
        const int n = std::min(chunkLength, end - begin);
        for (int k = 0; k < n; ++k) {
            const Place x = self.m_x.placeOnGrid(coordinate(first.x, by.x, begin + k));
            const Place y = self.m_y.placeOnGrid(coordinate(first.y, by.y, begin + k));
            const Place z = self.m_z.placeOnGrid(coordinate(first.z, by.z, begin + k));
            xs[k] = static_cast<Real>(x.fraction);
            ys[k] = static_cast<Real>(y.fraction);
            zs[k] = static_cast<Real>(z.fraction);
            cells[k] = static_cast<int>(self.flatIndex(x.cell, y.cell, z.cell));
        }
        for (int k = 0; k < n; ++k) {
            prefetch(f + cells[k]);
            prefetch(f + cells[k] + dx);
            prefetch(f + cells[k] + dy);
            prefetch(f + cells[k] + dx + dy);
        }
        if constexpr (isSingle) {
            mergeLayers(f, dx, dy, cells, xs, ys, n, layers);
        } else {
            for (int k = 0; k < n; ++k) {
                // Members of *this and not of the copy: else the compiler spreads this loop over wide lanes
                // and loads every corner on its own.
                const Value* const lower = m_f + cells[k];
                layers[2L * k] = mergeXY(lower, xs[k], ys[k]);
                layers[2L * k + 1] = mergeXY(lower + 1, xs[k], ys[k]);
            }
        }
        Out* const values = out + begin;
        for (int k = 0; k < n; ++k) {
            values[k] = static_cast<Out>(merge(layers[2L * k], layers[2L * k + 1], zs[k]));
        }
    }
}

template <class Value>
template <class Out>
void BasicTrilinearSampler<Value>::sampleRow(const cVector3& start, const cVector3& step, unsigned int n,
                                             Out* out) const {
    const auto point = [&](unsigned int k) { return pointOf(start, step, k); };
    const Range inside = m_isEmpty ? Range{0, 0} : insideRange(start, step, n);
    std::fill(out, out + inside.begin, Out{0});
    std::fill(out + inside.end, out + n, Out{0});
    // Points off the grid though in the box stand at the ends of the row; there are hardly ever any.
    Range onGrid = inside;
    for (; onGrid.begin < onGrid.end && !isOnGrid(point(onGrid.begin)); ++onGrid.begin) {
        out[onGrid.begin] = static_cast<Out>((*this)(point(onGrid.begin)));
    }
    for (; onGrid.begin < onGrid.end && !isOnGrid(point(onGrid.end - 1)); --onGrid.end) {
        out[onGrid.end - 1] = static_cast<Out>((*this)(point(onGrid.end - 1)));
    }
    sampleOnGrid(start, step, onGrid, out);
}

template class BasicTrilinearSampler<double>;
template class BasicTrilinearSampler<float>;
template void TrilinearSampler::sampleRow(const cVector3&, const cVector3&, unsigned int, double*) const;
template void TrilinearSampler::sampleRow(const cVector3&, const cVector3&, unsigned int, float*) const;
template void SingleTrilinearSampler::sampleRow(const cVector3&, const cVector3&, unsigned int,
                                                double*) const;
template void SingleTrilinearSampler::sampleRow(const cVector3&, const cVector3&, unsigned int, float*) const;

} // namespace lerp
