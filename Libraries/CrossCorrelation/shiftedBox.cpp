// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/shiftedBox.h"

#include <algorithm>

#include "Math/cGrid.h"
#include "Math/multiversion.h"

namespace {

/// Where node low - shift of an axis lies, wrapped.
std::size_t wrappedStart(int low, std::size_t shift, std::size_t extent) {
    return (static_cast<std::size_t>(low) + extent - shift) % extent;
}

SELVANE_MULTIVERSION
void addScaled(const double* values, double weight, std::size_t n, double* out) {
    for (std::size_t k = 0; k < n; ++k) {
        out[k] += weight * values[k];
    }
}

} // namespace

void addShiftedTarget(const NodeBox& box, const cGrid& grid, const double* target, std::size_t shift,
                      double weight, double* out) {
    const auto [si, sj, sk] = grid.m_flatIndex2Index[shift];
    const std::size_t ny = grid.m_size[1];
    const std::size_t nz = grid.m_size[2];
    const std::size_t count = box.extent(2);
    const std::size_t startK = wrappedStart(box.low[2], sk, nz);
    // A row of the box is no longer than one of the grid, so it wraps at most once.
    const std::size_t unwrapped = std::min(count, nz - startK);
    for (int i = box.low[0]; i <= box.high[0]; ++i) {
        const std::size_t slice = wrappedStart(i, si, grid.m_size[0]) * ny;
        for (int j = box.low[1]; j <= box.high[1]; ++j) {
            const double* row = target + (slice + wrappedStart(j, sj, ny)) * nz;
            addScaled(row + startK, weight, unwrapped, out);
            addScaled(row, weight, count - unwrapped, out + unwrapped);
            out += count;
        }
    }
}

SELVANE_MULTIVERSION
double dotProduct(const double* a, const double* b, std::size_t n) {
    constexpr std::size_t lanes = 8;
    double partial[lanes] = {};
    std::size_t begin = 0;
    for (; begin + lanes <= n; begin += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            partial[lane] += a[begin + lane] * b[begin + lane];
        }
    }
    double sum = 0.0;
    for (const double part : partial) {
        sum += part;
    }
    for (; begin < n; ++begin) {
        sum += a[begin] * b[begin];
    }
    return sum;
}
