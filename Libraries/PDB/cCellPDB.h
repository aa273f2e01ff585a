// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CCELLPDB_H
#define SELVANE_PDB_CCELLPDB_H

#include <vector>

class cPDBAtom;

/// An occupied cell of a cAtomGrid. The atoms are not owned.
class cCellPDB {
public:
    virtual ~cCellPDB() = default;

    /// Index of the last atom in the cell: the number of atoms less one.
    virtual int getOccupied() const { return m_occupied; }

    int m_occupied = -1;
    std::vector<cPDBAtom*> m_atoms;
};

#endif
