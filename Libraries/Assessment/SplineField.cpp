// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/SplineField.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "Assessment/splineLines.h"
#include "Math/multiversion.h"

namespace {

// Beyond each face: as many as the spline at two voxels from it reaches for.
constexpr std::size_t margin = 3;
constexpr std::size_t taps = 4; // of a cubic spline

/// What the evaluation reads of a field.
struct View {
    const float* coefficients;
    std::size_t strideX, strideY;
    cVector3 origin, perVoxel;
    cVector3 end; ///< places in voxels lie below
};

/// The weights of four neighbours along one axis, for value, first and second derivative by the place.
struct AxisWeights {
    double of[3][taps];
};

/// @param t  from the second of the neighbours, voxels, 0 to 1
inline AxisWeights weightsAt(double t, double perVoxel) {
    const double s = 1.0 - t;
    const double first = perVoxel;
    const double second = perVoxel * perVoxel;
    return {{{s * s * s / 6.0, (4.0 - 6.0 * t * t + 3.0 * t * t * t) / 6.0,
              (4.0 - 6.0 * s * s + 3.0 * s * s * s) / 6.0, t * t * t / 6.0},
             {-0.5 * s * s * first, (1.5 * t * t - 2.0 * t) * first, (2.0 * s - 1.5 * s * s) * first,
              0.5 * t * t * first},
             {s * second, (3.0 * t - 2.0) * second, (3.0 * s - 2.0) * second, t * second}}};
}

/// Sums over x and y, for each of four nodes along z, with the weights of these derivatives by x and y.
struct ColumnSums {
    double of00[taps], of10[taps], of20[taps], of01[taps], of02[taps], of11[taps];
};

/// target += factor * source
inline void addScaled(double* __restrict target, const double* __restrict source, double factor) {
    for (std::size_t k = 0; k < taps; ++k) {
        target[k] += factor * source[k];
    }
}

inline ColumnSums sumColumns(const View& field, const float* corner, const AxisWeights& x,
                             const AxisWeights& y) {
    ColumnSums sums{};
    for (std::size_t i = 0; i < taps; ++i) {
        double of0[taps] = {}, of1[taps] = {}, of2[taps] = {};
        for (std::size_t j = 0; j < taps; ++j) {
            const float* row = corner + i * field.strideX + j * field.strideY;
            double values[taps];
            for (std::size_t k = 0; k < taps; ++k) {
                values[k] = static_cast<double>(row[k]);
            }
            addScaled(of0, values, y.of[0][j]);
            addScaled(of1, values, y.of[1][j]);
            addScaled(of2, values, y.of[2][j]);
        }
        addScaled(sums.of00, of0, x.of[0][i]);
        addScaled(sums.of10, of0, x.of[1][i]);
        addScaled(sums.of20, of0, x.of[2][i]);
        addScaled(sums.of01, of1, x.of[0][i]);
        addScaled(sums.of11, of1, x.of[1][i]);
        addScaled(sums.of02, of2, x.of[0][i]);
    }
    return sums;
}

inline double dot(const double* a, const double* b) {
    return (a[0] * b[0] + a[1] * b[1]) + (a[2] * b[2] + a[3] * b[3]);
}

SELVANE_MULTIVERSION std::size_t evaluate(const View& field, const cVector3* places, std::size_t count,
                                          FieldDerivatives* results) {
    std::size_t inside = 0;
    for (std::size_t n = 0; n < count; ++n) {
        const cVector3 u = (places[n] - field.origin) * field.perVoxel;
        // At 1 the first coefficient that is not 0 comes into reach. What is no number fails, too.
        if (!(u.x > 1.0 && u.y > 1.0 && u.z > 1.0 && u.x < field.end.x && u.y < field.end.y &&
              u.z < field.end.z)) {
            results[n] = FieldDerivatives();
            continue;
        }
        const auto i = static_cast<std::ptrdiff_t>(u.x), j = static_cast<std::ptrdiff_t>(u.y),
                   k = static_cast<std::ptrdiff_t>(u.z);
        const AxisWeights x = weightsAt(u.x - static_cast<double>(i), field.perVoxel.x);
        const AxisWeights y = weightsAt(u.y - static_cast<double>(j), field.perVoxel.y);
        const AxisWeights z = weightsAt(u.z - static_cast<double>(k), field.perVoxel.z);
        const float* corner = field.coefficients + (i - 1) * static_cast<std::ptrdiff_t>(field.strideX) +
                              (j - 1) * static_cast<std::ptrdiff_t>(field.strideY) + (k - 1);
        const ColumnSums sums = sumColumns(field, corner, x, y);
        FieldDerivatives& result = results[n];
        result.value = dot(sums.of00, z.of[0]);
        result.gradient = {dot(sums.of10, z.of[0]), dot(sums.of01, z.of[0]), dot(sums.of00, z.of[1])};
        result.hessian = {dot(sums.of20, z.of[0]), dot(sums.of02, z.of[0]), dot(sums.of00, z.of[2]),
                          dot(sums.of11, z.of[0]), dot(sums.of10, z.of[1]), dot(sums.of01, z.of[1])};
        ++inside;
    }
    return inside;
}

} // namespace

SplineField::SplineField(const DensityMap& map)
    : m_origin(map.origin - map.voxel * static_cast<double>(margin)), m_perVoxel(cVector3(1.0) / map.voxel) {
    std::vector<float> values = map.values;
    toSplineCoefficients(values, map.size);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        m_size[axis] = map.size[axis] + 2 * margin;
    }
    m_coefficients.assign(m_size[0] * m_size[1] * m_size[2], 0.0F);
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            const float* row = &values[map.index(i, j, 0)];
            const std::size_t target = ((i + margin) * m_size[1] + j + margin) * m_size[2] + margin;
            std::copy(row, row + map.size[2], &m_coefficients[target]);
        }
    }
    for (const float coefficient : values) {
        if (!std::isfinite(coefficient)) {
            throw std::invalid_argument("a field has values too large for single precision");
        }
        m_bound = std::max(m_bound, std::abs(static_cast<double>(coefficient)));
    }
}

FieldDerivatives SplineField::derivatives(const cVector3& x) const {
    FieldDerivatives result;
    derivatives(&x, 1, &result);
    return result;
}

std::size_t SplineField::derivatives(const cVector3* places, std::size_t count,
                                     FieldDerivatives* results) const {
    // The last coefficient that is not 0 is in reach up to two voxels beyond it.
    const auto endOf = [](std::size_t size) { return static_cast<double>(size - 2); };
    const View view = {m_coefficients.data(),
                       m_size[1] * m_size[2],
                       m_size[2],
                       m_origin,
                       m_perVoxel,
                       cVector3(endOf(m_size[0]), endOf(m_size[1]), endOf(m_size[2]))};
    return evaluate(view, places, count, results);
}
