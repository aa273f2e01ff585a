// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_FORMATCOORDINATE_H
#define SELVANE_PDB_FORMATCOORDINATE_H

#include <cstddef>

/// What formatCoordinate may write at most: the lowest double has 314 characters; the rest is slack.
constexpr std::size_t coordinateCapacity = 320;

/// Writes `value` as printf's "%8.3f" does, byte for byte: right-justified in eight columns, the exact value
/// rounded to the nearest thousandth (ties to even), a minus for negative zero, wider where eight columns are
/// too few.
/// @param out  room for coordinateCapacity characters; no terminating zero is promised
/// @return one past the last character
/// @note The decimal point is that of the "C" locale, the one this program runs in.
char* formatCoordinate(double value, char* out);

#endif
