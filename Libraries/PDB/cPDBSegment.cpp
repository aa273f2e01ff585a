// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cPDBSegment.h"

#include <cstdio>

void cPDBSegment::print() const {
    for (const auto& residue : m_residues) {
        std::printf("%d %c\n", residue.first, residue.second);
    }
}
