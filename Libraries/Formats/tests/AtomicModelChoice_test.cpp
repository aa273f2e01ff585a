// SPDX-License-Identifier: GPL-3.0-or-later
// Parts of a file: selections, models, assemblies, residues of low confidence.
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/modelFiles.h"

namespace {

std::string twoChains() {
    return pdbLines(chainOf(4, "A")) + "TER\n" + pdbLines(chainOf(3, "B", 30.0)) + "TER\nEND\n";
}

std::size_t countOfSelection(const std::string& text, const std::string& selection) {
    ModelChoice choice;
    choice.selection = selection;
    const AtomicModel model = readAs(text, choice);
    EXPECT_EQ(model.atomCount(), model.searchAtoms().size());
    return model.atomCount();
}

std::string refusalOfSelection(const std::string& selection) {
    ModelChoice choice;
    choice.selection = selection;
    return refusalOf(twoChains(), choice);
}

TEST(AtomicModelChoice, SelectionsNameChainsResiduesAndAtoms) {
    const std::string text = twoChains(); // 20 and 15 atoms
    EXPECT_EQ(countOfSelection(text, "A"), 20U);
    EXPECT_EQ(countOfSelection(text, " B "), 15U);
    EXPECT_EQ(countOfSelection(text, "A,B"), 35U);
    EXPECT_EQ(countOfSelection(text, "!A"), 15U);
    EXPECT_EQ(countOfSelection(text, "A/2-3"), 10U);
    EXPECT_EQ(countOfSelection(text, "A/2-200"), 15U);
    EXPECT_EQ(countOfSelection(text, "2-3"), 20U);
    EXPECT_EQ(countOfSelection(text, "//A/2-3/CA"), 2U);
    EXPECT_EQ(countOfSelection(text, "/1/B"), 15U);
    EXPECT_EQ(countOfSelection(text, "A;polymer"), 20U);
    EXPECT_EQ(countOfSelection(text, "(ALA)"), 35U);
    EXPECT_EQ(countOfSelection(text, "[N]"), 7U);
}

TEST(AtomicModelChoice, NumberIsAChainWhereChainsAreCalledSo) {
    const std::string text = pdbLines(chainOf(2, "1")) + pdbLines(chainOf(3, "2"));
    EXPECT_EQ(countOfSelection(text, "1"), 10U);
    EXPECT_EQ(countOfSelection(text, "1,2"), 25U);
    EXPECT_EQ(countOfSelection(text, "2/3"), 5U);
    EXPECT_EQ(countOfSelection(twoChains(), "4"), 5U);
}

TEST(AtomicModelChoice, BadSelectionsAreRefusedWithTheWayOut) {
    for (const char* text :
         {"A/1-2-3", "//A//CA[", "(ALA", "/x/A", "A;nonsense", "[Qq]", "A/((", "A/B/C/D/E"}) {
        EXPECT_NE(refusalOfSelection(text).find("selection"), std::string::npos) << text;
    }
    const std::string nothing = refusalOfSelection("C");
    EXPECT_NE(nothing.find("leaves no atom"), std::string::npos) << nothing;
    EXPECT_NE(nothing.find("chains are A, B"), std::string::npos) << nothing;
    EXPECT_NE(refusalOfSelection("/2/A"), "");
}

TEST(AtomicModelChoice, UnselectedAtomsAreNotWritten) {
    ModelChoice choice;
    choice.selection = "B";
    const std::string statements = "HELIX    1   1 ALA A    1  ALA A    4  1\n"
                                   "HELIX    2   2 ALA B    1  ALA B    3  1\n"
                                   "SEQRES   1 A    4  ALA ALA ALA ALA\n";
    const TestFolder folder;
    const AtomicModel pdb = AtomicModel::read(folder.write("in.pdb", statements + twoChains()), choice);
    const std::string text = contentOf(pdb.writeMoved(folder.path("pose"), someMotion(), ModelFormat::Pdb));
    EXPECT_EQ(countOf(text, "ATOM  "), 15U);
    EXPECT_EQ(countOf(text, "TER\n"), 1U);
    EXPECT_EQ(countOf(text, "HELIX"), 1U);
    EXPECT_EQ(countOf(text, "SEQRES"), 0U);

    std::vector<FileAtom> atoms = chainOf(4, "A");
    const std::vector<FileAtom> second = chainOf(3, "B");
    atoms.insert(atoms.end(), second.begin(), second.end());
    const AtomicModel cif = AtomicModel::read(folder.write("in.cif", "data_x\n" + cifAtoms(atoms)), choice);
    const std::string written = cif.writeMoved(folder.path("pose"), someMotion(), ModelFormat::Cif);
    EXPECT_EQ(countOf(contentOf(written), "\nATOM "), 15U);
}

TEST(AtomicModelChoice, ModelOfAFileByItsName) {
    const std::string two = "MODEL        3\n" + pdbLines(chainOf(1, "A")) + "ENDMDL\nMODEL       12\n" +
                            pdbLines(chainOf(2, "A")) + "ENDMDL\nEND\n";
    ModelChoice choice;
    EXPECT_EQ(readAs(two).atomCount(), 5U);
    choice.model = "12";
    EXPECT_EQ(readAs(two, choice).atomCount(), 10U);
    EXPECT_TRUE(readAs(two, choice).remarks().empty());
    choice.model = "2";
    EXPECT_NE(refusalOf(two, choice).find("it has 3, 12"), std::string::npos);

    choice.model = "12";
    const TestFolder folder;
    const AtomicModel model = AtomicModel::read(folder.write("in.pdb", two), choice);
    const std::string text = contentOf(model.writeMoved(folder.path("pose"), someMotion(), ModelFormat::Pdb));
    EXPECT_EQ(countOf(text, "ATOM  "), 10U);
    EXPECT_EQ(countOf(text, "MODEL  "), 1U);
    EXPECT_EQ(countOf(text, "ENDMDL"), 1U);
}

TEST(AtomicModelChoice, ResiduesOfLowConfidenceAreCarriedAlong) {
    std::vector<FileAtom> atoms = chainOf(3, "A");
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        atoms[i].bFactor = i < 5 ? 95.0 : i < 10 ? 69.0 : 71.0;
    }
    atoms[0].bFactor = 10.0; // the mean counts
    ModelChoice choice;
    choice.plddt = 70.0;
    const AtomicModel model = readAs(pdbLines(atoms), choice);
    EXPECT_EQ(model.atomCount(), 15U);
    ASSERT_EQ(model.searchAtoms().size(), 10U);
    EXPECT_EQ(model.searchAtoms()[5].residueNumber, 3);
    ASSERT_EQ(model.remarks().size(), 1U);
    EXPECT_NE(model.remarks()[0].find("1 residues"), std::string::npos);
    choice.plddt = 99.0;
    EXPECT_NE(refusalOf(pdbLines(atoms), choice).find("below the limit"), std::string::npos);
}

const std::string twofold = "REMARK 350 BIOMOLECULE: 1\n"
                            "REMARK 350 APPLY THE FOLLOWING TO CHAINS: A, B\n"
                            "REMARK 350   BIOMT1   1  1.000000  0.000000  0.000000        0.00000\n"
                            "REMARK 350   BIOMT2   1  0.000000  1.000000  0.000000        0.00000\n"
                            "REMARK 350   BIOMT3   1  0.000000  0.000000  1.000000        0.00000\n"
                            "REMARK 350   BIOMT1   2 -1.000000  0.000000  0.000000       50.00000\n"
                            "REMARK 350   BIOMT2   2  0.000000 -1.000000  0.000000        0.00000\n"
                            "REMARK 350   BIOMT3   2  0.000000  0.000000  1.000000        4.00000\n";

TEST(AtomicModelChoice, AssemblyHasCopiesUnderNamesOfTheirOwn) {
    ModelChoice choice;
    choice.assembly = "1";
    const AtomicModel model = readAs(twofold + twoChains(), choice);
    ASSERT_EQ(model.searchAtoms().size(), 70U);
    std::vector<std::string> chains;
    for (const ModelAtom& atom : model.searchAtoms()) {
        if (chains.empty() || chains.back() != atom.chain) {
            chains.push_back(atom.chain);
        }
    }
    EXPECT_EQ(chains, (std::vector<std::string>{"A", "B", "C", "D"}));
    const cVector3 first = model.searchAtoms()[0].position;
    const cVector3 copy = model.searchAtoms()[35].position;
    EXPECT_LT((copy - cVector3(50.0 - first.x, -first.y, first.z + 4.0)).norm(), 1e-9);

    const TestFolder folder;
    for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
        const AtomicModel again =
            AtomicModel::read(model.writeMoved(folder.path("pose"), someMotion(), format));
        ASSERT_EQ(again.searchAtoms().size(), 70U);
        EXPECT_LT((again.searchAtoms()[35].position - someMotion()(copy)).norm(), 0.001);
        EXPECT_EQ(again.searchAtoms()[69].chain, "D");
        ModelChoice same;
        same.assembly = "1";
        EXPECT_THROW(AtomicModel::read(folder.path("pose.pdb"), same), InputError);
    }
}

TEST(AtomicModelChoice, SelectionIsMadeBeforeTheAssembly) {
    ModelChoice choice;
    choice.assembly = "1";
    choice.selection = "B";
    EXPECT_EQ(readAs(twofold + twoChains(), choice).atomCount(), 30U);
}

TEST(AtomicModelChoice, OtherAssembliesAreRefusedWithTheNamesThereAre) {
    ModelChoice choice;
    choice.assembly = "7";
    EXPECT_NE(refusalOf(twofold + twoChains(), choice).find("it has 1"), std::string::npos);
    EXPECT_NE(refusalOf(twoChains(), choice).find("defines no assemblies"), std::string::npos);
}

/// Operators that shift along x by 1 (a), 10 (b), 100 (c).
std::string cifWithAssembly(const std::string& expression) {
    std::string text = "data_x\n_pdbx_struct_assembly_gen.assembly_id one\n"
                       "_pdbx_struct_assembly_gen.asym_id_list A\n"
                       "_pdbx_struct_assembly_gen.oper_expression '" +
                       expression + "'\nloop_\n_pdbx_struct_oper_list.id\n";
    for (const char* row : {"1", "2", "3"}) {
        for (const char* column : {"1", "2", "3"}) {
            text += std::string("_pdbx_struct_oper_list.matrix[") + row + "][" + column + "]\n";
        }
        text += std::string("_pdbx_struct_oper_list.vector[") + row + "]\n";
    }
    for (const char* oper : {"1 1 0 0 1", "2 1 0 0 10", "3 1 0 0 100", "X0 0 -1 0 1000"}) {
        const bool turns = oper[0] == 'X';
        text += std::string(oper) + (turns ? " 1 0 0 0" : " 0 1 0 0") + " 0 0 1 0\n";
    }
    return text + cifAtoms({FileAtom()}); // one atom at the origin
}

std::multiset<double> placesOf(const std::string& expression) {
    ModelChoice choice;
    choice.assembly = "one";
    std::multiset<double> places;
    const AtomicModel model = readAs(cifWithAssembly(expression), choice);
    for (const ModelAtom& atom : model.searchAtoms()) {
        places.insert(atom.position.x + 1e6 * atom.position.y);
    }
    return places;
}

TEST(AtomicModelChoice, OperatorsOfAnAssemblyMayBeRangesAndProducts) {
    EXPECT_EQ(placesOf("1"), (std::multiset<double>{1}));
    EXPECT_EQ(placesOf("1,3"), (std::multiset<double>{1, 100}));
    EXPECT_EQ(placesOf("(1-3)"), (std::multiset<double>{1, 10, 100}));
    EXPECT_EQ(placesOf("(1,2)(3)"), (std::multiset<double>{101, 110}));
    EXPECT_EQ(placesOf("(X0)(2)"), (std::multiset<double>{1000 + 1e7})); // shifted first, then turned
}

TEST(AtomicModelChoice, EndlessAssembliesAreRefused) {
    ModelChoice choice;
    choice.assembly = "one";
    EXPECT_NE(refusalOf(cifWithAssembly("(1-3)(1-3)(1-3)(1-3)(1-3)(1-3)(1-3)(1-3)(1-3)(1-3)"), choice)
                  .find("more than can be handled"),
              std::string::npos);
    EXPECT_EQ(placesOf("1-2000000000"), (std::multiset<double>{1, 10, 100}));
    EXPECT_NE(refusalOf(cifWithAssembly("9"), choice).find("no operators"), std::string::npos);
}

} // namespace
