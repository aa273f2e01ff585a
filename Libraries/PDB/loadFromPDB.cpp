// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/loadFromPDB.h"

#include <cstddef>

#include "Math/structure.h"
#include "PDB/cClassicalParserPDB.h"

void loadFromPDB(const char* name, std::vector<cPDBAtom>& atoms, std::vector<double>& masses,
                 std::vector<int>& caIds) {
    cClassicalParserPDB parser;
    int nSegments = 0;
    int nAtoms = 0;
    parser.readFile(name, nSegments, nAtoms, cClassicalParserPDB::AT_TER);
    atoms.resize(static_cast<std::size_t>(nAtoms));
    std::vector<cPDBSegment> segments(static_cast<std::size_t>(nSegments));
    parser.parseFields(segments.data(), atoms.data(), false);
    atoms.resize(static_cast<std::size_t>(parser.getAtomCount()));
    masses.clear();
    for (const cPDBAtom& atom : atoms) {
        masses.push_back(static_cast<double>(atom.m_mass));
    }
    loadAtomId2CalphaId(atoms, caIds);
}
