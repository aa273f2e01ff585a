// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SHIFTEDSUMS_H
#define SELVANE_CROSSCORRELATION_SHIFTEDSUMS_H

#include <algorithm>
#include <cstddef>
#include <vector>

#include "CrossCorrelation/DensityTable.h"
#include "Math/cGrid.h"
#include "Math/pi.h"

/// sums[q] += value * row[q] for n columns q.
void addScaledRow(double value, const double* row, std::size_t n, double* sums);

/// Correlations of a target with the derivative maps of a pattern, taken at a few shifts only.
///
/// For every shift s and every derivative column q of the table
///   sums[s][q] = (2 pi)^-3 * sum over the table's nodes u of map_q(u) * target(u - s),
/// u - s wrapped per axis: the value at s of the circular correlation of the target with map q, by direct
/// sums over the nodes where the maps aren't zero. The order of summation is that of the nodes.
///
/// @param target target(i, j, k) reads the target on the grid
/// @param shifts flat indices on the grid
/// @return shifts.size() rows of table.columns() - 1 numbers: the table's columns without the density itself
template <class Target>
std::vector<double> shiftedSums(const DensityTable& table, const cGrid& grid, Target&& target,
                                const std::vector<std::size_t>& shifts) {
    // Nodes handled together: their rows stay in the second-level cache while all shifts pass over them.
    constexpr std::size_t nodesPerBlock = 256;
    const auto wrapped = [](std::size_t node, std::size_t shift, std::size_t extent) {
        return node >= shift ? node - shift : node + extent - shift;
    };
    const std::size_t columns = table.columns() - 1;
    std::vector<double> sums(shifts.size() * columns, 0.0);
    for (std::size_t begin = 0; begin < table.nodes.size(); begin += nodesPerBlock) {
        const std::size_t end = std::min(begin + nodesPerBlock, table.nodes.size());
        for (std::size_t s = 0; s < shifts.size(); ++s) {
            const auto [si, sj, sk] = grid.m_flatIndex2Index[shifts[s]];
            for (std::size_t n = begin; n < end; ++n) {
                const auto [i, j, k] = grid.m_flatIndex2Index[table.nodes[n]];
                const double value = target(wrapped(i, si, grid.m_size[0]), wrapped(j, sj, grid.m_size[1]),
                                            wrapped(k, sk, grid.m_size[2]));
                // Most of a filtered map is exactly zero.
                if (value != 0.0) {
                    addScaledRow(value, table.row(n) + 1, columns, sums.data() + s * columns);
                }
            }
        }
    }
    for (double& sum : sums) {
        sum /= 8.0 * pi * pi * pi;
    }
    return sums;
}

/// The same for a target that is stored as grid.getTotalSize() values, z fastest.
std::vector<double> shiftedSums(const DensityTable& table, const cGrid& grid, const double* target,
                                const std::vector<std::size_t>& shifts);

#endif
