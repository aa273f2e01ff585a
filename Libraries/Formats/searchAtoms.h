// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_SEARCHATOMS_H
#define SELVANE_FORMATS_SEARCHATOMS_H

#include <optional>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"

namespace gemmi {
struct Model;
}

/// The atoms of a model that take part in a search, in the order of their serial numbers: all but hydrogens,
/// waters, alternate locations other than the first of their residue, and residues with a mean B factor below
/// `plddt`.
/// @param remarks  gets what is left out by `plddt`, and atoms of unknown element, which count as carbon
/// @throws std::invalid_argument, with the reason, if there is none
std::vector<ModelAtom> searchAtoms(const gemmi::Model& model, std::optional<double> plddt,
                                   std::vector<std::string>& remarks);

#endif
