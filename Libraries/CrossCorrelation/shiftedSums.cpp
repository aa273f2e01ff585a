// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/shiftedSums.h"

#include "Math/multiversion.h"

// The columns are independent, so that wide instructions don't change a sum.
SELVANE_MULTIVERSION
void addScaledRow(double value, const double* row, std::size_t n, double* sums) {
    for (std::size_t q = 0; q < n; ++q) {
        sums[q] += value * row[q];
    }
}

std::vector<double> shiftedSums(const DensityTable& table, const cGrid& grid, const double* target,
                                const std::vector<std::size_t>& shifts) {
    const auto read = [&](std::size_t i, std::size_t j, std::size_t k) {
        return target[(i * grid.m_size[1] + j) * grid.m_size[2] + k];
    };
    return shiftedSums(table, grid, read, shifts);
}
