// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/resampleSkew.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double nextTo = 1e-6; // of a voxel; so near to a node is on it

/// The nodes of the new lattice along one axis: those from `first` on, counted in voxels from the place of
/// the old lattice's first node.
struct Range {
    double first;
    double count;
};

Range rangeAlong(int axis, const std::array<std::size_t, 3>& size, const VoxelLattice& lattice) {
    const double voxel = lattice.steps[static_cast<std::size_t>(axis)][axis];
    double low = 0.0;
    double high = 0.0;
    for (std::size_t i = 0; i < 3; ++i) {
        const double end = lattice.steps[i][axis] * static_cast<double>(size[i] - 1);
        (end < 0.0 ? low : high) += end;
    }
    const double first = std::floor(low / voxel + nextTo);
    return {first, std::ceil(high / voxel - nextTo) - first + 1.0};
}

/// Rows of a field, one behind the other along an axis, each of values that are filtered alike.
class Rows {
public:
    Rows(float* values, std::size_t count, std::size_t stride, std::size_t length)
        : m_values(values), m_count(count), m_stride(stride), m_length(length) {}

    std::size_t count() const { return m_count; }
    std::size_t length() const { return m_length; }
    float* operator[](std::size_t row) const { return m_values + row * m_stride; }

    /// row = factor * row + otherFactor * other
    void combine(std::size_t row, float factor, std::size_t other, float otherFactor) const {
        float* to = (*this)[row];
        const float* from = (*this)[other];
        for (std::size_t k = 0; k < m_length; ++k) {
            to[k] = factor * to[k] + otherFactor * from[k];
        }
    }

private:
    float* m_values;
    std::size_t m_count;
    std::size_t m_stride; ///< from one row to the next, values
    std::size_t m_length;
};

/// The sum of the powers of the pole over the mirrored rows before the first one.
std::vector<float> startOfFilter(const Rows& rows, float pole) {
    constexpr std::size_t horizon = 16; // the next power is below a float's precision
    const std::size_t period = 2 * rows.count() - 2;
    std::vector<float> sum(rows.length(), 0.0F);
    float power = 1.0F;
    for (std::size_t i = 0; i < horizon; ++i, power *= pole) {
        const std::size_t wrapped = i % period;
        const float* row = rows[wrapped < rows.count() ? wrapped : period - wrapped];
        for (std::size_t k = 0; k < sum.size(); ++k) {
            sum[k] += power * row[k];
        }
    }
    return sum;
}

/// Turns samples into the coefficients of the cubic spline through them, along an axis whose ends mirror: a
/// recursive filter forward and one backward.
void toCoefficients(const Rows& rows) {
    if (rows.count() < 2) {
        return;
    }
    constexpr float gain = 6.0F;
    const auto pole = static_cast<float>(std::sqrt(3.0) - 2.0);
    const std::size_t last = rows.count() - 1;
    const std::vector<float> start = startOfFilter(rows, pole);
    for (std::size_t k = 0; k < start.size(); ++k) {
        rows[0][k] = gain * start[k];
    }
    for (std::size_t i = 1; i <= last; ++i) {
        rows.combine(i, gain, i - 1, pole);
    }
    const float atEnd = pole / (pole * pole - 1.0F);
    rows.combine(last, atEnd, last - 1, atEnd * pole);
    for (std::size_t i = last; i-- > 0;) {
        rows.combine(i, -pole, i + 1, pole);
    }
}

/// The four coefficients that reach a place between nodes, with their weights.
struct Taps {
    std::array<std::size_t, 4> node;
    std::array<float, 4> weight;
};

/// @param at  between 0 and count - 1
Taps tapsAt(double at, std::size_t count) {
    const double below = std::min(std::floor(at), static_cast<double>(count - 1));
    const double t = at - below;
    const double s = 1.0 - t;
    Taps taps{};
    taps.weight = {
        static_cast<float>(s * s * s / 6.0), static_cast<float>((4.0 - 6.0 * t * t + 3.0 * t * t * t) / 6.0),
        static_cast<float>((4.0 - 6.0 * s * s + 3.0 * s * s * s) / 6.0), static_cast<float>(t * t * t / 6.0)};
    const auto last = static_cast<std::ptrdiff_t>(count) - 1;
    for (std::size_t tap = 0; tap < 4; ++tap) {
        std::ptrdiff_t node = static_cast<std::ptrdiff_t>(below) - 1 + static_cast<std::ptrdiff_t>(tap);
        node = node < 0 ? -node : node > last ? 2 * last - node : node;
        taps.node[tap] = static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(node, 0, last));
    }
    return taps;
}

/// A place on the old lattice, moved onto its face when it is next to it.
/// @return whether it is not outside
bool holds(double& at, std::size_t count) {
    const double last = static_cast<double>(count - 1);
    if (!(at >= -nextTo && at <= last + nextTo)) {
        return false;
    }
    at = std::clamp(at, 0.0, last);
    return true;
}

class SkewField {
public:
    SkewField(std::vector<float> values, const std::array<std::size_t, 3>& size, const VoxelLattice& lattice)
        : m_coefficients(std::move(values)), m_size(size), m_steps(lattice.steps) {
        const std::size_t plane = size[1] * size[2];
        toCoefficients({m_coefficients.data(), size[0], plane, plane});
        for (std::size_t i = 0; i < size[0]; ++i) {
            toCoefficients({m_coefficients.data() + i * plane, size[1], size[2], size[2]});
        }
    }

    /// At a node of plane k, x and y counted from the first node, angstrom.
    float at(double x, double y, std::size_t k) const {
        const auto z = static_cast<double>(k);
        double j = (y - z * m_steps[2].y) / m_steps[1].y;
        double i = (x - z * m_steps[2].x - j * m_steps[1].x) / m_steps[0].x;
        if (!holds(i, m_size[0]) || !holds(j, m_size[1])) {
            return 0.0F;
        }
        const Taps alongX = tapsAt(i, m_size[0]);
        const Taps alongY = tapsAt(j, m_size[1]);
        float sum = 0.0F;
        for (std::size_t a = 0; a < 4; ++a) {
            float row = 0.0F;
            for (std::size_t b = 0; b < 4; ++b) {
                const std::size_t node = (alongX.node[a] * m_size[1] + alongY.node[b]) * m_size[2] + k;
                row += alongY.weight[b] * m_coefficients[node];
            }
            sum += alongX.weight[a] * row;
        }
        return std::isfinite(sum) ? sum : 0.0F; // huge values can overflow on the way
    }

private:
    std::vector<float> m_coefficients;
    std::array<std::size_t, 3> m_size;
    std::array<cVector3, 3> m_steps;
};

} // namespace

double growthOfResampling(const std::array<std::size_t, 3>& size, const VoxelLattice& lattice) {
    double growth = 1.0;
    for (int axis = 0; axis < 3; ++axis) {
        growth *=
            rangeAlong(axis, size, lattice).count / static_cast<double>(size[static_cast<std::size_t>(axis)]);
    }
    return growth;
}

DensityMap resampleSkew(std::vector<float> values, const std::array<std::size_t, 3>& size,
                        const VoxelLattice& lattice) {
    const SkewField field(std::move(values), size, lattice);
    DensityMap map;
    cVector3 first(0.0); // from the old lattice's first node, angstrom
    for (int axis = 0; axis < 3; ++axis) {
        const Range range = rangeAlong(axis, size, lattice);
        map.size[static_cast<std::size_t>(axis)] = static_cast<std::size_t>(range.count);
        map.voxel[axis] = lattice.steps[static_cast<std::size_t>(axis)][axis];
        first[axis] = range.first * map.voxel[axis];
    }
    map.origin = lattice.origin + first;
    map.values.resize(map.size[0] * map.size[1] * map.size[2]);
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        const double x = first.x + static_cast<double>(i) * map.voxel.x;
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            const double y = first.y + static_cast<double>(j) * map.voxel.y;
            for (std::size_t k = 0; k < map.size[2]; ++k) {
                map.values[map.index(i, j, k)] = field.at(x, y, k);
            }
        }
    }
    return map;
}
