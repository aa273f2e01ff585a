// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/shiftedSums.h"

#include <algorithm>
#include <array>

#include "Math/cGrid.h"
#include "Math/multiversion.h"

namespace {

/// Nodes handled together: their rows stay in the second-level cache while all shifts pass over them.
constexpr std::size_t nodesPerBlock = 256;

struct NodeIndex {
    std::size_t i, j, k;
};

/// sums[q] += value * row[q]; columns are independent, so wide instructions don't change the result.
SELVANE_MULTIVERSION
void addScaledRow(double value, const double* row, std::size_t columns, double* sums) {
    for (std::size_t q = 0; q < columns; ++q) {
        sums[q] += value * row[q];
    }
}

std::size_t wrappedDifference(std::size_t node, std::size_t shift, std::size_t extent) {
    return node >= shift ? node - shift : node + extent - shift;
}

NodeIndex indexOf(const cGrid& grid, std::size_t flatIndex) {
    const auto [i, j, k] = grid.m_flatIndex2Index[flatIndex];
    return {i, j, k};
}

} // namespace

std::vector<double> shiftedSums(const DensityTable& table, const cGrid& grid, const CornerField& target,
                                const std::vector<std::size_t>& shifts) {
    const std::size_t columns = table.columns() - 1;
    std::vector<double> sums(shifts.size() * columns, 0.0);
    std::array<NodeIndex, nodesPerBlock> block{};
    for (std::size_t begin = 0; begin < table.nodes.size(); begin += nodesPerBlock) {
        const std::size_t count = std::min(nodesPerBlock, table.nodes.size() - begin);
        for (std::size_t n = 0; n < count; ++n) {
            block[n] = indexOf(grid, table.nodes[begin + n]);
        }
        for (std::size_t s = 0; s < shifts.size(); ++s) {
            const NodeIndex shift = indexOf(grid, shifts[s]);
            double* row = sums.data() + s * columns;
            for (std::size_t n = 0; n < count; ++n) {
                const std::size_t i = wrappedDifference(block[n].i, shift.i, grid.m_size[0]);
                const std::size_t j = wrappedDifference(block[n].j, shift.j, grid.m_size[1]);
                const std::size_t k = wrappedDifference(block[n].k, shift.k, grid.m_size[2]);
                const double value = target(i, j, k);
                // Most of a filtered map is exactly zero.
                if (value != 0.0) {
                    addScaledRow(value, table.row(begin + n) + 1, columns, row);
                }
            }
        }
    }
    constexpr double pi = 3.141592653589793;
    for (double& sum : sums) {
        sum /= 8.0 * pi * pi * pi;
    }
    return sums;
}
