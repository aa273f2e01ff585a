// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_CIFCATEGORIES_H
#define SELVANE_FORMATS_CIFCATEGORIES_H

#include <functional>
#include <set>
#include <string>

namespace gemmi {
namespace cif {
struct Block;
struct Item;
struct Loop;
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

/// Removes the columns of those tags.
void removeColumns(gemmi::cif::Loop& loop, const std::function<bool(const std::string&)>& isRemoved);

/// The categories of a block that stay true in a file of several copies of its model, without what they say
/// of its chains: what it is called, its entities, its components, who published it.
gemmi::cif::Block definitionsOfCopies(const gemmi::cif::Block& block);

/// A category, pairs or loop, as a loop; without tags if it isn't there.
gemmi::cif::Loop loopOf(const gemmi::cif::Block& block, const std::string& category);

/// The categories that describe a structure apart from its atoms, in numbers that a parser can take.
gemmi::cif::Block structureDefinitions(const gemmi::cif::Block& block);

#endif
