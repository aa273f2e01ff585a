// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_CIFCATEGORIES_H
#define SELVANE_FORMATS_CIFCATEGORIES_H

#include <set>
#include <string>

namespace gemmi {
namespace cif {
struct Block;
struct Item;
} // namespace cif
} // namespace gemmi

/// Whether an item belongs to a category that a motion of the atoms makes untrue: cell and symmetry, frames
/// and operators that begin from the old place, refinement and the fit into a density, other data.
bool isUntrueAfterMotion(const gemmi::cif::Item& item);

/// Whether an item holds coordinates or their displacements.
bool isOfAnotherModel(const gemmi::cif::Item& item);

/// Removes the bonds between atoms that are symmetry mates.
void removeBondsToMates(gemmi::cif::Block& block);

/// Removes the rows on secondary structure and bonds of chains that are not among these.
void removeStatementsOnOtherChains(gemmi::cif::Block& block, const std::set<std::string>& chains);

/// The categories that describe a structure apart from its atoms, in numbers that a parser can take.
gemmi::cif::Block structureDefinitions(const gemmi::cif::Block& block);

#endif
