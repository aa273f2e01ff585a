// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_WRITEMAP_H
#define SELVANE_FORMATS_WRITEMAP_H

#include <string>

#include "Formats/DensityMap.h"

/// Writes a map in the CCP4 format: mode 2, x fastest, native byte order, true statistics. Its place stands
/// in the ORIGIN words, and in the start words, too, where it is a whole number of voxels within a thousandth
/// of one; otherwise these are 0. It appears under its name only when it is complete.
/// @throws std::runtime_error with the path and the reason when it cannot be written
void writeMap(const std::string& path, const DensityMap& map);

#endif
