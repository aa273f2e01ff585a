// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SHIFTEDSUMS_H
#define SELVANE_CROSSCORRELATION_SHIFTEDSUMS_H

#include <cstddef>
#include <vector>

#include "CrossCorrelation/CornerField.h"
#include "CrossCorrelation/DensityTable.h"

/// Correlations of a target with the derivative maps of a pattern, taken at a few shifts only.
///
/// For every shift s and every derivative column q of the table
///   sums[s][q] = (2 pi)^-3 * sum over the table's nodes u of map_q(u) * target(u - s),
/// u - s wrapped per axis: the value at s of the circular correlation of the target with map q, by direct
/// sums over the nodes where the maps aren't zero. The order of summation is that of the nodes.
///
/// @param target on the grid
/// @param shifts flat indices on the grid
/// @return shifts.size() rows of table.columns() - 1 numbers: the table's columns without the density itself
std::vector<double> shiftedSums(const DensityTable& table, const cGrid& grid, const CornerField& target,
                                const std::vector<std::size_t>& shifts);

#endif
