// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "Math/cMatrix33.h"
#include "PDB/loadFromPDB.h"
#include "PDB/writePDB.h"

namespace {

std::string temporaryFile() {
    std::string path = ::testing::TempDir() + "selvane_write_XXXXXX.pdb";
    close(mkstemps(path.data(), 4));
    return path;
}

std::vector<cPDBAtom> twoAtoms() {
    std::vector<cPDBAtom> atoms(2);
    for (int i = 0; i < 2; ++i) {
        cPDBAtom& atom = atoms[static_cast<std::size_t>(i)];
        atom.m_serial = i + 1;
        atom.m_resSeq = 3;
        atom.m_occupancy = 1.0F;
        atom.m_tempFactor = 8.25F;
        std::strcpy(atom.m_name, i == 0 ? "N" : "CA");
        std::strcpy(atom.m_resName, "GLY");
        std::strcpy(atom.m_chain, "A");
        std::strcpy(atom.m_altLoc, " ");
        std::strcpy(atom.m_iCode, " ");
        std::strcpy(atom.m_element, i == 0 ? "N" : "C");
        atom.m_position = cVector3(1.0 + i, -2.0, 3.5);
    }
    return atoms;
}

/// Positions of the atoms that the file holds; the file goes.
std::vector<cVector3> readBack(const std::string& path) {
    std::vector<cPDBAtom> atoms;
    std::vector<double> masses;
    std::vector<int> ids;
    loadFromPDB(path.c_str(), atoms, masses, ids);
    std::filesystem::remove(path);
    std::vector<cVector3> positions;
    for (const cPDBAtom& atom : atoms) {
        positions.push_back(atom.m_position);
    }
    return positions;
}

std::vector<cPDBAtom> writtenAndReadBack(const std::vector<cPDBAtom>& atoms) {
    const std::string path = temporaryFile();
    EXPECT_TRUE(writePDB(path.c_str(), atoms.data(), static_cast<int>(atoms.size())));
    std::vector<cPDBAtom> back;
    std::vector<double> masses;
    std::vector<int> ids;
    loadFromPDB(path.c_str(), back, masses, ids);
    std::filesystem::remove(path);
    return back;
}

} // namespace

TEST(WritePDB, WrittenAtomsReadBackAlike) {
    const std::vector<cPDBAtom> atoms = twoAtoms();
    const std::vector<cPDBAtom> back = writtenAndReadBack(atoms);
    ASSERT_EQ(back.size(), atoms.size());
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(back[i].m_position, atoms[i].m_position);
        EXPECT_STREQ(back[i].m_name, atoms[i].m_name);
        EXPECT_STREQ(back[i].m_element, atoms[i].m_element);
        EXPECT_EQ(back[i].m_tempFactor, 8.25F);
        EXPECT_EQ(back[i].m_serial, atoms[i].m_serial);
    }
}

TEST(WritePDB, FileHoldsTheAtomLinesAlone) {
    const std::vector<cPDBAtom> atoms = twoAtoms();
    const std::string path = temporaryFile();
    ASSERT_TRUE(writePDB(path.c_str(), atoms.data(), 2));
    std::ifstream file(path);
    std::vector<std::string> records;
    for (std::string line; std::getline(file, line);) {
        records.push_back(line.substr(0, 6));
    }
    std::filesystem::remove(path);
    // Seen to fail with END behind the atoms.
    EXPECT_EQ(records, (std::vector<std::string>{"ATOM  ", "ATOM  "}));
}

TEST(WritePDB, ElementOfTwoLettersReadsBackAsItsSecond) {
    std::vector<cPDBAtom> atoms = twoAtoms();
    std::strcpy(atoms[1].m_element, "Zn");
    const std::vector<cPDBAtom> back = writtenAndReadBack(atoms);
    ASSERT_EQ(back.size(), atoms.size());
    // Seen to fail with the element written where the reader looks for it.
    EXPECT_STREQ(back[0].m_element, "N");
    EXPECT_STREQ(back[1].m_element, "N");
}

TEST(WritePDB, OpenFileIsWrittenToAndLeftOpen) {
    const std::vector<cPDBAtom> atoms = twoAtoms();
    const std::string path = temporaryFile();
    FILE* file = std::fopen(path.c_str(), "w");
    EXPECT_TRUE(writePDB(nullptr, atoms.data(), 1, file));
    EXPECT_TRUE(writeLinePDB(file, &atoms[1]));
    EXPECT_EQ(std::fclose(file), 0);
    EXPECT_EQ(readBack(path).size(), 2U);
}

TEST(WritePDB, NoAtomsWriteNothing) {
    const std::string path = temporaryFile();
    std::filesystem::remove(path);
    EXPECT_TRUE(writePDB(path.c_str(), nullptr, 0));
    EXPECT_TRUE(writePDB(path.c_str(), nullptr, -1));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(WritePDB, FailureIsReported) {
    const std::vector<cPDBAtom> atoms = twoAtoms();
    EXPECT_FALSE(writePDB("/nonexistent/directory/model.pdb", atoms.data(), 2));
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_FALSE(writePDB("/dev/full", atoms.data(), 2));
    }
}

TEST(WritePDB, DisplacementIsAddedAtomByAtom) {
    const std::vector<cPDBAtom> atoms = twoAtoms();
    const std::string path = temporaryFile();
    ASSERT_TRUE(writePDB(path.c_str(), atoms.data(), 2, arma::Col<double>{0.5, 0, 0, 0, 1, -0.25}));
    const std::vector<cVector3> positions = readBack(path);
    EXPECT_EQ(positions[0], cVector3(1.5, -2.0, 3.5));
    EXPECT_EQ(positions[1], cVector3(2.0, -1.0, 3.25));
    EXPECT_EQ(atoms[0].m_position, cVector3(1.0, -2.0, 3.5));
    EXPECT_THROW(writePDB(path.c_str(), atoms.data(), 2, arma::Col<double>(5, arma::fill::zeros)),
                 std::length_error);
}

TEST(WritePDB, RigidMotionTurnsThenShifts) {
    const std::vector<cPDBAtom> atoms = twoAtoms();
    const cMatrix33 quarterTurn(0, -1, 0, 1, 0, 0, 0, 0, 1); // about z
    const std::string path = temporaryFile();
    ASSERT_TRUE(writePDB(path.c_str(), atoms.data(), 2, cVector3(10.0, 0.0, 0.0), quarterTurn));
    EXPECT_EQ(readBack(path)[1], cVector3(12.0, 2.0, 3.5));
    ASSERT_TRUE(writePDB(path.c_str(), atoms.data(), 2, arma::Col<double>{0, 0, 0, 0, -1, 0},
                         cVector3(10.0, 0.0, 0.0), quarterTurn));
    EXPECT_EQ(readBack(path)[1], cVector3(13.0, 2.0, 3.5));
}
