// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/results.h"
#include "fit/tests/csv.h"

namespace {

std::vector<FoundPose> threePoses() {
    return {
        {30.5, FitScore::Local, {cMatrix33::rotationXYZ(0.1, 0.2, 0.3), cVector3(1.0 / 3.0, -2.0e-9, 1.0e5)}},
        {20.25, FitScore::Local, {cMatrix33::rotationXYZ(2.1, -0.2, 1.3), cVector3(4.0, 5.0, 6.0)}},
        {-1.0 / 7.0, FitScore::Laplacian, {cMatrix33::identity(), cVector3(0.0)}}};
}

TEST(PoseNames, HaveAsManyDigitsAsTheLastOneNeeds) {
    EXPECT_EQ(poseName(1, 9), "pose_01");
    EXPECT_EQ(poseName(10, 10), "pose_10");
    EXPECT_EQ(poseName(7, 100), "pose_007");
    EXPECT_EQ(poseName(1000, 1000), "pose_1000");
}

TEST(PosesTable, ReadsBackToTheLastBit) {
    const std::vector<FoundPose> poses = threePoses();
    const auto rows = csvRows(posesTable(poses, {"pose_01.pdb", "pose_02.pdb"}));
    ASSERT_EQ(rows.size(), 3U);
    const std::string digits = "123", axes = "xyz";
    for (std::size_t i = 0; i < poses.size(); ++i) {
        const auto& row = rows[i];
        EXPECT_EQ(row.at("rank"), std::to_string(i + 1));
        EXPECT_EQ(row.at("list"), nameOf(poses[i].list));
        EXPECT_EQ(std::stod(row.at("score")), poses[i].score);
        for (std::size_t k = 0; k < 9; ++k) {
            const std::string name = std::string("r") + digits[k / 3] + digits[k % 3];
            EXPECT_EQ(std::stod(row.at(name)),
                      poses[i].motion.rotation(static_cast<int>(k / 3), static_cast<int>(k % 3)));
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(std::stod(row.at(std::string("t") + axes[axis])),
                      poses[i].motion.translation[static_cast<int>(axis)]);
        }
    }
    EXPECT_EQ(rows[1].at("file"), "pose_02.pdb");
    EXPECT_EQ(rows[2].at("file"), "");
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
