// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_CPDBSEGMENT_H
#define SELVANE_PDB_CPDBSEGMENT_H

#include <map>

/// A stretch of consecutive atoms: a chain, or what TER or ENDMDL closes.
struct cPDBSegment {
    /// Each residue as its number, a blank, its one-letter code and a line end, to standard output.
    void print() const;

    int m_firstAtom = 0;
    int m_nAtoms = 0;
    int m_firstResidue = 0;
    int m_lastResidue = 0;
    std::map<int, char> m_residues; ///< number of each residue with a kept atom to the code of its first
};

#endif
