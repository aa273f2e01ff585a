// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_MODELSELECTION_H
#define SELVANE_FORMATS_MODELSELECTION_H

#include <cstddef>
#include <string>
#include <vector>

namespace gemmi {
struct Structure;
}

/// Which atoms of the one model of a structure a selection names: true at their serial number less one.
///
/// The syntax is gemmi's, "/model/chains/residues/atoms", of which the first slash and the model may be left
/// out: "A,B" are two chains and "A/10-200" residues of one. A number is a chain where chains have it as
/// their name, else a residue.
/// @param size  the highest serial number
/// @throws std::invalid_argument for what is no selection or selects nothing
std::vector<bool> selectAtoms(gemmi::Structure& structure, const std::string& selection, std::size_t size);

#endif
