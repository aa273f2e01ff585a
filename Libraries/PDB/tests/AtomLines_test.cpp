// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PDB/AtomLines.h"
#include "PDB/cPDBAtom.h"
#include "PDB/writePDB.h"

namespace {

/// All that `writeTo` writes to the stream that it is given.
template <typename Write>
std::string written(Write&& writeTo) {
    FILE* file = std::tmpfile();
    EXPECT_TRUE(writeTo(file));
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    EXPECT_EQ(std::fread(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
    return text;
}

/// The lines that cPDBAtom::toFile writes of the atoms at other positions.
std::string plainLines(std::vector<cPDBAtom> atoms, const std::vector<cVector3>& positions) {
    return written([&](FILE* file) {
        bool isWritten = true;
        for (std::size_t a = 0; a < atoms.size(); ++a) {
            atoms[a].m_position = positions[a];
            isWritten = writeLinePDB(file, &atoms[a]) && isWritten;
        }
        return isWritten;
    });
}

std::string lines(const std::vector<cPDBAtom>& atoms, const std::vector<cVector3>& positions) {
    AtomLines model(atoms.data(), atoms.size());
    return written([&](FILE* file) { return model.write(file, positions.data()); });
}

cPDBAtom makeAtom(const char* name, int serial) {
    cPDBAtom atom;
    atom.m_serial = serial;
    atom.m_resSeq = 3;
    atom.m_occupancy = 1.0F;
    atom.m_tempFactor = 8.25F;
    std::strcpy(atom.m_name, name);
    std::strcpy(atom.m_resName, "GLY");
    std::strcpy(atom.m_chain, "A");
    std::strcpy(atom.m_altLoc, " ");
    std::strcpy(atom.m_iCode, " ");
    std::strcpy(atom.m_element, "C");
    return atom;
}

std::vector<cPDBAtom> manyAtoms(int n) {
    std::vector<cPDBAtom> atoms;
    for (int i = 0; i < n; ++i) {
        atoms.push_back(makeAtom(i % 3 == 0 ? "HG11" : "CA", i + 1));
    }
    return atoms;
}

std::vector<cVector3> randomPositions(std::size_t n, unsigned int seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-500.0, 500.0);
    std::vector<cVector3> positions;
    for (std::size_t i = 0; i < n; ++i) {
        const double x = value(random);
        const double y = value(random);
        positions.emplace_back(x, y, value(random));
    }
    return positions;
}

} // namespace

TEST(AtomLines, LinesAreThoseOfTheAtoms) {
    const std::vector<cPDBAtom> atoms = manyAtoms(5000); // several blocks
    const std::vector<cVector3> positions = randomPositions(atoms.size(), 1);
    EXPECT_EQ(lines(atoms, positions), plainLines(atoms, positions));
}

TEST(AtomLines, EveryWritingTakesItsOwnPositions) {
    const std::vector<cPDBAtom> atoms = manyAtoms(7);
    AtomLines model(atoms.data(), atoms.size());
    EXPECT_EQ(model.size(), 7U);
    for (const unsigned int seed : {1U, 2U}) {
        const std::vector<cVector3> positions = randomPositions(atoms.size(), seed);
        EXPECT_EQ(written([&](FILE* file) { return model.write(file, positions.data()); }),
                  plainLines(atoms, positions));
    }
}

TEST(AtomLines, FieldsOfAnyWidthAreThoseOfTheAtoms) {
    std::vector<cPDBAtom> atoms = manyAtoms(6);
    atoms[0].m_serial = 1234567;
    atoms[1].m_serial = std::numeric_limits<int>::lowest();
    atoms[1].m_resSeq = std::numeric_limits<int>::lowest();
    atoms[2].m_occupancy = -std::numeric_limits<float>::max();
    atoms[2].m_tempFactor = -std::numeric_limits<float>::max();
    atoms[3].m_tempFactor = std::numeric_limits<float>::quiet_NaN();
    std::strcpy(atoms[3].m_segId, "SEGM");
    std::strcpy(atoms[4].m_element, "Zn");
    atoms[4].m_name[0] = '\0';
    atoms[5] = cPDBAtom(); // its characters are zero and stand in the line as such
    const double infinity = std::numeric_limits<double>::infinity();
    const std::vector<cVector3> positions = {
        {12345.6789, -12345.6789, 0.0},      {-0.0, -0.0004, 0.0625},        {1e300, -1e300, 1e8},
        {infinity, -infinity, std::nan("")}, {9999.9995, -999.9995, 0.0005}, {1.0, 2.0, 3.0}};
    EXPECT_EQ(lines(atoms, positions), plainLines(atoms, positions));
}

TEST(AtomLines, WidestLinesFitTheBlock) {
    std::vector<cPDBAtom> atoms = manyAtoms(400);
    for (cPDBAtom& atom : atoms) {
        atom.m_occupancy = atom.m_tempFactor = -std::numeric_limits<float>::max();
    }
    const std::vector<cVector3> positions(atoms.size(), cVector3(std::numeric_limits<double>::lowest()));
    EXPECT_EQ(lines(atoms, positions), plainLines(atoms, positions));
}

TEST(AtomLines, ModelWithoutAtomsHasNoLines) {
    EXPECT_EQ(lines({}, {}), "");
}

TEST(AtomLines, FailureIsReported) {
    if (!std::filesystem::exists("/dev/full")) {
        return;
    }
    const std::vector<cPDBAtom> atoms = manyAtoms(5000);
    const std::vector<cVector3> positions = randomPositions(atoms.size(), 1);
    AtomLines model(atoms.data(), atoms.size());
    FILE* file = std::fopen("/dev/full", "w");
    EXPECT_FALSE(model.write(file, positions.data()));
    EXPECT_NE(std::ferror(file), 0);
    std::fclose(file);
}
