// SPDX-License-Identifier: GPL-3.0-or-later
// The reader of models, as PDB or as pqr by the name of the target, and what follows on it in a run.
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "PDB/NeighbourList.h"
#include "PDB/cAtomGrid.h"
#include "PDB/cClassicalParserPDB.h"
#include "PDB/cTrajectory.h"
#include "PDB/loadFromPDB.h"
#include "PDB/writePDB.h"
#include "fuzz/fuzzTarget.h"

namespace {

constexpr double cutoff = 10.0; // angstrom, of a run's default

bool isTerminated(const char* field, std::size_t size) {
    return strnlen(field, size) < size;
}

void checkFields(const std::vector<cPDBAtom>& atoms) {
    for (const cPDBAtom& atom : atoms) {
        require(isTerminated(atom.m_name, sizeof atom.m_name) &&
                    isTerminated(atom.m_resName, sizeof atom.m_resName) &&
                    isTerminated(atom.m_element, sizeof atom.m_element) &&
                    isTerminated(atom.m_segId, sizeof atom.m_segId),
                "texts of an atom end within their fields");
    }
}

/// Both passes, in every way to divide a file into segments.
void readInParts(const std::string& path, int segmentMode, bool proteinOnly) {
    cClassicalParserPDB parser;
    int nSegments = 0;
    int nAtoms = 0;
    parser.readFile(path, nSegments, nAtoms, segmentMode);
    std::vector<cPDBSegment> segments(static_cast<std::size_t>(nSegments));
    std::vector<cPDBAtom> atoms(static_cast<std::size_t>(nAtoms));
    parser.parseFields(segments.data(), atoms.data(), proteinOnly);
    require(parser.getAtomCount() >= 0 && parser.getAtomCount() <= nAtoms, "the first pass counts enough");
}

/// Model by model, as far as the text goes or the reader accepts it.
void readAsTrajectory(const std::string& text) {
    cClassicalParserPDB parser;
    cTrajectory trajectory;
    long position = 0;
    try {
        for (int more = 1; more == 1;) {
            const long before = position;
            more = parser.parseFields(text.c_str(), trajectory, position, false);
            require(more == 0 || position > before, "every call goes on");
            require(position <= static_cast<long>(text.size()), "the position stays in the text");
        }
    } catch (const std::logic_error&) {
        // models of different sizes, or without atoms
    }
}

/// The search for atoms without neighbours, which a run makes before anything else.
void findNeighbours(std::vector<cPDBAtom>& atoms) {
    for (const cPDBAtom& atom : atoms) {
        if (!std::isfinite(atom.m_position.norm2())) {
            return;
        }
    }
    const int count = static_cast<int>(atoms.size());
    cAtomGrid grid;
    try {
        grid.initPointer(atoms.data(), count, nullptr, cutoff);
    } catch (const std::length_error&) {
        return; // too far apart
    }
    std::vector<cPDBAtom*> lonely;
    grid.detectDisconnectedAtoms(atoms.data(), count, &lonely);
    cPDBAtom::cNeighbourList pairs;
    grid.constructNeighbourList(atoms.data(), count, &pairs);
    require(lonely.size() <= atoms.size(), "no more lonely atoms than atoms");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const ScratchDirectory scratch;
    const std::string path = scratch.write("input." SELVANE_FUZZ_TARGET, data, size);
    std::vector<cPDBAtom> atoms;
    std::vector<double> masses;
    std::vector<int> blocks;
    loadFromPDB(path.c_str(), atoms, masses, blocks);
    require(masses.size() == atoms.size() && blocks.size() == atoms.size(), "one mass and block an atom");
    checkFields(atoms);
    for (const int mode : {cClassicalParserPDB::AT_CHAIN_AND_TER, cClassicalParserPDB::AT_ENDMDL}) {
        readInParts(path, mode, true);
    }
    readAsTrajectory(std::string(reinterpret_cast<const char*>(data), size));
    if (!atoms.empty()) {
        findNeighbours(atoms);
        writePDB(scratch.path("saved.pdb").c_str(), atoms.data(), static_cast<int>(atoms.size()), nullptr);
    }
    return 0;
}
