// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_CCP4_H
#define SELVANE_EXAMPLES_CCP4_H

#include <string>

#include "examples/density.h"

namespace example {

/// The bytes of a CCP4 map of mode 2 (32-bit floats), little-endian: a header of 1024 bytes, then the voxels,
/// x fastest. Columns, rows and sections run along x, y and z; the map's place stands in the start words and
/// the cell is the map itself, right-angled.
std::string ccp4Bytes(const Map& map);

/// @throws std::runtime_error when the file cannot be written completely
void writeCcp4(const std::string& path, const Map& map);

} // namespace example

#endif
