// SPDX-License-Identifier: GPL-3.0-or-later
#include <stdexcept>

#include <gtest/gtest.h>

#include "examples/pdb.h"

namespace example {
namespace {

const Model twoChains = {{"CA", 'C', "GLY", 'A', 1, {1.0, -2.5, 103.25}},
                         {"OXT", 'O', "GLY", 'A', 1, {-100.125, 0.0, 7.0}},
                         {"N", 'N', "LYS", 'B', 42, {0.0, 0.0, 0.0}}};

TEST(PdbText, ColumnsOfTheRecords) {
    EXPECT_EQ(pdbText(twoChains, "TEST"),
              "TITLE     TEST\n"
              "ATOM      1  CA  GLY A   1       1.000  -2.500 103.250  1.00  0.00           C\n"
              "ATOM      2  OXT GLY A   1    -100.125   0.000   7.000  1.00  0.00           O\n"
              "TER       3      GLY A   1\n"
              "ATOM      4  N   LYS B  42       0.000   0.000   0.000  1.00  0.00           N\n"
              "TER       5      LYS B  42\n"
              "END\n");
}

TEST(PosesFromPdb, ReadsBackWhatWasWritten) {
    const std::vector<Pose> poses = posesFromPdb(pdbText(twoChains, "TEST"));
    ASSERT_EQ(poses.size(), 1u);
    EXPECT_FALSE(poses[0].score);
    ASSERT_EQ(poses[0].atoms.size(), 3u);
    EXPECT_EQ(rmsd(poses[0].atoms, twoChains), 0.0);
    EXPECT_EQ(poses[0].atoms[1].name, "OXT");
    EXPECT_EQ(poses[0].atoms[2].residueNumber, 42);
    EXPECT_EQ(poses[0].atoms[2].chain, 'B');
}

TEST(PosesFromPdb, ReadsModelsWithTheirScores) {
    const std::string atom = "ATOM      1  CA  GLY A   1       1.000   2.000   3.000  1.00  0.00         C\n";
    const std::vector<Pose> poses = posesFromPdb(
        "MODEL        0     \nREMARK   6 CCF score      : 3.500000\n"
        "REMARK   9 CCF flex score : 4.250000\n" +
        atom + "ENDMDL\nMODEL        1     \nREMARK   6 CCF score      : 2.000000\n" + atom + "ENDMDL\n");
    ASSERT_EQ(poses.size(), 2u);
    EXPECT_EQ(poses[0].score, 3.5);
    EXPECT_EQ(poses[0].refinedScore, 4.25);
    EXPECT_EQ(poses[1].number, 1);
    EXPECT_EQ(poses[1].score, 2.0);
    EXPECT_FALSE(poses[1].refinedScore);
    EXPECT_EQ(poses[1].atoms.size(), 1u);
}

TEST(PosesFromPdb, EmptyTextHasNoPose) {
    EXPECT_TRUE(posesFromPdb("").empty());
}

TEST(PosesFromPdb, NamesTheLineThatCannotBeRead) {
    try {
        posesFromPdb("MODEL        0     \nATOM      1  CA  GLY A   1       1.000   x.000   3.000\n");
        FAIL() << "a coordinate that is no number must not pass";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()).rfind("line 2 ", 0), 0u) << error.what();
    }
    EXPECT_THROW(posesFromPdb("ATOM      1  CA\n"), std::runtime_error);
}

} // namespace
} // namespace example
