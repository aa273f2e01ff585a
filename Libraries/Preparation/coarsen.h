// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_COARSEN_H
#define SELVANE_PREPARATION_COARSEN_H

#include <optional>

#include "Formats/DensityMap.h"

/// What a map is brought to.
struct Coarsening {
    double from = 0.0;                ///< resolution of the map, angstrom
    double to = 0.0;                  ///< resolution wanted, not finer
    double voxel = 0.0;               ///< edge of the voxels wanted, the same on all axes, angstrom
    std::optional<double> level;      ///< voxels not above it are made 0 before
    const DensityMap* mask = nullptr; ///< voxels where it is not above 0.5 are made 0 before
};

/// The map at a coarser resolution on a coarser lattice, whose first node is that of the map: filtered along
/// one axis after the other (see LowPass), each voxel read once. It takes the memory of its result and of a
/// plane of the map.
/// @throws std::invalid_argument for a mask of another size
DensityMap coarsen(const DensityMap& map, const Coarsening& coarsening);

/// The negative Laplacian, per square angstrom, by central differences of sixth order: 2 % low at a quarter
/// of the sampling frequency and 8 % at a third. Beyond the faces the field goes on with its last value.
DensityMap negativeLaplacian(const DensityMap& map);

#endif
