// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_VOXELLATTICE_H
#define SELVANE_FORMATS_VOXELLATTICE_H

#include <array>
#include <string>
#include <vector>

#include "Formats/MapHeader.h"
#include "Math/cVector3.h"

/// Where the voxels of a file stand in the orthogonal frame of viewers: voxel (i, j, k) along the cell's
/// edges at origin + i steps[0] + j steps[1] + k steps[2], angstrom.
///
/// Edge a of the cell lies along x, edge b in the plane of x and y, so that steps[0] has an x component
/// alone and steps[1] no z component.
struct VoxelLattice {
    cVector3 origin = cVector3(0.0);
    std::array<cVector3, 3> steps{cVector3(1.0, 0.0, 0.0), cVector3(0.0, 1.0, 0.0), cVector3(0.0, 0.0, 1.0)};
    bool isSkew = false; ///< whether right angles would put some voxel of the map visibly elsewhere

    /// Lengths of the steps.
    cVector3 voxel() const { return {steps[0].norm(), steps[1].norm(), steps[2].norm()}; }
};

/// Takes the lattice from the header. Words that make no sense are replaced by what does, and remarked: a
/// sampling by the extents, an edge by the voxel of the other axes or 1 angstrom, angles by right ones.
VoxelLattice latticeOf(const MapHeader& header, std::vector<std::string>& remarks);

#endif
