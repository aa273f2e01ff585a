// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PDB_ATOMLINES_H
#define SELVANE_PDB_ATOMLINES_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include "Math/cVector3.h"

class cPDBAtom;

/// The ATOM lines of a model that is written many times, at other positions each time.
///
/// All but the three coordinates of a line is formatted once, here; each writing fills in the coordinates
/// alone. The bytes are those of cPDBAtom::toFile.
class AtomLines {
public:
    /// @param atoms  n atoms, copied from; not needed afterwards
    AtomLines(const cPDBAtom* atoms, std::size_t n);

    std::size_t size() const { return m_ends.size() - 1; }

    /// Writes the lines of all atoms.
    /// @param positions  size() positions, used in place of the atoms' own
    /// @return false if the stream reported an error; what was written until then is any part of the lines
    bool write(FILE* file, const cVector3* positions);

private:
    /// The text between the coordinates of neighbouring atoms: the start of the first line; the end of each
    /// line with the start of the next; the end of the last line.
    std::string m_text;
    std::vector<std::size_t> m_ends; ///< of each piece in m_text, size() + 1 of them
    std::size_t m_longest = 0;       ///< what a piece and three coordinates may take
    std::vector<char> m_block;       ///< lines on their way to the file
};

#endif
