// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/AtomLines.h"

#include <algorithm>
#include <cstring>

#include "PDB/cPDBAtom.h"
#include "PDB/formatCoordinate.h"

namespace {

constexpr std::size_t blockSize = 1 << 16;

/// What snprintf gives for this format, zero bytes of its %c fields included.
template <typename... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    char text[128]; // the widest field, a float of 39 digits, may stand here twice
    const int length = std::snprintf(text, sizeof text, format, arguments...);
    return std::string(text, static_cast<std::size_t>(length));
}

/// The line of cPDBAtom::toFile up to its coordinates.
std::string headOf(const cPDBAtom& atom) {
    const char* format =
        std::strlen(atom.m_name) == 4 ? "ATOM  %5d %-4s%c%3s %c%4d%c   " : "ATOM  %5d  %-3s%c%3s %c%4d%c   ";
    return formatted(format, atom.m_serial, atom.m_name, atom.m_altLoc[0], atom.m_resName, atom.m_chain[0],
                     atom.m_resSeq, atom.m_iCode[0]);
}

/// The line of cPDBAtom::toFile from behind its coordinates.
std::string tailOf(const cPDBAtom& atom) {
    return formatted("%6.2f%6.2f      %-3s%2s\n", static_cast<double>(atom.m_occupancy),
                     static_cast<double>(atom.m_tempFactor), atom.m_segId, atom.m_element);
}

} // namespace

AtomLines::AtomLines(const cPDBAtom* atoms, std::size_t n) {
    std::size_t longestPiece = 0;
    const auto endPiece = [&] {
        longestPiece = std::max(longestPiece, m_text.size() - (m_ends.empty() ? 0 : m_ends.back()));
        m_ends.push_back(m_text.size());
    };
    for (std::size_t a = 0; a < n; ++a) {
        m_text += headOf(atoms[a]);
        endPiece();
        m_text += tailOf(atoms[a]);
    }
    endPiece();
    m_longest = longestPiece + 3 * coordinateCapacity;
    m_block.resize(blockSize + m_longest);
}

bool AtomLines::write(FILE* file, const cVector3* positions) {
    char* const block = m_block.data();
    char* out = block;
    const char* text = m_text.data();
    const auto appendPiece = [&](std::size_t piece) {
        const char* const end = m_text.data() + m_ends[piece];
        out = std::copy(text, end, out);
        text = end;
    };
    const auto flush = [&] {
        const auto length = static_cast<std::size_t>(out - block);
        out = block;
        return std::fwrite(block, 1, length, file) == length;
    };
    for (std::size_t a = 0; a < size(); ++a) {
        appendPiece(a);
        out = formatCoordinate(positions[a].x, out);
        out = formatCoordinate(positions[a].y, out);
        out = formatCoordinate(positions[a].z, out);
        if (out - block >= static_cast<std::ptrdiff_t>(blockSize) && !flush()) {
            return false;
        }
    }
    appendPiece(size());
    return flush();
}
