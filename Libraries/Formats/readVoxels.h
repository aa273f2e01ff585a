// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_READVOXELS_H
#define SELVANE_FORMATS_READVOXELS_H

#include <array>
#include <cstddef>
#include <vector>

#include "Formats/InputBytes.h"
#include "Formats/MapHeader.h"

/// Voxels along x, y and z, whatever the order of the axes in the file.
std::array<std::size_t, 3> sizeOf(const MapHeader& header);

/// The voxels of a file as floats in the order of a DensityMap.
struct Voxels {
    std::vector<float> values; ///< z fastest, all finite
    std::size_t notFinite = 0; ///< how many of the file's were not, and are 0
    bool isComplete = false;   ///< whether the file held all of them; the rest is 0
};

/// Reads the voxels, from the place where they begin, in blocks of some sections: what is needed besides the
/// values is a small part of them.
Voxels readVoxels(InputBytes& bytes, const MapHeader& header);

#endif
