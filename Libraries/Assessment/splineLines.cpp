// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/splineLines.h"

#include <algorithm>
#include <cmath>

#include "Math/multiversion.h"
#include "Math/pi.h"

namespace {

constexpr std::size_t lanes = 16; // floats of a cache line

/// So many lines along one axis side by side, in double precision: node i of line l is number i * lanes + l.
using Bundle = std::vector<double>;

/// Has a filter change all lines along one axis.
template <class Filter>
void filterLines(std::vector<float>& values, const std::array<std::size_t, 3>& size, std::size_t axis,
                 Filter&& filter) {
    const std::array<std::size_t, 3> strides = {size[1] * size[2], size[2], 1};
    const std::size_t stride = strides[axis];
    const std::size_t count = size[axis];
    const std::size_t lines = values.size() / count;
    Bundle bundle(count * lanes, 0.0);
    for (std::size_t first = 0; first < lines; first += lanes) {
        const std::size_t width = std::min(lanes, lines - first);
        std::array<float*, lanes> starts{};
        for (std::size_t lane = 0; lane < width; ++lane) {
            const std::size_t line = first + lane;
            starts[lane] = &values[line / stride * stride * count + line % stride];
        }
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t lane = 0; lane < width; ++lane) {
                bundle[i * lanes + lane] = static_cast<double>(starts[lane][i * stride]);
            }
        }
        filter(bundle);
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t lane = 0; lane < width; ++lane) {
                starts[lane][i * stride] = static_cast<float>(bundle[i * lanes + lane]);
            }
        }
    }
}

/// target += factor * source, for a node of all lines.
inline void addScaled(double* __restrict target, const double* __restrict source, double factor) {
    for (std::size_t lane = 0; lane < lanes; ++lane) {
        target[lane] += factor * source[lane];
    }
}

/// Solves (c[n - 1] + 4 c[n] + c[n + 1]) / 6 = f[n] by elimination, which needs no pivots as the middle
/// weight is the largest.
SELVANE_MULTIVERSION void solveSpline(Bundle& bundle) {
    constexpr double beside = 1.0 / 6.0;
    constexpr double middle = 4.0 / 6.0;
    const std::size_t count = bundle.size() / lanes;
    std::vector<double> pivots(count, middle);
    for (std::size_t i = 1; i < count; ++i) {
        const double factor = beside / pivots[i - 1];
        pivots[i] -= factor * beside;
        addScaled(&bundle[i * lanes], &bundle[(i - 1) * lanes], -factor);
    }
    for (std::size_t i = count; i-- > 0;) {
        if (i + 1 < count) {
            addScaled(&bundle[i * lanes], &bundle[(i + 1) * lanes], -beside);
        }
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            bundle[i * lanes + lane] /= pivots[i];
        }
    }
}

/// result[i] = sum over t of kernel[|t|] source[i + t], nothing beyond the ends.
SELVANE_MULTIVERSION void convolve(const Bundle& source, const std::vector<double>& kernel, Bundle& result) {
    const std::size_t count = source.size() / lanes;
    for (std::size_t i = 0; i < count; ++i) {
        double* const target = &result[i * lanes];
        std::fill(target, target + lanes, 0.0);
        addScaled(target, &source[i * lanes], kernel[0]);
        for (std::size_t t = 1; t < kernel.size(); ++t) {
            if (i >= t) {
                addScaled(target, &source[(i - t) * lanes], kernel[t]);
            }
            if (i + t < count) {
                addScaled(target, &source[(i + t) * lanes], kernel[t]);
            }
        }
    }
}

double bSpline(double u) {
    const double inner = std::max(0.0, 1.0 - std::abs(u));
    const double outer = std::max(0.0, 2.0 - std::abs(u));
    return (outer * outer * outer - 4.0 * inner * inner * inner) / 6.0;
}

} // namespace

std::vector<double> blurredBSpline(double sigma) {
    constexpr double reach = 6.0;      // of a Gaussian, in standard deviations: 2e-9 of its integral is left
    constexpr int nodesPerVoxel = 128; // of the sum for the integral
    constexpr double narrowest = 0.05; // voxels; below, the sum would miss the Gaussian
    if (sigma < narrowest) {
        return {bSpline(0.0), bSpline(1.0)};
    }
    const double height = 1.0 / (std::sqrt(2.0 * pi) * sigma);
    std::vector<double> kernel(static_cast<std::size_t>(std::ceil(2.0 + reach * sigma)), 0.0);
    double total = 0.0;
    for (std::size_t n = 0; n < kernel.size(); ++n) {
        for (int i = -2 * nodesPerVoxel; i <= 2 * nodesPerVoxel; ++i) {
            const double u = static_cast<double>(i) / nodesPerVoxel;
            const double off = (static_cast<double>(n) - u) / sigma;
            kernel[n] += bSpline(u) * height * std::exp(-0.5 * off * off) / nodesPerVoxel;
        }
        total += n == 0 ? kernel[n] : 2.0 * kernel[n];
    }
    for (double& value : kernel) {
        value /= total;
    }
    return kernel;
}

void toSplineCoefficients(std::vector<float>& values, const std::array<std::size_t, 3>& size) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        filterLines(values, size, axis, [](Bundle& bundle) { solveSpline(bundle); });
    }
}

void blurSpline(std::vector<float>& values, const std::array<std::size_t, 3>& size,
                const std::array<double, 3>& sigma) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::vector<double> kernel = blurredBSpline(sigma[axis]);
        Bundle result(size[axis] * lanes);
        filterLines(values, size, axis, [&](Bundle& bundle) {
            solveSpline(bundle);
            convolve(bundle, kernel, result);
            bundle.swap(result);
        });
    }
}
