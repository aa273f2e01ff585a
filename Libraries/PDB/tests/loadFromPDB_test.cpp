// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "PDB/loadFromPDB.h"

namespace {

void load(const std::string& text, std::vector<cPDBAtom>& atoms, std::vector<double>& masses,
          std::vector<int>& ids) {
    std::string path = ::testing::TempDir() + "selvane_load_XXXXXX.pdb";
    close(mkstemps(path.data(), 4));
    std::ofstream(path, std::ios::binary) << text;
    loadFromPDB(path.c_str(), atoms, masses, ids);
    std::remove(path.c_str());
}

const char* const modelText =
    "ATOM      1  N   ALA A   5       1.000   2.000   3.000  1.00  0.00           N\n"
    "ATOM      2  CA  ALA A   5       2.000   2.000   3.000  1.00  0.00           C\n"
    "ATOM      3  HA  ALA A   5       2.000   2.500   3.000  1.00  0.00           H\n"
    "ATOM      4  CA BALA A   6       2.000   2.500   3.000  1.00  0.00           C\n"
    "ATOM      5  N   GLY B   5       1.000   2.000   4.000  1.00  0.00           N\n"
    "TER\n"
    "ATOM      6  CA  GLY B   5       1.000   2.000   4.000  1.00  0.00           C\n"
    "HETATM    7  O   HOH B 101       1.000   9.000   4.000  1.00  0.00           O\n"
    "HETATM    8 ZN    ZN B 102       1.000   9.000   4.000  1.00  0.00          ZN\n"
    "END\n";

} // namespace

TEST(LoadFromPDB, KeepsAtomsAndGivesMassesAndBlocks) {
    std::vector<cPDBAtom> atoms(99);
    std::vector<double> masses(99, 5.0);
    std::vector<int> ids(99, 5);
    load(modelText, atoms, masses, ids);
    ASSERT_EQ(atoms.size(), 5U);
    const double nitrogen = static_cast<double>(14.0067F);
    const double carbon = static_cast<double>(12.0107F);
    EXPECT_EQ(masses,
              (std::vector<double>{nitrogen, carbon, nitrogen, carbon, static_cast<double>(65.409F)}));
    EXPECT_EQ(ids, (std::vector<int>{0, 0, 0, 0,
                                     4})); // the second chain's number is met before the first's Cα is left
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(atoms[static_cast<std::size_t>(i)].m_index, i);
    }
    EXPECT_EQ(atoms[4].m_segment, 1);
}

TEST(LoadFromPDB, FileWithoutAtomsGivesEmptyVectors) {
    std::vector<cPDBAtom> atoms(1);
    std::vector<double> masses(1);
    std::vector<int> ids(1);
    load("HEADER    NOTHING\nEND\n", atoms, masses, ids);
    EXPECT_TRUE(atoms.empty());
    EXPECT_TRUE(masses.empty());
    EXPECT_TRUE(ids.empty());
}

TEST(LoadFromPDB, LargeModelLoadsWhole) {
    std::string text;
    for (int i = 0; i < 20000; ++i) {
        char line[100];
        std::snprintf(line, sizeof line,
                      "ATOM  %5d  CA  ALA A%4d    %8.3f   0.000   0.000  1.00  0.00           C\n", i + 1,
                      i % 10000, i * 0.1);
        text += line;
    }
    std::vector<cPDBAtom> atoms;
    std::vector<double> masses;
    std::vector<int> ids;
    load(text, atoms, masses, ids);
    ASSERT_EQ(atoms.size(), 20000U);
    EXPECT_EQ(ids.back(), 19999);
    EXPECT_EQ(atoms.back().m_position.x, static_cast<double>(1999.9F));
}
