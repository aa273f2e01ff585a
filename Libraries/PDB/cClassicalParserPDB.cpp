// SPDX-License-Identifier: GPL-3.0-or-later
// The passes over the lines of a file or a text.
#include "PDB/cClassicalParserPDB.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <string_view>

#include "IO/message.h"
#include "IO/openInput.h"
#include "IO/printable.h"
#include "PDB/cTrajectory.h"

namespace {

constexpr int beforeFirstLine = -1000;

[[noreturn]] void exitForUnreadableFile(const std::string& name, const char* reason) {
    std::printf("Error: could not open pdb file %s", printable(name).c_str());
    std::fflush(stdout);
    // The fixed text has no line end of its own.
    std::fputc('\n', stderr);
    tell(reason);
    std::exit(1);
}

int fileTypeOf(const std::string& name) {
    const auto dot = name.rfind('.');
    std::string extension = dot == std::string::npos ? "" : name.substr(dot + 1);
    for (char& c : extension) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    if (extension == "pdb") {
        return cClassicalParserPDB::PDB;
    }
    return extension == "pqr" ? cClassicalParserPDB::PQR : cClassicalParserPDB::UNKNOWN;
}

bool isAtomLine(int kind) {
    return kind == cClassicalParserPDB::ATOM || kind == cClassicalParserPDB::HETATM;
}

bool endsModel(int kind) {
    return kind == cClassicalParserPDB::END || kind == cClassicalParserPDB::NO_LINE ||
           kind == cClassicalParserPDB::ENDMDL;
}

/// Length of the line at the start of a text that ends with a zero, without its line end.
long lengthOfLine(const char* text) {
    return static_cast<long>(std::strcspn(text, "\n"));
}

/// Start of the line behind the one at `position`, or the end of the text.
long nextLine(const char* buffer, long position) {
    const long end = position + lengthOfLine(buffer + position);
    return buffer[end] == '\n' ? end + 1 : end;
}

unsigned int chainKey(char chain) {
    return static_cast<unsigned char>(chain);
}

} // namespace

struct cClassicalParserPDB::SegmentState {
    /// A line of this kind ends the open segment.
    bool isClosedBy(int kind, int mode) const {
        return (kind == TER && !m_isNew && mode != AT_ENDMDL) || (kind == ENDMDL && mode == AT_ENDMDL);
    }
    /// The next atom's chain ends the open segment.
    bool isLeftFor(char chain, int mode) const {
        return !m_isNew && mode == AT_CHAIN_AND_TER && chain != m_chain;
    }
    /// The next atom is the first of a chain.
    bool beginsChain(char chain) const { return !m_hasChain || chain != m_chain || m_previousKind == TER; }

    void noteAtom(char chain, int resSeq) {
        m_isNew = false;
        m_hasChain = true;
        m_chain = chain;
        m_resSeq = resSeq;
    }

    bool m_isNew = true; ///< the next atom begins a segment
    bool m_hasChain = false;
    char m_chain = '\0'; ///< chain and residue of the previous atom line, kept or not
    int m_resSeq = 0;
    int m_firstAtom = 0;
    int m_firstResidue = 0;
    int m_previousKind = beforeFirstLine;
};

cClassicalParserPDB::cClassicalParserPDB() {
    cPDBAtom::initMaps();
    cPDBAtom::initResCodes();
}

void cClassicalParserPDB::reset(const std::string& name, int segmentMode) {
    m_nAtoms = 0;
    m_nSegments = 0;
    m_nWaters = 0;
    m_hasMoreModels = false;
    m_position = 0;
    m_fileType = fileTypeOf(name);
    m_inMissingResidues = 0;
    m_segmentMode = segmentMode;
    m_sequences.clear();
}

void cClassicalParserPDB::loadBuffer(const std::string& name) {
    try {
        m_buffer = readInput(name);
    } catch (const InputError& error) {
        exitForUnreadableFile(name, error.what());
    }
}

bool cClassicalParserPDB::warnOfOtherFormat(const std::string& name) {
    const std::string_view text(m_buffer.data(), m_buffer.size());
    if (text.substr(0, 3) == "\xEF\xBB\xBF") {
        tell(name +
             " begins with a byte-order mark, so that its first line is not taken for a record; save it "
             "as text without the mark");
    }
    if (text.substr(0, 2) == "\x1f\x8b") {
        tell(name + " is compressed (gzip); unpack it first, with gzip -dc FILE > model.pdb");
        return true;
    }
    if (contentOf(text) == Content::MMCIF) {
        tell(name + " is an mmCIF file; convert it to the PDB format first, for example by opening it in a "
                    "molecular viewer and saving it as PDB. Read as PDB lines, its atoms would stand at "
                    "meaningless places");
        m_buffer.clear();
    }
    return false;
}

void cClassicalParserPDB::warnOfOddCoordinates(const std::string& name, int count, int firstSerial) {
    tell(name + ": the coordinates of " + std::to_string(count) +
         " atom lines, the first with serial number " + std::to_string(firstSerial) +
         ", are no numbers in columns 31 to 38, 39 to 46 and 47 to 54; check that the columns are not "
         "shifted");
}

cClassicalParserPDB::Line cClassicalParserPDB::lineAt(long position) const {
    // Deliberate: to the end of the file, so the fields of a short line are read from the next.
    return {m_buffer.data() + position, bufferSize() - position};
}

long cClassicalParserPDB::lineEnd(long position) const {
    const auto end = std::find(m_buffer.begin() + position, m_buffer.end(), '\n');
    return static_cast<long>(end - m_buffer.begin());
}

void cClassicalParserPDB::readFile(const std::string& name, int& nSegments, int& nAtoms, int segmentMode) {
    reset(name, segmentMode);
    loadBuffer(name);
    const bool isCompressed = warnOfOtherFormat(name);
    nSegments = 0;
    nAtoms = 0;
    int nOdd = 0;
    int firstOdd = 0;
    SegmentState state;
    for (;;) {
        const int kind = readPDBLine(m_buffer.data(), m_position, bufferSize());
        if (state.m_previousKind == ATOM && kind != ATOM) {
            endSequence(state.m_chain, state.m_resSeq);
        }
        if (isAtomLine(kind)) {
            const Line line = lineAt(m_position);
            ++nAtoms;
            if (!line.holdsCoordinates() && nOdd++ == 0) {
                firstOdd = line.integer(serialOffset, serialWidth);
            }
            nSegments += state.isLeftFor(line.at(chainOffset), m_segmentMode);
            countResidue(line.at(chainOffset), line.integer(resseqOffset, resseqWidth), state);
        } else if (kind == MISSING_RESIDUE) {
            readMissingResidue(lineAt(m_position));
        } else if (state.isClosedBy(kind, m_segmentMode)) {
            ++nSegments;
            state.m_isNew = true;
        }
        if (endsModel(kind)) {
            nSegments += !state.m_isNew;
            if (nOdd > 0 && !isCompressed) {
                warnOfOddCoordinates(name, nOdd, firstOdd);
            }
            lookForMoreModels();
            return;
        }
        state.m_previousKind = kind;
        m_position = lineEnd(m_position) + 1;
    }
}

void cClassicalParserPDB::countResidue(char chain, int resSeq, SegmentState& state) {
    if (state.beginsChain(chain)) {
        if (state.m_previousKind == ATOM) {
            endSequence(state.m_chain, state.m_resSeq);
        }
        startSequence(chain, resSeq);
    }
    state.noteAtom(chain, resSeq);
}

void cClassicalParserPDB::lookForMoreModels() {
    for (;;) {
        m_position = m_position < bufferSize() ? lineEnd(m_position) + 1 : m_position;
        const int kind = readPDBLine(m_buffer.data(), m_position, bufferSize());
        if (kind == NO_LINE) {
            return;
        }
        if (isAtomLine(kind)) {
            m_hasMoreModels = true;
            return;
        }
    }
}

void cClassicalParserPDB::startSequence(char chain, int resSeq) {
    cSequence& sequence = m_sequences[chainKey(chain)];
    sequence.m_firstIsAtom = sequence.m_missing.empty() || resSeq < sequence.m_missing.front();
    sequence.m_firstResidue = sequence.m_firstIsAtom ? resSeq : sequence.m_missing.front();
    sequence.m_offset = 1 - sequence.m_firstResidue;
}

void cClassicalParserPDB::endSequence(char chain, int resSeq) {
    cSequence& sequence = m_sequences[chainKey(chain)];
    sequence.m_lastIsAtom = sequence.m_missing.empty() || resSeq > sequence.m_missing.back();
    sequence.m_lastResidue = sequence.m_lastIsAtom ? resSeq : sequence.m_missing.back();
}

void cClassicalParserPDB::parseFields(cPDBSegment* segments, cPDBAtom* atoms, bool proteinOnly) {
    m_nAtoms = 0;
    m_nSegments = 0;
    m_nWaters = 0;
    m_position = 0;
    SegmentState state;
    for (;;) {
        const int kind = readPDBLine(m_buffer.data(), m_position, bufferSize());
        if (isAtomLine(kind)) {
            addAtom(state, segments, atoms, proteinOnly);
        } else if (state.isClosedBy(kind, m_segmentMode)) {
            closeSegment(state, segments);
            state.m_isNew = true;
        }
        if (endsModel(kind)) {
            break;
        }
        state.m_previousKind = kind;
        m_position = lineEnd(m_position) + 1;
    }
    if (!state.m_isNew) {
        closeSegment(state, segments);
    }
}

void cClassicalParserPDB::addAtom(SegmentState& state, cPDBSegment* segments, cPDBAtom* atoms,
                                  bool proteinOnly) {
    const Line line = lineAt(m_position);
    const char chain = line.at(chainOffset);
    const int resSeq = line.integer(resseqOffset, resseqWidth);
    if (state.m_isNew) {
        state.m_firstResidue = resSeq;
    } else if (state.isLeftFor(chain, m_segmentMode)) {
        // Deliberate: the new segment keeps the first residue of the one that the change of chain closes.
        closeSegment(state, segments);
    }
    if (state.beginsChain(chain) && !m_sequences.empty()) {
        m_sequences[chainKey(chain)];
    }
    cPDBAtom& atom = atoms[m_nAtoms]; // a rejected atom leaves its slot to the next
    readAtom(line, lineEnd(m_position) - m_position, atom);
    atom.m_index = m_nAtoms;
    atom.m_segment = m_nSegments;
    m_nWaters += atom.isWater() && !atom.isHydrogen();
    if (isKept(atom, proteinOnly)) {
        ++m_nAtoms;
        segments[m_nSegments].m_residues.emplace(resSeq, atom.getResCode());
    }
    state.noteAtom(chain, resSeq); // Deliberate: a rejected atom, too, ends its segment's residues.
}

void cClassicalParserPDB::readAtom(const Line& line, long length, cPDBAtom& atom) const {
    atom = cPDBAtom();
    readFields(line, atom, static_cast<int>(std::min<long>(length, std::numeric_limits<int>::max())));
    assignElement(atom);
}

void cClassicalParserPDB::assignElement(cPDBAtom& atom) const {
    atom.m_resType = cPDBAtom::findResType(atom.m_resName);
    const elementInformation* element = m_periodicTable.find(atom.m_element);
    atom.m_radius = element != nullptr ? element->m_radius : 1.0F;
    atom.m_mass = element != nullptr ? element->m_mass : 1.0F;
}

bool cClassicalParserPDB::isKept(const cPDBAtom& atom, bool proteinOnly) {
    // Deliberate: the first alternative stays by its letter, not by its occupancy.
    return !atom.isWater() && !atom.isHydrogen() && static_cast<signed char>(atom.m_altLoc[0]) <= 'A' &&
           (!proteinOnly || atom.isAMINO() || atom.isNucleic());
}

void cClassicalParserPDB::closeSegment(SegmentState& state, cPDBSegment* segments) {
    cPDBSegment& segment = segments[m_nSegments];
    segment.m_firstAtom = state.m_firstAtom;
    segment.m_nAtoms = m_nAtoms - state.m_firstAtom;
    segment.m_firstResidue = state.m_firstResidue;
    segment.m_lastResidue = state.m_resSeq;
    ++m_nSegments;
    state.m_firstAtom = m_nAtoms;
}

int cClassicalParserPDB::kindOfLine(const char* text) {
    // Only the line is measured: the whole text may be long, and it is looked at model by model.
    return readPDBLine(text, 0, lineOf(text).m_size);
}

int cClassicalParserPDB::parseFields(const char* buffer, cTrajectory& out, long& position, bool proteinOnly) {
    if (position < 0) {
        throw std::invalid_argument("cClassicalParserPDB: position " + std::to_string(position));
    }
    std::vector<cPDBAtom> atoms;
    long end = position;
    const bool hasAtomLine = readModel(buffer, end, proteinOnly, atoms);
    int kind = NO_LINE;
    do {
        end = nextLine(buffer, end);
        kind = kindOfLine(buffer + end);
    } while (kind != NO_LINE && !isAtomLine(kind));
    if (hasAtomLine) {
        out.appendModel(atoms);
    }
    position = end;
    return isAtomLine(kind) ? 1 : 0;
}

bool cClassicalParserPDB::readModel(const char* buffer, long& position, bool proteinOnly,
                                    std::vector<cPDBAtom>& atoms) {
    SegmentState state;
    int nSegments = 0;
    for (;; position = nextLine(buffer, position)) {
        const int kind = kindOfLine(buffer + position);
        if (isAtomLine(kind)) {
            const Line line = lineOf(buffer + position);
            cPDBAtom atom;
            readAtom(line, lengthOfLine(line.m_text), atom);
            nSegments += state.isLeftFor(atom.m_chain[0], m_segmentMode);
            atom.m_index = static_cast<int>(atoms.size());
            atom.m_segment = nSegments;
            if (isKept(atom, proteinOnly)) {
                atoms.push_back(atom);
            }
            state.noteAtom(atom.m_chain[0], atom.m_resSeq);
        } else if (state.isClosedBy(kind, m_segmentMode)) {
            ++nSegments;
            state.m_isNew = true;
        }
        if (endsModel(kind)) {
            return state.m_hasChain;
        }
    }
}
