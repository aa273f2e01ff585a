// SPDX-License-Identifier: GPL-3.0-or-later
#include "Interpolation/lerp.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "Interpolation/TrilinearSampler.h"
#include "Math/cGrid.h"
#include "Math/cMatrix33.h"
#include "Math/multiversion.h"

namespace {

void requireSameSize(const cGrid& grid, const std::vector<double>& f) {
    if (f.size() != grid.getTotalSize()) {
        throw std::length_error("grid2 and f must be the same size");
    }
}

SELVANE_MULTIVERSION void sampleAll(const cVector3* positions, std::size_t n,
                                    const lerp::TrilinearSampler& sample, double* out) {
    for (std::size_t p = 0; p < n; ++p) {
        out[p] = sample(positions[p]);
    }
}

/// A coordinate between two nodes of one axis, for the merge of their values.
struct Bracket {
    int lower, upper;
    double u = 0; ///< -1 at the lower node, 1 at the upper

    /// @param min, cell, size  place of node 0, node distance and number of nodes along the axis
    Bracket(double p, double min, double cell, unsigned int size) {
        const double t = (p - min) / cell;
        // Rounding can put a point just inside the far face above the last node.
        const int last = static_cast<int>(size) - 1;
        lower = std::clamp(truncateToInt(std::floor(t)), 0, last);
        upper = std::clamp(truncateToInt(std::ceil(t)), 0, last);
        const double a = lower * cell + min;
        const double b = upper * cell + min;
        u = (2 * p - a - b) / (b - a);
    }

    double merge(double atLower, double atUpper) const {
        return lower == upper ? atLower : atLower * (1 - u) / 2 + atUpper * (1 + u) / 2;
    }
};

/// The field at p, merged along x, then y, then z; 0 outside the grid's box. Deliberate: a second way beside
/// the sampler's, whose last bits differ.
double mergeAround(const cVector3& p, const cGrid& grid, const std::vector<double>& f) {
    if (!grid.m_box.inBox(p) || f.empty()) {
        return 0.0;
    }
    const cVector3& min = grid.m_box.m_min;
    const Bracket x(p.x, min.x, grid.m_cellDim.x, grid.m_size[0]);
    const Bracket y(p.y, min.y, grid.m_cellDim.y, grid.m_size[1]);
    const Bracket z(p.z, min.z, grid.m_cellDim.z, grid.m_size[2]);
    const auto alongX = [&](int j, int k) {
        return x.merge(f[grid.indexToFlatIndex(x.lower, j, k)], f[grid.indexToFlatIndex(x.upper, j, k)]);
    };
    const auto alongY = [&](int k) { return y.merge(alongX(y.lower, k), alongX(y.upper, k)); };
    return z.merge(alongY(z.lower), alongY(z.upper));
}

} // namespace

namespace lerp {

void lerp3d(const std::vector<cVector3>& positions, const cGrid& grid, const std::vector<double>& f,
            std::vector<double>& out) {
    requireSameSize(grid, f);
    if (out.size() < positions.size()) {
        throw std::length_error("interpolated values: " + std::to_string(positions.size()) +
                                " entries expected, " + std::to_string(out.size()) + " found");
    }
    sampleAll(positions.data(), positions.size(), TrilinearSampler(grid, f), out.data());
}

std::vector<double> lerp3d(const std::vector<cVector3>& positions, const cGrid& grid,
                           const std::vector<double>& f) {
    requireSameSize(grid, f);
    std::vector<double> values(positions.size(), 0.0);
    for (std::size_t p = 0; p < positions.size(); ++p) {
        values[p] = mergeAround(positions[p], grid, f);
    }
    return values;
}

std::vector<double> lerp3d(const cMatrix33& rotation, const cGrid& grid, const std::vector<double>& f) {
    requireSameSize(grid, f);
    std::vector<double> values(f.size(), 0.0);
    for (std::size_t n = 0; n < values.size(); ++n) {
        const auto [i, j, k] = grid.m_flatIndex2Index[n];
        const cVector3 index(static_cast<double>(i), static_cast<double>(j), static_cast<double>(k));
        const cVector3 p = grid.m_box.m_min + index * grid.m_cellDim;
        values[n] = mergeAround(rotation * p, grid, f);
    }
    return values;
}

} // namespace lerp
