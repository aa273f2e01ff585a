// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "PDB/blockMasses.h"
#include "PDB/cPDBAtom.h"

namespace {

class CPDBAtom : public ::testing::Test {
protected:
    CPDBAtom() {
        cPDBAtom::initMaps();
        cPDBAtom::initResCodes();
    }
};

cPDBAtom makeAtom(const char* name, const char* resName, const char* element) {
    cPDBAtom atom;
    std::strcpy(atom.m_name, name);
    std::strcpy(atom.m_resName, resName);
    std::strcpy(atom.m_element, element);
    std::strcpy(atom.m_altLoc, " ");
    std::strcpy(atom.m_chain, "A");
    std::strcpy(atom.m_iCode, " ");
    atom.m_resType = cPDBAtom::findResType(resName);
    return atom;
}

cPDBAtom makeFullAtom(const char* name, const char* element) {
    cPDBAtom atom = makeAtom(name, "GLY", element);
    atom.m_serial = 42;
    atom.m_resSeq = -7;
    atom.m_position = cVector3(1.5, -20.25, 1234.5675);
    atom.m_occupancy = 0.5F;
    atom.m_tempFactor = 12.345F;
    std::strcpy(atom.m_segId, "SEG");
    return atom;
}

std::string writtenBy(const cPDBAtom& atom) {
    FILE* file = std::tmpfile();
    EXPECT_TRUE(atom.toFile(file));
    std::rewind(file);
    char line[200] = {};
    const std::size_t length = std::fread(line, 1, sizeof line, file);
    std::fclose(file);
    return std::string(line, length);
}

std::string printed(const cPDBAtom& atom) {
    std::ostringstream out;
    out << &atom;
    return out.str();
}

} // namespace

TEST_F(CPDBAtom, ResidueTypeIsFoundThroughBlanks) {
    EXPECT_EQ(cPDBAtom::findResType(" G "), 25);
    EXPECT_EQ(cPDBAtom::findResType("ALA"), 1);
    EXPECT_EQ(cPDBAtom::findResType("HSE"), cPDBAtom::findResType("HIS"));
    EXPECT_EQ(cPDBAtom::findResType("TIP3P"), 24);
    EXPECT_EQ(cPDBAtom::findResType(" ZN"), 26);
    EXPECT_EQ(cPDBAtom::findResType("XYZ"), 0);
    EXPECT_EQ(cPDBAtom::findResType("   "), 0);
    EXPECT_EQ(cPDBAtom::findResType(""), 0);
}

TEST_F(CPDBAtom, WaterWithBlanksAroundItsNameIsNone) {
    // Seen to fail with the name trimmed.
    EXPECT_TRUE(makeAtom("O", "HOH", "O").isWater());
    EXPECT_FALSE(makeAtom("O", " G ", "O").isWater());
    cPDBAtom::mResType["W"] = 24;
    const cPDBAtom blanks = makeAtom("O", " W ", "O");
    EXPECT_EQ(blanks.m_resType, 24);
    EXPECT_FALSE(blanks.isWater());
    cPDBAtom::initMaps(); // filling again restores the table
    EXPECT_EQ(cPDBAtom::findResType("W"), 0);
}

TEST_F(CPDBAtom, WaterOxygenIsToldFromWaterHydrogen) {
    EXPECT_TRUE(makeAtom("O", "WAT", "O").isWaterOxygen());
    EXPECT_FALSE(makeAtom("H1", "WAT", "H").isWaterOxygen());
    EXPECT_FALSE(makeAtom("O", "ALA", "O").isWaterOxygen());
}

TEST_F(CPDBAtom, SelenomethionineHasNoResidueCode) {
    EXPECT_EQ(makeAtom("CA", "MSE", "C").getResCode(), 'x');
    EXPECT_EQ(makeAtom("CA", "SEC", "C").getResCode(), 'U');
    EXPECT_EQ(makeAtom("CA", "HSE", "C").getResCode(), 'H');
}

TEST_F(CPDBAtom, AcetylAndSelenomethionineAreAminoAcids) {
    EXPECT_TRUE(makeAtom("C", "ACE", "C").isAMINO());
    EXPECT_TRUE(makeAtom("CA", "MSE", "C").isAMINO());
    EXPECT_FALSE(makeAtom("CA", "SEC", "C").isAMINO());
    EXPECT_FALSE(makeAtom("O", "HOH", "O").isAMINO());
}

TEST_F(CPDBAtom, MercuryCountsAsHydrogen) {
    // Seen to fail with the whole symbol compared.
    EXPECT_TRUE(makeAtom("HG", "XYZ", "Hg").isHydrogen());
    EXPECT_TRUE(makeAtom("HA", "ALA", "H").isHydrogen());
    EXPECT_FALSE(makeAtom("CA", "ALA", "C").isHydrogen());
}

TEST_F(CPDBAtom, NucleicAcidWithBlanksIsKnownByItsStoredNumber) {
    cPDBAtom atom = makeAtom("P", "A  ", "P");
    EXPECT_EQ(atom.m_resType, 25);
    EXPECT_TRUE(atom.isNucleic());
    EXPECT_EQ(cPDBAtom::mResType.count(atom.m_resName), 0U);
}

TEST_F(CPDBAtom, CalphaIsAnAminoAcidsOnly) {
    EXPECT_TRUE(makeAtom("CA", "GLY", "C").isCA());
    EXPECT_FALSE(makeAtom("CA", "CA", "Ca").isCA());
    EXPECT_FALSE(makeAtom("CB", "ALA", "C").isCA());
}

TEST_F(CPDBAtom, BackboneNames) {
    for (const char* name : {"C", "N", "O", "HN", "HA", "H", "CA", "OT", "OT1", "OT2"}) {
        EXPECT_TRUE(makeAtom(name, "GLY", "C").isBackbone()) << name;
        EXPECT_FALSE(makeAtom(name, "GLY", "C").isSidechain()) << name;
    }
    for (const char* name : {"CB", "OXT", "HB", "NZ", ""}) {
        EXPECT_FALSE(makeAtom(name, "GLY", "C").isBackbone()) << name;
    }
    EXPECT_FALSE(makeAtom("CA", "CA", "Ca").isBackbone());
}

TEST_F(CPDBAtom, CopyFromAPointerLeavesTheAtomTypeOut) {
    // Seen to fail with the atom type copied.
    cPDBAtom atom = makeFullAtom("CA", "C");
    atom.m_atomType = 7;
    const cPDBAtom copy(&atom);
    EXPECT_EQ(copy.m_atomType, -1);
    EXPECT_EQ(copy.m_serial, 42);
    EXPECT_STREQ(copy.m_segId, "SEG");
    cPDBAtom assigned;
    EXPECT_FLOAT_EQ(assigned.m_weight, 1.0F);
    assigned = atom;
    EXPECT_EQ(assigned.m_atomType, 7);
}

TEST_F(CPDBAtom, TablesHaveTheirSizes) {
    EXPECT_EQ(cPDBAtom::mResType.size(), 44U);
    EXPECT_EQ(cPDBAtom::resCode.size(), 22U);
    cPDBAtom::initAtomTypesITScore();
    EXPECT_EQ(cPDBAtom::mResName.size() + cPDBAtom::mName.size() + cPDBAtom::mNameTerm.size(), 110U);
    cPDBAtom::initAtomTypesVersion2();
    EXPECT_EQ(cPDBAtom::mResName.size() + cPDBAtom::mName.size() + cPDBAtom::mNameTerm.size(), 111U);
    EXPECT_EQ(Data::blockMasses.size(), 22U);
    EXPECT_DOUBLE_EQ(Data::blockMasses.at(std::string("TRP").c_str()), 186.2132);
}

TEST_F(CPDBAtom, TypeComesFromTheResidueThenTheBackbone) {
    cPDBAtom::initAtomTypesITScore();
    cPDBAtom atom;
    const auto type = [&](const char* residue, const char* name, bool terminal, bool backbone) {
        atom.setType(residue, name, terminal, backbone);
        return atom.m_atomType;
    };
    EXPECT_EQ(type("ARG", "CZ", false, false), 1);
    EXPECT_EQ(type("ALA", "CA", false, true), 7);
    EXPECT_EQ(type("ALA", "N", true, true), 10);
    EXPECT_EQ(type("ALA", "OXT", false, true), -1);
    EXPECT_EQ(type("ALA", "OXT", true, true), 18);
    EXPECT_EQ(type("ALA", "CA", false, false), -1);
    EXPECT_EQ(type("ALA", "N", true, false), -1);
    cPDBAtom::initAtomTypesVersion2();
    EXPECT_EQ(type("GLY", "CA", false, true), 18); // the residue's own type goes first
    EXPECT_EQ(type("ALA", "CA", false, true), 17);
    EXPECT_EQ(type("ALA", "OT2", true, true), 39);
    cPDBAtom::initAtomTypesITScore();
    EXPECT_EQ(type("GLY", "CA", false, true), 7); // one typing replaces the other
}

TEST_F(CPDBAtom, ToFileWritesShortNamesOneColumnRight) {
    EXPECT_EQ(writtenBy(makeFullAtom("CA", "C")),
              "ATOM     42  CA  GLY A  -7       1.500 -20.2501234.568  0.50 12.35      SEG C\n");
    EXPECT_EQ(writtenBy(makeFullAtom("HD21", "H")),
              "ATOM     42 HD21 GLY A  -7       1.500 -20.2501234.568  0.50 12.35      SEG H\n");
}

TEST_F(CPDBAtom, ToFilePutsTheElementOneColumnLeft) {
    // Seen to fail with the segment given its four columns.
    cPDBAtom atom = makeFullAtom("ZN", "Zn");
    std::strcpy(atom.m_segId, "");
    const std::string line = writtenBy(atom);
    EXPECT_EQ(line.substr(75), "Zn\n");
    EXPECT_EQ(line.substr(0, 6), "ATOM  ");
}

TEST_F(CPDBAtom, StreamOutputHasTheElementBehindTheSegment) {
    EXPECT_EQ(printed(makeFullAtom("CA", "C")),
              "ATOM     42  CA  GLY A  -7       1.500 -20.2501234.568  0.50 12.35       SEG   C ");
    EXPECT_EQ(printed(makeFullAtom("HD21", "H")),
              "ATOM     42 HD21 GLY A  -7       1.500 -20.2501234.568  0.50 12.35       SEG   H ");
}

TEST_F(CPDBAtom, StreamOutputWritesAMissingChainAsABlank) {
    cPDBAtom atom = makeFullAtom("CA", "C");
    atom.m_chain[0] = '\0';
    EXPECT_EQ(printed(atom).substr(17, 9), "GLY    -7");
    atom.m_chain[0] = ' ';
    EXPECT_EQ(printed(atom).substr(17, 9), "GLY    -7");
}

TEST_F(CPDBAtom, StreamOutputNeverOverflowsItsBuffer) {
    cPDBAtom atom = makeFullAtom("CA", "C");
    atom.m_position = cVector3(1e300, 1e300, 1e300);
    EXPECT_EQ(printed(atom).size(), 99U);
}
