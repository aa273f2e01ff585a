// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_BLOCKMASSES_H
#define SELVANE_PDB_BLOCKMASSES_H

#include <cstring>
#include <map>

namespace Data {

/// Order of zero-terminated strings.
struct CompareStrings {
    bool operator()(const char* a, const char* b) const { return std::strcmp(a, b) < 0; }
};

using BlockMasses = std::map<const char*, double, CompareStrings>;

BlockMasses initBlockMasses();

/// Residue name to the mass of the residue in a chain, in dalton. Filled before main.
extern BlockMasses blockMasses;

} // namespace Data

#endif
