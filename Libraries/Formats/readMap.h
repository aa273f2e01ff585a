// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_READMAP_H
#define SELVANE_FORMATS_READMAP_H

#include <string>
#include <vector>

#include "Formats/DensityMap.h"

/// A map as read, and what its user should know about the reading.
struct MapFile {
    DensityMap map;
    std::vector<std::string> remarks; ///< a sentence each, without the file's name
};

/// Reads a CCP4 or MRC map of mode 0, 1, 2, 6 or 12, plain or gzipped (by content, whatever its name), in
/// either byte order and any axis order.
///
/// The map stands where viewers show it: at the ORIGIN words where they are not all zero, else at the start
/// words times the voxel. A remark says by how much the two disagree. A cell that is not right-angled is
/// resampled onto an orthogonal lattice that holds it. Values that are not finite become 0, and a remark
/// counts them. A map that covers a part of a cell that the symmetry of its space group would fill is
/// remarked.
/// @throws InputError with the reason and the remedy for whatever is no such map
MapFile readMap(const std::string& path);

#endif
