// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_CIFOFCOPIES_H
#define SELVANE_FORMATS_CIFOFCOPIES_H

#include <cstddef>
#include <string>
#include <vector>

#include "Formats/ModelCopy.h"

namespace gemmi {
namespace cif {
struct Block;
struct Loop;
} // namespace cif
} // namespace gemmi

/// A data block with several copies of a model: what stays true of its categories, its chains
/// (_struct_asym), and the atoms of all copies in one loop, numbered through, each with its chains renamed
/// and its labels unlike those of other copies.
/// @param atoms    _atom_site
/// @param tensors  _atom_site_anisotrop; null if there is none
/// @param rows     the rows of atoms that a copy has
std::string cifOfCopies(const gemmi::cif::Block& block, const gemmi::cif::Loop& atoms,
                        const gemmi::cif::Loop* tensors, const std::vector<std::size_t>& rows,
                        const std::vector<ModelCopy>& copies);

#endif
