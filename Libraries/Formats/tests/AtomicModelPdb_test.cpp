// SPDX-License-Identifier: GPL-3.0-or-later
// What the PDB files of many programs look like, and which atoms they hold.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/gzipBytes.h"
#include "Formats/tests/modelFiles.h"

namespace {

const std::string line = "ATOM      1  CA  ALA A   1       1.000   2.000   3.000  1.00 20.00           C  ";

/// The line with other characters from a column on, counted from 1.
std::string changed(std::string text, std::size_t column, const std::string& characters) {
    return text.replace(column - 1, characters.size(), characters);
}

std::string replaced(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

TEST(AtomicModelPdb, TellsWhatAnAtomIs) {
    const AtomicModel model = readAs("HETATM    1 ZN    ZN B -12A     -1.500  20.250-300.125  1.00 20.00\n");
    ASSERT_EQ(model.searchAtoms().size(), 1U);
    const ModelAtom& atom = model.searchAtoms()[0];
    EXPECT_EQ(atom.position, cVector3(-1.5, 20.25, -300.125));
    EXPECT_EQ(atom.name, "ZN");
    EXPECT_EQ(atom.residue, "ZN");
    EXPECT_EQ(atom.chain, "B");
    EXPECT_EQ(atom.residueNumber, -12);
    EXPECT_EQ(atom.insertionCode, 'A');
    EXPECT_EQ(atom.element, "Zn");
    EXPECT_NEAR(atom.mass, 65.38, 0.01);
    EXPECT_EQ(model.format(), ModelFormat::Pdb);
    EXPECT_TRUE(model.remarks().empty());
}

TEST(AtomicModelPdb, SerialNumbersOfAnyKindDoNotMatter) {
    for (const char* serial : {"    0", "*****", "A0000", "186a0", "     ", "   -1", "zzzzz"}) {
        const AtomicModel model = readAs(changed(line, 7, serial) + "\n" + changed(line, 7, serial) + "\n");
        ASSERT_EQ(model.atomCount(), 2U) << serial;
        EXPECT_EQ(model.searchAtoms()[1].position, cVector3(1, 2, 3)) << serial;
    }
    EXPECT_EQ(readAs(changed(line, 6, "100000") + "\n").atomCount(), 1U);
    EXPECT_EQ(readAs(changed(line, 7, "100000") + "\n").atomCount(), 1U);
}

TEST(AtomicModelPdb, ResidueNumbersGoOnBeyondFourDigits) {
    EXPECT_EQ(readAs(changed(line, 23, "A000")).searchAtoms()[0].residueNumber, 10000);
    EXPECT_EQ(readAs(changed(line, 23, "12345")).searchAtoms()[0].residueNumber, 12345);
    EXPECT_EQ(readAs(changed(line, 23, "1   ")).searchAtoms()[0].residueNumber, 1);
    EXPECT_EQ(readAs(changed(line, 23, "****")).atomCount(), 1U);
}

TEST(AtomicModelPdb, LineEndsAndLengthsDoNotMatter) {
    const std::string text = pdbLines(chainOf(3, "A"));
    const std::vector<std::string> variants = {
        replaced(text, "\n", "\r\n"), text.substr(0, text.size() - 1),    gzipped(text),
        "\xef\xbb\xbf" + text,        replaced(text, "  1.00 20.00", ""), replaced(text, "\n", "\r")};
    for (const std::string& variant : variants) {
        const AtomicModel model = readAs(variant);
        ASSERT_EQ(model.searchAtoms().size(), 15U);
        EXPECT_EQ(model.searchAtoms()[14].position, chainOf(3, "A")[14].place);
    }
    EXPECT_EQ(readAs(line.substr(0, 54)).searchAtoms()[0].element, "C");
}

TEST(AtomicModelPdb, NameOfTheFileDoesNotMatter) {
    EXPECT_EQ(readAs(line, {}, "model.cif").format(), ModelFormat::Pdb);
    EXPECT_EQ(readAs(gzipped(line), {}, "model.pdb").atomCount(), 1U);
}

TEST(AtomicModelPdb, ElementsAreGuessedWhereTheirColumnsAreEmpty) {
    const std::vector<std::pair<std::string, std::string>> named = {
        {" CA  ALA", "C"}, {"CA    CA", "Ca"}, {"CA   ALA", "C"}, {" SE  MSE", "S"}, {"SE   MSE", "Se"},
        {" OXT ALA", "O"}, {" P    DA", "P"},  {"NE   ARG", "N"}, {"FE   HEM", "Fe"}};
    for (const auto& [name, element] : named) {
        const std::string text = changed(changed(line, 13, name), 77, "  ");
        EXPECT_EQ(readAs(text).searchAtoms()[0].element, element) << name;
    }
    EXPECT_EQ(readAs(changed(line, 77, "zn")).searchAtoms()[0].element, "Zn");
    EXPECT_EQ(readAs(changed(line, 77, "C ")).searchAtoms()[0].element, "C");
    EXPECT_EQ(readAs(changed(line, 77, "12")).searchAtoms()[0].element, "C");
}

TEST(AtomicModelPdb, HydrogensAndWatersAreCarriedAlong) {
    std::string text = line + "\n";
    for (const char* name : {" HA ", "1HB ", "HG11", " D  ", "HG  "}) {
        text += changed(changed(line, 13, name), 77, "  ") + "\n";
    }
    for (const char* name : {"HOH ", "WAT ", "DOD ", "SOL ", "TIP3"}) {
        text += changed(changed(line, 13, " O  "), 18, name) + "\n";
    }
    const AtomicModel model = readAs(text);
    EXPECT_EQ(model.atomCount(), 11U);
    EXPECT_EQ(model.searchAtoms().size(), 1U);
}

TEST(AtomicModelPdb, OfAlternateLocationsTheFirstOfEachResidueIsSearched) {
    std::vector<FileAtom> atoms(7);
    const std::string labels = " BABCCB";
    const std::vector<int> numbers = {1, 1, 1, 1, 2, 2, 3};
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        atoms[i].altLoc = labels[i];
        atoms[i].number = numbers[i];
        atoms[i].place.x = static_cast<double>(i);
    }
    atoms[0].name = " N  ";
    atoms[6].residue = "GLY";
    std::vector<double> used;
    const AtomicModel model = readAs(pdbLines(atoms));
    for (const ModelAtom& atom : model.searchAtoms()) {
        used.push_back(atom.position.x);
    }
    EXPECT_EQ(used, (std::vector<double>{0, 1, 3, 4, 5, 6}));
}

TEST(AtomicModelPdb, AtomWithoutALabelIsAtItsFirstLocation) {
    std::vector<FileAtom> atoms(4);
    const std::string labels = " BAB";
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        atoms[i].name = i < 2 ? " CZ " : " NH1";
        atoms[i].altLoc = labels[i];
        atoms[i].place.x = static_cast<double>(i);
    }
    const AtomicModel model = readAs(pdbLines(atoms));
    ASSERT_EQ(model.searchAtoms().size(), 2U);
    EXPECT_EQ(model.searchAtoms()[0].position.x, 0.0);
    EXPECT_EQ(model.searchAtoms()[1].position.x, 2.0);
}

TEST(AtomicModelPdb, TwoResiduesInOnePlaceAreAlternates) {
    std::vector<FileAtom> atoms(2);
    atoms[0].altLoc = 'A';
    atoms[1].altLoc = 'B';
    atoms[1].residue = "GLY";
    ASSERT_EQ(readAs(pdbLines(atoms)).searchAtoms().size(), 1U);
    atoms[0].altLoc = atoms[1].altLoc = ' '; // a number that was given twice
    EXPECT_EQ(readAs(pdbLines(atoms)).searchAtoms().size(), 2U);
}

TEST(AtomicModelPdb, SearchAtomsComeInTheOrderOfTheFile) {
    std::vector<FileAtom> atoms(6);
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        atoms[i].chain = std::string(1, "ABABBA"[i]);
        atoms[i].number = static_cast<int>(i % 2);
        atoms[i].place.x = static_cast<double>(i);
    }
    const AtomicModel model = readAs(pdbLines(atoms));
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        EXPECT_EQ(model.searchAtoms()[i].position.x, static_cast<double>(i));
        EXPECT_EQ(model.searchAtoms()[i].chain, atoms[i].chain);
    }
}

TEST(AtomicModelPdb, FourLettersOfAResidueAreNoChain) {
    const AtomicModel model = readAs(changed(changed(line, 13, " P  "), 18, "POPCS"));
    EXPECT_EQ(model.searchAtoms()[0].residue, "POPC");
    EXPECT_EQ(model.searchAtoms()[0].chain, "S");
    EXPECT_EQ(readAs(changed(line, 18, "ALABX")).searchAtoms()[0].chain, "BX");
    EXPECT_EQ(readAs(changed(line, 22, " ")).searchAtoms()[0].chain, "");
}

TEST(AtomicModelPdb, SecondModelMayBeIncomplete) {
    const std::string two =
        "MODEL 1\n" + line + "\n" + line + "\nTER\nENDMDL\nMODEL 2\n" + line.substr(0, 40) + "\n";
    const AtomicModel model = readAs(two);
    EXPECT_EQ(model.atomCount(), 2U);
    ASSERT_EQ(model.remarks().size(), 1U);
    EXPECT_NE(model.remarks()[0].find("2 models"), std::string::npos);
}

TEST(AtomicModelPdb, EndWithinAModelAndTwiceIsNoFault) {
    EXPECT_EQ(readAs("MODEL        1\n" + line + "\nEND\nENDMDL\nEND\n").atomCount(), 1U);
    const AtomicModel frames = readAs(line + "\nEND\n" + line + "\n" + line + "\nEND\n");
    EXPECT_EQ(frames.atomCount(), 1U);
    EXPECT_EQ(frames.remarks().size(), 1U);
}

TEST(AtomicModelPdb, RefusalNamesTheLineAndTheRemedy) {
    const std::string good = line + "\n";
    EXPECT_NE(refusalOf(good + line.substr(0, 53)).find("line 2"), std::string::npos);
    EXPECT_NE(refusalOf(good + changed(line, 31, "     nan")).find("line 2: x in columns 31 to 38"),
              std::string::npos);
    EXPECT_NE(refusalOf(good + changed(line, 39, "********")).find("line 2: y"), std::string::npos);
    EXPECT_NE(refusalOf(good + changed(line, 47, "     inf")).find("line 2: z"), std::string::npos);
    EXPECT_NE(refusalOf(good + changed(line, 47, "  1e+300")).find("line 2: z"), std::string::npos);
    // -1234.567 of nine columns shifts what follows, which still looks like numbers
    const std::string wide = line.substr(0, 30) + "-1234.5679876.5431234.567  1.00 20.00";
    EXPECT_NE(refusalOf(good + wide).find("line 2"), std::string::npos);
}

TEST(AtomicModelPdb, FilesWithoutAtomsToSearchAreRefused) {
    EXPECT_NE(refusalOf("").find("no atoms"), std::string::npos);
    EXPECT_NE(refusalOf("HEADER    NOTHING\nEND\n").find("no atoms"), std::string::npos);
    EXPECT_NE(refusalOf(changed(line, 18, "HOH")).find("1 atoms of water"), std::string::npos);
    EXPECT_NE(refusalOf(changed(line, 77, " H")).find("1 hydrogens"), std::string::npos);
    EXPECT_NE(refusalOf(std::string(1000, '\0')).find("no atoms"), std::string::npos);
}

TEST(AtomicModelPdb, UnknownElementsCountAsCarbonAndAreTold) {
    const AtomicModel model = readAs(changed(changed(line, 13, " Q1  LIG"), 77, "  "));
    EXPECT_NEAR(model.searchAtoms()[0].mass, 12.011, 0.01);
    EXPECT_EQ(model.remarks().size(), 1U);
}

TEST(AtomicModelPdb, MoreThanAHundredThousandAtomsAreRead) {
    std::string text;
    const std::vector<FileAtom> chain = chainOf(200, "A");
    constexpr std::size_t chains = 101; // of 1,000 atoms
    for (std::size_t i = 0; i < chains; ++i) {
        text += pdbLines(chain) + "TER\n";
    }
    const AtomicModel model = readAs(text);
    EXPECT_EQ(model.searchAtoms().size(), 101000U);
    EXPECT_FALSE(model.fitsPdb());
}

} // namespace
