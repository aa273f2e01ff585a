// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/results.h"

namespace {

std::vector<std::vector<std::string>> fieldsOf(const std::string& table) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        rows.emplace_back();
        std::istringstream fields(line + ",");
        for (std::string field; std::getline(fields, field, ',');) {
            rows.back().push_back(field);
        }
    }
    return rows;
}

std::vector<FoundPose> threePoses() {
    return {{30.5, {cMatrix33::rotationXYZ(0.1, 0.2, 0.3), cVector3(1.0 / 3.0, -2.0e-9, 1.0e5)}},
            {20.25, {cMatrix33::rotationXYZ(2.1, -0.2, 1.3), cVector3(4.0, 5.0, 6.0)}},
            {-1.0 / 7.0, {cMatrix33::identity(), cVector3(0.0)}}};
}

TEST(PoseNames, HaveAsManyDigitsAsTheLastOneNeeds) {
    EXPECT_EQ(poseName(1, 9), "pose_01");
    EXPECT_EQ(poseName(10, 10), "pose_10");
    EXPECT_EQ(poseName(7, 100), "pose_007");
    EXPECT_EQ(poseName(1000, 1000), "pose_1000");
}

TEST(PosesTable, ReadsBackToTheLastBit) {
    const std::vector<FoundPose> poses = threePoses();
    const auto rows = fieldsOf(posesTable(poses, {"pose_01.pdb", "pose_02.pdb"}));
    ASSERT_EQ(rows.size(), 4U);
    ASSERT_EQ(rows[0].size(), 15U);
    EXPECT_EQ(rows[0][0], "rank");
    EXPECT_EQ(rows[0][2], "r11");
    EXPECT_EQ(rows[0][10], "r33");
    EXPECT_EQ(rows[0][14], "file");
    for (std::size_t i = 0; i < poses.size(); ++i) {
        const auto& row = rows[i + 1];
        ASSERT_EQ(row.size(), 15U);
        EXPECT_EQ(row[0], std::to_string(i + 1));
        EXPECT_EQ(std::stod(row[1]), poses[i].score);
        for (int k = 0; k < 9; ++k) {
            EXPECT_EQ(std::stod(row[static_cast<std::size_t>(2 + k)]),
                      poses[i].motion.rotation(k / 3, k % 3));
        }
        for (int axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(std::stod(row[static_cast<std::size_t>(11 + axis)]), poses[i].motion.translation[axis]);
        }
    }
    EXPECT_EQ(rows[2][14], "pose_02.pdb");
    EXPECT_EQ(rows[3][14], "");
}

TEST(Log, TellsCommandSettingsChoicesAndWarnings) {
    FitOptions options;
    options.map = "my map.mrc";
    options.model = "model.pdb";
    options.resolution = 8.5;
    options.command = {"selvane-fit", "my map.mrc", "model.pdb", "-r", "8.5"};
    Journal journal(stderr, Journal::Manner::Quiet);
    journal.stage("scan");
    journal.choose("level 0.5, chosen");
    journal.end();
    const std::string log = logText(options, journal);
    for (const char* part :
         {"selvane-fit " SELVANE_VERSION "\n", "'my map.mrc' 'model.pdb' '-r' '8.5'\n", "resolution: 8.5\n",
          "choices\n  level 0.5, chosen\n", "warnings: none\n", "seconds\n  scan: "}) {
        EXPECT_NE(log.find(part), std::string::npos) << part << "\nin\n" << log;
    }
}

} // namespace
