// SPDX-License-Identifier: GPL-3.0-or-later
// What a moved copy of a model's file holds.
#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Formats/AtomicModel.h"
#include "Formats/tests/modelFiles.h"

namespace {

constexpr double pdbRounding = 0.0005 + 1e-9; // half of the last digit, angstrom
constexpr double tensorRounding = 1.5e-4;     // of an eigenvalue, with six elements rounded to 1e-4

const std::string tensorLine = "ANISOU    1  N   ALA A   1     2406   1892   1614    198    519   -328\n";

/// Everything that a line can be, around a chain with hydrogens, waters and alternate locations.
std::string richPdb() {
    std::vector<FileAtom> atoms = chainOf(3, "A");
    atoms[4].altLoc = 'A';
    atoms[5].altLoc = 'B';
    atoms[6].element = " H";
    atoms[7].residue = "HOH";
    const std::string lines = pdbLines(atoms);
    const std::size_t second = lines.find('\n') + 1;
    return "HEADER    TEST\nCRYST1   50.000   60.000   70.000  90.00  90.00  90.00 P 1           1\n"
           "ORIGX1      1.000000  0.000000  0.000000        0.00000\n"
           "SCALE1      0.020000  0.000000  0.000000        0.00000\n"
           "MTRIX1   1  1.000000  0.000000  0.000000        0.00000\n"
           "REMARK   2 RESOLUTION. 3.0 ANGSTROMS.\nREMARK   3 TLS\nREMARK 290 SYMMETRY\n"
           "REMARK 350 BIOMOLECULE: 1\nREMARK 465 MISSING\n"
           "SEQRES   1 A    3  ALA ALA ALA   \nHELIX    1   1 ALA A    1  ALA A    3  1\n"
           "LINK         N   ALA A   1                 CA  ALA A   1     1555   1555  1.50\n"
           "LINK         N   ALA A   1                 CA  ALA A   1     1555   2555  9.99\n" +
           lines.substr(0, second) + tensorLine + "SIGATM    1  N   ALA A   1\n" + lines.substr(second) +
           "TER      16      ALA A   3\nCONECT    1    2\nMASTER       12    0\nEND   \n";
}

std::array<double, 3> sortedEigenvalues(const cMatrix33& matrix) {
    cVector3 values(0.0);
    cMatrix33 vectors;
    matrix.diagonalize(values, vectors);
    std::array<double, 3> sorted = {values.x, values.y, values.z};
    std::sort(sorted.begin(), sorted.end());
    return sorted;
}

cMatrix33 tensorOf(const std::string& line) {
    std::array<double, 6> u{};
    for (std::size_t i = 0; i < u.size(); ++i) {
        u[i] = 1e-4 * std::stoi(line.substr(28 + 7 * i, 7));
    }
    return {u[0], u[3], u[4], u[3], u[1], u[5], u[4], u[5], u[2]};
}

std::vector<std::string> linesWith(const std::vector<std::string>& lines, const std::string& start) {
    std::vector<std::string> found;
    for (const std::string& line : lines) {
        if (line.compare(0, start.size(), start) == 0) {
            found.push_back(line);
        }
    }
    return found;
}

cVector3 placeOf(const std::string& pdb) {
    return {std::stod(pdb.substr(30, 8)), std::stod(pdb.substr(38, 8)), std::stod(pdb.substr(46, 8))};
}

class Moved : public testing::Test {
protected:
    std::string write(const std::string& text, ModelFormat format, const RigidMotion& motion = someMotion()) {
        const AtomicModel model = AtomicModel::read(m_folder.write("in", text));
        m_path = model.writeMoved(m_folder.path("out"), motion, format);
        return contentOf(m_path);
    }

    TestFolder m_folder;
    std::string m_path;
};

using AtomicModelMoved = Moved;

TEST_F(AtomicModelMoved, EveryAtomOfThePdbMovesAndNothingElseChanges) {
    const std::vector<std::string> before = linesOf(richPdb());
    const std::vector<std::string> after = linesOf(write(richPdb(), ModelFormat::Pdb));
    EXPECT_EQ(m_path, m_folder.path("out.pdb"));
    const std::vector<std::string> atoms = linesWith(before, "ATOM");
    const std::vector<std::string> moved = linesWith(after, "ATOM");
    ASSERT_EQ(moved.size(), atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        EXPECT_EQ(moved[i].substr(0, 30), atoms[i].substr(0, 30));
        EXPECT_EQ(moved[i].substr(54), atoms[i].substr(54));
        const cVector3 off = placeOf(moved[i]) - someMotion()(placeOf(atoms[i]));
        EXPECT_LT(std::max({std::abs(off.x), std::abs(off.y), std::abs(off.z)}), pdbRounding);
    }
}

TEST_F(AtomicModelMoved, PdbKeepsWhatIsStillTrue) {
    const std::string text = write(richPdb(), ModelFormat::Pdb);
    for (const char* gone : {"CRYST1", "ORIGX1", "SCALE1", "MTRIX1", "REMARK   3", "REMARK 290", "REMARK 350",
                             "SIGATM", "MASTER", "2555"}) {
        EXPECT_EQ(countOf(text, gone), 0U) << gone;
    }
    for (const char* kept :
         {"HEADER    TEST\n", "REMARK   2 RESOLUTION. 3.0 ANGSTROMS.\n", "REMARK 465 MISSING\n",
          "SEQRES   1 A    3  ALA ALA ALA   \n", "HELIX    1   1 ALA A    1  ALA A    3  1\n",
          "1555   1555  1.50\n", "TER      16      ALA A   3\n", "CONECT    1    2\n", "END   \n"}) {
        EXPECT_EQ(countOf(text, kept), 1U) << kept;
    }
    EXPECT_EQ(text.substr(text.size() - 7), "END   \n");
}

TEST_F(AtomicModelMoved, LineEndsStayAsTheyWere) {
    const std::string plain = pdbLines(chainOf(2, "A"));
    std::string windows;
    for (const std::string& line : linesOf(plain)) {
        windows += line + "\r\n";
    }
    EXPECT_EQ(countOf(write(windows, ModelFormat::Pdb), "\r\n"), 10U);
    const std::string open = write(plain.substr(0, plain.size() - 1), ModelFormat::Pdb);
    EXPECT_EQ(countOf(open, "\n"), 9U);
}

TEST_F(AtomicModelMoved, AnisotropicTensorsTurnAndKeepTheirEigenvalues) {
    const std::vector<std::string> after = linesOf(write(richPdb(), ModelFormat::Pdb));
    const std::string line = linesWith(after, "ANISOU").at(0);
    const cMatrix33 before = tensorOf(tensorLine);
    const cMatrix33 turned = tensorOf(line);
    const std::array<double, 3> a = sortedEigenvalues(before);
    const std::array<double, 3> b = sortedEigenvalues(turned);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(a[i], b[i], tensorRounding);
    }
    // the displacement along a direction is that along the turned one
    const cVector3 n = cVector3(1.0, -2.0, 0.5).normalizedVersion();
    const cVector3 m = someMotion().rotation * n;
    EXPECT_NEAR(n | (before * n), m | (turned * m), tensorRounding);
    EXPECT_EQ(line.substr(0, 28), tensorLine.substr(0, 28));
}

TEST_F(AtomicModelMoved, MotionAndItsInverseGiveTheFileBack) {
    for (const ModelFormat format : {ModelFormat::Pdb, ModelFormat::Cif}) {
        write(richPdb(), format);
        const std::string there = contentOf(m_path);
        write(there, format, someMotion().inverse());
        const AtomicModel back = AtomicModel::read(m_path);
        const AtomicModel first = AtomicModel::read(m_folder.write("first", richPdb()));
        ASSERT_EQ(back.atomCount(), first.atomCount());
        ASSERT_EQ(back.searchAtoms().size(), first.searchAtoms().size());
        for (std::size_t i = 0; i < first.searchAtoms().size(); ++i) {
            EXPECT_LT((back.searchAtoms()[i].position - first.searchAtoms()[i].position).norm(),
                      2.0 * std::sqrt(3.0) * pdbRounding);
        }
    }
}

const std::string cifStatements =
    "_entity.id 1\n_entity.type polymer\n_cell.length_a 50\n_symmetry.space_group_name_H-M 'P 1'\n"
    "_atom_sites.fract_transf_matrix[1][1] 0.02\n_pdbx_struct_assembly.id 1\n_refine.ls_R_factor_obs 0.2\n"
    "_database_PDB_matrix.origx[1][1] 1\n_struct_ncs_oper.id 1\n_em_3d_fitting.id 1\n"
    "_citation.title\n;A title\nof two lines\n;\n"
    "loop_\n_struct_conn.id\n_struct_conn.ptnr1_symmetry\n_struct_conn.ptnr2_symmetry\n"
    "covale1 1_555 1_555\ncovale2 1_555 2_555\n";

TEST_F(AtomicModelMoved, CifKeepsWhatIsStillTrue) {
    const std::string text = write("data_x\n" + cifStatements + cifAtoms(chainOf(2, "A")), ModelFormat::Cif);
    EXPECT_EQ(m_path, m_folder.path("out.cif"));
    for (const char* gone : {"_cell.", "_symmetry.", "_atom_sites.", "_pdbx_struct_assembly", "_refine.",
                             "_database_PDB_matrix", "_struct_ncs_oper", "_em_3d_fitting", "covale2"}) {
        EXPECT_EQ(countOf(text, gone), 0U) << gone;
    }
    for (const char* kept :
         {"data_x\n", "_entity.type polymer", "\n;A title\nof two lines\n;\n", "covale1"}) {
        EXPECT_EQ(countOf(text, kept), 1U) << kept;
    }
}

TEST_F(AtomicModelMoved, RowsOfTheCifKeepTheirOtherItems) {
    const std::vector<FileAtom> atoms = chainOf(2, "A");
    const std::vector<std::string> after =
        linesWith(linesOf(write("data_x\n" + cifAtoms(atoms), ModelFormat::Cif)), "ATOM ");
    ASSERT_EQ(after.size(), atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        FileAtom moved = atoms[i];
        moved.place = cVector3(0.0);
        std::istringstream expected(cifRow(moved, i + 1));
        std::istringstream found(after[i]);
        std::string a;
        std::string b;
        for (int item = 0; expected >> a && found >> b; ++item) {
            if (item < 9 || item > 11) {
                EXPECT_EQ(a, b);
            }
        }
    }
}

std::string cifTensors(const std::string& prefix) {
    std::string tags;
    for (const char* element : {"[1][1]", "[2][2]", "[3][3]", "[1][2]", "[1][3]", "[2][3]"}) {
        tags += prefix + element + "\n";
    }
    return tags;
}

TEST_F(AtomicModelMoved, TensorsOfTheCifTurn) {
    const std::string tensors = "loop_\n_atom_site_anisotrop.id\n" + cifTensors("_atom_site_anisotrop.U") +
                                "_atom_site_anisotrop.U[1][1]_esd\n1 0.2406 0.1892 0.1614 0.0198 0.0519 "
                                "-0.0328 0.01\n2 ? ? ? ? ? ? ?\n99 1 1 1 0 0 0 0\n";
    const std::string text =
        write("data_x\n" + cifAtoms(chainOf(1, "A")) + tensors, ModelFormat::Cif, someMotion());
    EXPECT_EQ(countOf(text, "_esd"), 0U);
    EXPECT_EQ(countOf(text, "\n2 ? ? ? ? ? ?\n"), 1U);
    EXPECT_EQ(countOf(text, "\n99 "), 0U);
    const std::string row = text.substr(text.find("U[2][3]\n") + 8);
    std::array<double, 6> u{};
    std::istringstream stream(row);
    int id = 0;
    stream >> id >> u[0] >> u[1] >> u[2] >> u[3] >> u[4] >> u[5];
    const cMatrix33& r = someMotion().rotation;
    const cMatrix33 expected = r * tensorOf(tensorLine) * r.getTranspose();
    EXPECT_EQ(id, 1);
    EXPECT_NEAR(u[0], expected(0, 0), tensorRounding);
    EXPECT_NEAR(u[3], expected(0, 1), tensorRounding);
    EXPECT_NEAR(u[5], expected(1, 2), tensorRounding);
}

TEST_F(AtomicModelMoved, FractionalPlacesAreLeftOut) {
    const std::string text = write("data_x\nloop_\n_atom_site.id\n_atom_site.fract_x\n_atom_site.Cartn_x\n"
                                   "_atom_site.Cartn_y\n_atom_site.Cartn_z\n_atom_site.Cartn_x_esd\n"
                                   "_atom_site.type_symbol\n1 0.5 1 2 3 0.1 C\n",
                                   ModelFormat::Cif, RigidMotion::shift(cVector3(1.0)));
    EXPECT_EQ(countOf(text, "fract_x"), 0U);
    EXPECT_EQ(countOf(text, "\n1 2.000 3.000 4.000 C\n"), 1U) << text;
}

TEST_F(AtomicModelMoved, WhatDoesNotFitPdbIsWrittenAsCif) {
    const std::string text = pdbLines(chainOf(2, "A"));
    write(text, ModelFormat::Pdb, RigidMotion::shift(cVector3(9990.0, 0.0, 0.0)));
    EXPECT_EQ(m_path, m_folder.path("out.pdb"));
    write(text, ModelFormat::Pdb, RigidMotion::shift(cVector3(10000.0, 0.0, 0.0)));
    EXPECT_EQ(m_path, m_folder.path("out.cif"));
    write(text, ModelFormat::Pdb, RigidMotion::shift(cVector3(0.0, -1010.0, 0.0)));
    EXPECT_EQ(m_path, m_folder.path("out.cif"));
    EXPECT_EQ(AtomicModel::read(m_path).atomCount(), 10U);

    const std::string longChain = "data_x\n" + cifAtoms(chainOf(2, "AA"));
    EXPECT_FALSE(readAs(longChain).fitsPdb());
    write(longChain, ModelFormat::Pdb);
    EXPECT_EQ(m_path, m_folder.path("out.cif"));
    const std::string longName = "data_x\n" + cifAtoms({FileAtom{" CA ", "A1ABC"}});
    EXPECT_FALSE(readAs(longName).fitsPdb());
    EXPECT_TRUE(readAs("data_x\n" + cifAtoms(chainOf(2, "A"))).fitsPdb());
}

TEST_F(AtomicModelMoved, FormatsConvertWithAllAtomsInPlace) {
    const AtomicModel first = AtomicModel::read(m_folder.write("first", richPdb()));
    write(richPdb(), ModelFormat::Cif);
    EXPECT_EQ(m_path, m_folder.path("out.cif"));
    const std::string cif = contentOf(m_path);
    EXPECT_EQ(countOf(cif, "_cell."), 0U);
    write(cif, ModelFormat::Pdb, RigidMotion());
    EXPECT_EQ(m_path, m_folder.path("out.pdb"));
    EXPECT_EQ(countOf(contentOf(m_path), "CRYST1"), 0U);
    EXPECT_EQ(countOf(contentOf(m_path), "ANISOU"), 1U);
    const AtomicModel back = AtomicModel::read(m_path);
    ASSERT_EQ(back.atomCount(), first.atomCount());
    ASSERT_EQ(back.searchAtoms().size(), first.searchAtoms().size());
    for (std::size_t i = 0; i < first.searchAtoms().size(); ++i) {
        const ModelAtom& a = first.searchAtoms()[i];
        const ModelAtom& b = back.searchAtoms()[i];
        EXPECT_LT((someMotion()(a.position) - b.position).norm(), 2.0 * std::sqrt(3.0) * pdbRounding);
        EXPECT_EQ(a.name + a.chain + a.element, b.name + b.chain + b.element);
    }
}

TEST_F(AtomicModelMoved, PlaceThatCannotBeWrittenIsToldAndNothingIsLeft) {
    const AtomicModel model = AtomicModel::read(m_folder.write("in", pdbLines(chainOf(1, "A"))));
    try {
        model.writeMoved(m_folder.path("none/out"), someMotion(), ModelFormat::Pdb);
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_NE(std::string(error.what()).find("none/out.pdb"), std::string::npos);
    }
}

} // namespace
