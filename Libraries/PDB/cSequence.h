// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CSEQUENCE_H
#define SELVANE_PDB_CSEQUENCE_H

#include <list>

/// The range of residue numbers of a chain, residues missing from the model included.
struct cSequence {
    int m_firstResidue = 0;
    int m_lastResidue = 0;
    int m_offset = 0;           ///< 1 minus the first residue number
    bool m_firstIsAtom = false; ///< the first residue has atoms, it is not a missing one
    bool m_lastIsAtom = false;  ///< the same for the last
    std::list<int> m_missing;   ///< missing residue numbers in file order
};

#endif
