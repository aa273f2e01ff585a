// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SHIFTEDBOX_H
#define SELVANE_CROSSCORRELATION_SHIFTEDBOX_H

#include <cstddef>

#include "CrossCorrelation/NodeBox.h"

class cGrid;

/// out[u] += weight * target(u - shift) for every node u of the box, u - shift wrapped per axis.
/// @param target grid.getTotalSize() values
/// @param shift  flat index on the grid
/// @param out    box.size() values
void addShiftedTarget(const NodeBox& box, const cGrid& grid, const double* target, std::size_t shift,
                      double weight, double* out);

/// sum a[n] b[n], in eight interleaved partial sums that are added up in order.
double dotProduct(const double* a, const double* b, std::size_t n);

#endif
