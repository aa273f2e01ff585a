// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_LOADFROMPDB_H
#define SELVANE_PDB_LOADFROMPDB_H

#include <vector>

#include "PDB/cPDBAtom.h"

/// Reads the first model of a PDB or pqr file. Waters, hydrogens and alternate locations above 'A' are
/// dropped; other HETATM records stay. A file without atoms gives empty vectors.
/// @param atoms   overwritten with the atoms in file order, m_index counting from 0
/// @param masses  overwritten with the mass of each atom in dalton
/// @param caIds   overwritten with the rigid block of each atom, see loadAtomId2CalphaId
/// A file that can't be read ends the process with status 1, see cClassicalParserPDB::readFile.
void loadFromPDB(const char* name, std::vector<cPDBAtom>& atoms, std::vector<double>& masses,
                 std::vector<int>& caIds);

#endif
