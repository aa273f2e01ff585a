// SPDX-License-Identifier: GPL-3.0-or-later
// Other readers see the same atoms: gemmi's own program, where it is installed, and the reader of the search.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/modelFiles.h"
#include "PDB/loadFromPDB.h"

namespace {

constexpr double singlePrecision = 1e-5; // of coordinates below 100 angstrom

std::vector<FileAtom> mixedAtoms() {
    std::vector<FileAtom> atoms = chainOf(6, "A");
    const std::vector<FileAtom> second = chainOf(4, "B", 25.0);
    atoms.insert(atoms.end(), second.begin(), second.end());
    atoms[4].altLoc = 'A';
    atoms[9].altLoc = 'A';
    FileAtom other = atoms[9];
    other.altLoc = 'B';
    other.place.x += 0.7;
    atoms.insert(atoms.begin() + 10, other);
    FileAtom hydrogen;
    hydrogen.name = " HA ";
    hydrogen.element = " H";
    hydrogen.number = 6;
    atoms.push_back(hydrogen);
    FileAtom water;
    water.name = " O  ";
    water.element = " O";
    water.residue = "HOH";
    water.number = 300;
    water.isHetero = true;
    atoms.push_back(water);
    FileAtom zinc;
    zinc.name = "ZN  ";
    zinc.element = "ZN";
    zinc.residue = " ZN";
    zinc.number = 301;
    zinc.isHetero = true;
    atoms.push_back(zinc);
    return atoms;
}

TEST(AtomicModelWitness, ReaderOfTheSearchTakesTheSameAtoms) {
    const TestFolder folder;
    const std::string path = folder.write("in.pdb", pdbLines(mixedAtoms()));
    std::vector<cPDBAtom> atoms;
    std::vector<double> masses;
    std::vector<int> blocks;
    loadFromPDB(path.c_str(), atoms, masses, blocks);
    const AtomicModel model = AtomicModel::read(path);
    ASSERT_EQ(model.searchAtoms().size(), atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        EXPECT_LT((model.searchAtoms()[i].position - atoms[i].m_position).norm(), singlePrecision);
        EXPECT_EQ(model.searchAtoms()[i].name, atoms[i].m_name);
        EXPECT_NEAR(model.searchAtoms()[i].mass, masses[i], 0.1);
    }
}

/// Whether gemmi's program ran.
bool convert(const std::string& from, const std::string& to) {
    return std::system(("gemmi convert '" + from + "' '" + to + "' 2>/dev/null").c_str()) == 0;
}

bool hasGemmi() {
    return std::system("gemmi --version >/dev/null 2>&1") == 0;
}

/// What we write, as PDB by gemmi's program, which reads it for itself.
void expectSeenAlike(const TestFolder& folder, const std::string& written) {
    const std::string seen = folder.path("seen.pdb");
    ASSERT_TRUE(convert(written, seen)) << written;
    std::vector<std::string> atoms;
    for (const std::string& line : linesOf(contentOf(seen))) {
        if (line.compare(0, 4, "ATOM") == 0 || line.compare(0, 6, "HETATM") == 0) {
            atoms.push_back(line);
        }
    }
    const std::vector<FileAtom> first = mixedAtoms();
    ASSERT_EQ(atoms.size(), first.size());
    for (const FileAtom& atom : first) {
        const cVector3 place = someMotion()(atom.place);
        double nearest = 1e9;
        for (const std::string& line : atoms) {
            const cVector3 found(std::stod(line.substr(30, 8)), std::stod(line.substr(38, 8)),
                                 std::stod(line.substr(46, 8)));
            if (line.substr(12, 4) == atom.name && line.substr(21, 1) == atom.chain &&
                line[16] == atom.altLoc) {
                nearest = std::min(nearest, (found - place).norm());
            }
        }
        EXPECT_LT(nearest, 0.0015) << atom.name << atom.number;
    }
}

TEST(AtomicModelWitness, GemmiSeesWhatIsWritten) {
    ASSERT_TRUE(hasGemmi()) << "install the program gemmi, Debian's package of that name";
    const TestFolder folder;
    const AtomicModel pdb = AtomicModel::read(folder.write("in.pdb", pdbLines(mixedAtoms())));
    const AtomicModel cif = AtomicModel::read(folder.write("in.cif", "data_x\n" + cifAtoms(mixedAtoms())));
    for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
        expectSeenAlike(folder, pdb.writeMoved(folder.path("pdb"), someMotion(), format));
        expectSeenAlike(folder, cif.writeMoved(folder.path("cif"), someMotion(), format));
    }
}

TEST(AtomicModelWitness, FilesOfGemmiAreRead) {
    ASSERT_TRUE(hasGemmi()) << "install the program gemmi, Debian's package of that name";
    const TestFolder folder;
    const std::string path = folder.write("in.pdb", pdbLines(mixedAtoms()));
    ASSERT_TRUE(convert(path, folder.path("by_gemmi.cif")));
    const AtomicModel first = AtomicModel::read(path);
    const AtomicModel second = AtomicModel::read(folder.path("by_gemmi.cif"));
    EXPECT_EQ(second.atomCount(), first.atomCount());
    EXPECT_EQ(second.searchAtoms().size(), first.searchAtoms().size());
}

} // namespace
