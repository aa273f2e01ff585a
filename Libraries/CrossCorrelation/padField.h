// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_PADFIELD_H
#define SELVANE_CROSSCORRELATION_PADFIELD_H

#include <vector>

class cGrid;

/// @throws std::length_error if the target has fewer nodes on an axis; so do all that pad
void requireRoomToPad(const cGrid& sourceGrid, const cGrid& targetGrid);

/// Copies a field into the low corner of a larger grid, node (i, j, k) to node (i, j, k), and clears the rest
/// of the target.
/// @param target  targetGrid.getTotalSize() doubles, overwritten
void padField(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid, double* target);

/// The same but that entries outside the copied region keep their values, so a fresh target is expected.
/// @param target  resized to targetGrid.getTotalSize()
void padField(const std::vector<double>& source, const cGrid& sourceGrid, const cGrid& targetGrid,
              std::vector<double>& target);

#endif
