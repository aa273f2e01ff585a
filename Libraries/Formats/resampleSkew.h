// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_RESAMPLESKEW_H
#define SELVANE_FORMATS_RESAMPLESKEW_H

#include <array>
#include <cstddef>
#include <vector>

#include "Formats/DensityMap.h"
#include "Formats/VoxelLattice.h"

/// How many voxels the orthogonal lattice has for each one of the skew lattice.
double growthOfResampling(const std::array<std::size_t, 3>& size, const VoxelLattice& lattice);

/// A field on a skew lattice, on the smallest orthogonal lattice that holds all of its nodes and is as dense.
///
/// The voxel of the new lattice is the diagonal of the steps, so its volume is that of the skew voxel. Then
/// planes of constant z are planes of the old lattice, and within them the field is moved along y and x
/// only. In between nodes it is the cubic spline through them (Unser, IEEE Signal Process. Mag. 16, 22-38,
/// 1999), which keeps the detail that a broken line would blur; outside of the old nodes' parallelepiped it
/// is 0.
/// @param values  on the skew lattice, k fastest
/// @param size    nodes along the steps
DensityMap resampleSkew(std::vector<float> values, const std::array<std::size_t, 3>& size,
                        const VoxelLattice& lattice);

#endif
