// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_POLYPEPTIDE_H
#define SELVANE_EXAMPLES_POLYPEPTIDE_H

#include <cstddef>
#include <utility>
#include <vector>

#include "examples/Model.h"
#include "examples/Random.h"

namespace example {

/// Shortest distances that the builder allows, in angstrom. Atoms up to three bonds apart are held by the
/// geometry itself and are not tested.
namespace contact {
/// Two nitrogen or oxygen atoms, which may share a hydrogen bond, two or more residues apart.
constexpr double polar = 2.7;
/// Any other two atoms two or more residues apart, or in different chains.
constexpr double anyOther = 3.0;
/// Two atoms of the same residue or of neighbours in the chain: short loops bring C and O of a neighbour this
/// close.
constexpr double nearInChain = 2.6;
} // namespace contact

/// A stretch of a chain: `loop` residues with torsions of the usual regions, then an alpha helix of `helix`
/// residues.
struct Unit {
    int loop;
    int helix;
};

/// One chain of ideal bond lengths and angles from backbone torsions. Unit by unit the loop's torsions are
/// drawn many times; of the draws without a clash the one that leaves the chain with the smallest radius of
/// gyration stays. A chain that walls itself in is begun anew.
/// @throws std::runtime_error when no attempt comes to its end
Model buildChain(const std::vector<Unit>& units, char chain, Random& random);

/// Moves `moving`, turned at random many times, into contact with `fixed`, and returns both, `fixed` first,
/// in the arrangement with the smallest radius of gyration. No two atoms of the two come closer than
/// contact::anyOther.
Model docked(const Model& fixed, const Model& moving, Random& random);

/// The example's protein: chain A of 107 residues and chain B of 56, helices joined by loops, without
/// symmetry.
Model buildProtein(Random& random);

/// The covalent bonds of chains built here, by the names of the atoms and not by their distances. Pairs of
/// indices into the model, each pair once and ascending, the lower index first.
std::vector<std::pair<std::size_t, std::size_t>> covalentBonds(const Model& model);

} // namespace example

#endif
