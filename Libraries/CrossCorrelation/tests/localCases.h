// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_TESTS_LOCALCASES_H
#define SELVANE_CROSSCORRELATION_TESTS_LOCALCASES_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/LocalCorrelator.h"
#include "Math/cGrid.h"
#include "testModel.h"

/// Grids, masks and fields that the tests of the local correlation in both precisions share.
namespace localcases {

using Sizes = std::array<unsigned int, 3>;

constexpr double floorOfTests = 0.05;

struct LocalCase {
    Sizes grid, filled;
    const char* mask;
};

inline std::ostream& operator<<(std::ostream& out, const LocalCase& c) {
    return out << c.grid[0] << "x" << c.grid[1] << "x" << c.grid[2] << " " << c.mask;
}

inline cGrid gridOf(const Sizes& sizes) {
    cGrid grid;
    grid.setSize(sizes[0], sizes[1], sizes[2]);
    return grid;
}

inline std::vector<double> maskOf(const std::string& kind, const cGrid& grid) {
    std::vector<double> mask(grid.getTotalSize(), 0.0);
    for (std::size_t v = 0; v < mask.size(); ++v) {
        const auto [i, j, k] = grid.m_flatIndex2Index[v];
        const bool isIn = kind == "node"      ? v == mask.size() / 2
                          : kind == "slab"    ? i < (grid.m_size[0] + 1) / 2
                          : kind == "pieces"  ? (i + 2 * j + 3 * k) % 5 < 2
                          : kind == "corners" ? (i + 1) % grid.m_size[0] < 2 && (k + 1) % grid.m_size[2] < 2
                                              : kind == "all";
        mask[v] = isIn ? 1.0 : 0.0;
    }
    return mask;
}

/// Noise of mean 0 and norm 1 in the mask.
inline std::vector<double> weightsOf(const std::vector<double>& mask, unsigned int seed) {
    std::vector<double> weights = noise(mask.size(), seed);
    double count = 0.0, sum = 0.0, squares = 0.0;
    for (std::size_t v = 0; v < mask.size(); ++v) {
        count += mask[v];
        sum += mask[v] * weights[v];
    }
    for (std::size_t v = 0; v < mask.size(); ++v) {
        weights[v] = mask[v] * (weights[v] - sum / count);
        squares += weights[v] * weights[v];
    }
    for (double& weight : weights) {
        weight = squares > 1e-20 ? weight / std::sqrt(squares) : 0.0;
    }
    return weights;
}

/// Noise in the low corner, 0 beyond.
inline std::vector<double> cornerNoise(const cGrid& grid, const Sizes& filled, unsigned int seed) {
    std::vector<double> field = noise(grid.getTotalSize(), seed);
    for (std::size_t v = 0; v < field.size(); ++v) {
        const auto [i, j, k] = grid.m_flatIndex2Index[v];
        if (i >= filled[0] || j >= filled[1] || k >= filled[2]) {
            field[v] = 0.0;
        }
    }
    return field;
}

struct Rows {
    std::vector<double> overlap, score;
};

template <class Real>
void fill(BasicLocalCorrelator<Real>& correlator, const cGrid& grid, const Sizes& filled,
          const std::vector<double>& target, double factor) {
    for (unsigned int i = 0; i < filled[0]; ++i) {
        for (unsigned int j = 0; j < filled[1]; ++j) {
            const double* const row = target.data() + (i * grid.m_size[1] + j) * grid.m_size[2];
            std::transform(row, row + filled[2], correlator.targetRow(j),
                           [](double value) { return static_cast<Real>(value); });
        }
        correlator.transformPlane(i, factor);
    }
}

template <class Real>
Rows correlate(BasicLocalCorrelator<Real>& correlator, const BasicLocalSpectra<Real>& pattern,
               const cGrid& grid, const Sizes& filled, const std::vector<double>& target,
               double factor = 1.0) {
    fill(correlator, grid, filled, target, factor);
    correlator.correlate(pattern);
    Rows rows;
    correlator.readResult({},
                          [&](std::size_t i, std::size_t j, const double* overlaps, const double* scores) {
                              EXPECT_EQ(rows.score.size(), (i * grid.m_size[1] + j) * grid.m_size[2]);
                              rows.overlap.insert(rows.overlap.end(), overlaps, overlaps + grid.m_size[2]);
                              rows.score.insert(rows.score.end(), scores, scores + grid.m_size[2]);
                          });
    return rows;
}

inline const std::vector<LocalCase> cases = {
    LocalCase{{3, 4, 5}, {3, 4, 5}, "pieces"},    LocalCase{{3, 4, 5}, {2, 3, 4}, "slab"},
    LocalCase{{8, 4, 6}, {8, 4, 6}, "all"},       LocalCase{{8, 4, 6}, {5, 3, 6}, "all"},
    LocalCase{{7, 11, 5}, {6, 11, 3}, "corners"}, LocalCase{{13, 1, 7}, {9, 1, 7}, "pieces"},
    LocalCase{{1, 9, 2}, {1, 7, 2}, "pieces"},    LocalCase{{6, 17, 9}, {6, 12, 8}, "slab"},
    LocalCase{{5, 6, 7}, {5, 6, 7}, "node"},      LocalCase{{10, 3, 1}, {10, 2, 1}, "slab"}};

} // namespace localcases

#endif
