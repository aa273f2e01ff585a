// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_MIRROR_H
#define SELVANE_PREPARATION_MIRROR_H

#include "Formats/DensityMap.h"

/// The map of the other hand, mirrored along x within its own box: voxel (i, j, k) takes the value of voxel
/// (nx
/// - 1 - i, j, k), and frame and size stay.
DensityMap mirror(DensityMap map);

#endif
