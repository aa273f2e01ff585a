// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_MIRROR_H
#define SELVANE_PREPARATION_MIRROR_H

#include "Formats/DensityMap.h"

/// The map of the other hand, mirrored along x within its own box: a voxel takes the value of the one as far
/// from the other face, and frame and size stay.
DensityMap mirror(DensityMap map);

#endif
