// SPDX-License-Identifier: GPL-3.0-or-later
// What mmCIF files look like, and which atoms they hold.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/gzipBytes.h"
#include "Formats/tests/modelFiles.h"

namespace {

const std::string minimal = "data_x\nloop_\n_atom_site.label_atom_id\n_atom_site.label_comp_id\n"
                            "_atom_site.label_asym_id\n_atom_site.label_seq_id\n_atom_site.Cartn_x\n"
                            "_atom_site.Cartn_y\n_atom_site.Cartn_z\n";

TEST(AtomicModelCif, AtomsEqualThoseOfTheSamePdb) {
    const std::vector<FileAtom> atoms = chainOf(4, "A");
    const AtomicModel cif = readAs("data_x\n" + cifAtoms(atoms), {}, "model.pdb");
    const AtomicModel pdb = readAs(pdbLines(atoms));
    EXPECT_EQ(cif.format(), ModelFormat::Cif);
    ASSERT_EQ(cif.searchAtoms().size(), pdb.searchAtoms().size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        const ModelAtom& a = cif.searchAtoms()[i];
        const ModelAtom& b = pdb.searchAtoms()[i];
        EXPECT_EQ(a.position, b.position);
        EXPECT_EQ(a.name + a.residue + a.chain + a.element, b.name + b.residue + b.chain + b.element);
        EXPECT_EQ(a.residueNumber, b.residueNumber);
        EXPECT_EQ(a.mass, b.mass);
    }
    EXPECT_EQ(readAs(gzipped("# a comment\n\nDATA_x\n" + cifAtoms(atoms))).atomCount(), atoms.size());
}

TEST(AtomicModelCif, NamesOfAuthorsAreShown) {
    std::string text = minimal;
    text +=
        "_atom_site.auth_asym_id\n_atom_site.auth_seq_id\n_atom_site.auth_comp_id\n_atom_site.auth_atom_id\n"
        "CA ALA A 1 1 2 3 Long -5 MSE \"C'1\"\n";
    const ModelAtom atom = readAs(text).searchAtoms().at(0);
    EXPECT_EQ(atom.chain, "Long");
    EXPECT_EQ(atom.residueNumber, -5);
    EXPECT_EQ(atom.residue, "MSE");
    EXPECT_EQ(atom.name, "C'1");
}

TEST(AtomicModelCif, FewItemsAreEnough) {
    const AtomicModel model = readAs(minimal + "CA ALA A 12 1.5(3) 2 3e0\n");
    ASSERT_EQ(model.searchAtoms().size(), 1U);
    EXPECT_EQ(model.searchAtoms()[0].position, cVector3(1.5, 2, 3));
    EXPECT_EQ(model.searchAtoms()[0].element, "C");
    EXPECT_EQ(model.searchAtoms()[0].residueNumber, 12);
    EXPECT_EQ(readAs("data_x _atom_site.Cartn_x 1 _atom_site.Cartn_y 2\n_atom_site.Cartn_z 3\n"
                     "_atom_site.type_symbol ZN")
                  .searchAtoms()
                  .at(0)
                  .element,
              "Zn");
}

TEST(AtomicModelCif, FirstModelOrTheOneOfTheName) {
    const std::string text = minimal + "_atom_site.pdbx_PDB_model_num\n"
                                       "CA ALA A 1 1 0 0 3\nCA ALA A 1 2 0 0 7\nCB ALA A 1 3 0 0 3\n";
    EXPECT_EQ(readAs(text).atomCount(), 2U);
    EXPECT_EQ(readAs(text).remarks().size(), 1U);
    ModelChoice choice;
    choice.model = "7";
    EXPECT_EQ(readAs(text, choice).searchAtoms().at(0).position.x, 2.0);
    choice.model = "1";
    EXPECT_NE(refusalOf(text, choice).find("it has 3, 7"), std::string::npos);
}

TEST(AtomicModelCif, FirstBlockWithAtomsIsTaken) {
    const std::string text = "data_empty\n_entry.id x\n" + minimal + "CA ALA A 1 1 0 0\ndata_other\n" +
                             minimal.substr(7) + "CA ALA A 1 5 0 0\nCB ALA A 1 5 0 0\n";
    EXPECT_EQ(readAs(text).atomCount(), 1U);
}

TEST(AtomicModelCif, PlacesThatAreMissingAreToldByTheirRow) {
    for (const char* value : {"?", ".", "nan", "inf", "1e300", "x", "''"}) {
        const std::string text = minimal + "CA ALA A 1 1 0 0\nCB ALA A 1 0 " + value + " 0\n";
        EXPECT_NE(refusalOf(text).find("row 2 of _atom_site: Cartn_y"), std::string::npos) << value;
    }
    EXPECT_NE(refusalOf("data_x\nloop_\n_atom_site.Cartn_x\n_atom_site.Cartn_z\n1 2\n").find("no Cartn_y"),
              std::string::npos);
}

TEST(AtomicModelCif, LoopsThatLieAreRefused) {
    EXPECT_NE(refusalOf(minimal + "CA ALA A 1 1 0\n").find("line 2"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\nloop_\n1 2 3\n").find("line 3: what stands here"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\n_a.b\n_c.d 1\n").find("_a.b has no value"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\n_a.b 'open\n").find("line 2"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\n_a.b\n;open\n").find("cut off"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\n_a.b 1 2\n").find("line 2: what stands here"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\nsave_y\n_a.b 1\n").find("line 4: what stands here"), std::string::npos);
}

TEST(AtomicModelCif, ItemsThatStandTwiceAreRefused) {
    const std::string row = "CA ALA A 1 1 0 0\n";
    EXPECT_NE(refusalOf(minimal + row + minimal.substr(7) + row).find("twice"), std::string::npos);
    EXPECT_NE(refusalOf(minimal + row + "_atom_site.cartn_x 5\n").find("twice"), std::string::npos);
    EXPECT_NE(refusalOf(minimal + "_atom_site.CARTN_X\nCA ALA A 1 1 0 0 9\n").find("twice"),
              std::string::npos);
}

TEST(AtomicModelCif, FilesOfOtherKindsAreTold) {
    EXPECT_NE(refusalOf("data_x\n_entry.id x\n").find("no coordinates"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\nloop_\n_refln.index_h\n1\n").find("reflections"), std::string::npos);
    EXPECT_NE(refusalOf("data_x\nloop_\n_chem_comp_atom.atom_id\nC\n").find("component"), std::string::npos);
}

TEST(AtomicModelCif, QuotesAndTextFieldsAreValues) {
    const AtomicModel model = readAs("data_x\n_a.b\n;text\nloop_\n'quoted\n;\n_c.d 'it's one'\n" +
                                     minimal.substr(7) + "\"C'A\"\n;ALA\n;\n'A' 1 1 2 3 # a comment\n");
    EXPECT_EQ(model.searchAtoms().at(0).name, "C'A");
    EXPECT_EQ(model.searchAtoms().at(0).residue, "ALA");
}

TEST(AtomicModelCif, ChainOfAHundredThousandWatersIsReadInTime) {
    std::string text = minimal + "CA ALA A 1 1 0 0\n";
    constexpr int waters = 100000;
    for (int i = 0; i < waters; ++i) {
        text += "O HOH B " + std::to_string(i) + " 1 2 3\n";
    }
    EXPECT_EQ(readAs(text).atomCount(), 100001U); // seconds would show a search among all residues
}

} // namespace
