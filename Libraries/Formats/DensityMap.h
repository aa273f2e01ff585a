// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_DENSITYMAP_H
#define SELVANE_FORMATS_DENSITYMAP_H

#include <array>
#include <cstddef>
#include <vector>

#include "Math/cVector3.h"

/// A density on an orthogonal lattice in the user's frame, the one in which viewers show the map.
///
/// Voxel (i, j, k) along x, y, z has the value number (i ny + j) nz + k, so z runs fastest, and stands at
/// origin + (i dx, j dy, k dz). All values are finite.
struct DensityMap {
    std::array<std::size_t, 3> size{}; ///< nx, ny, nz, each at least 1
    cVector3 origin = cVector3(0.0);   ///< place of voxel (0, 0, 0), angstrom
    cVector3 voxel = cVector3(1.0);    ///< dx, dy, dz, angstrom, above 0
    std::vector<float> values;

    std::size_t index(std::size_t i, std::size_t j, std::size_t k) const {
        return (i * size[1] + j) * size[2] + k;
    }
};

#endif
