// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "fit/results.h"

namespace {

TEST(PoseNames, HaveAsManyDigitsAsTheLastOneNeeds) {
    EXPECT_EQ(poseName(1, 9), "pose_01");
    EXPECT_EQ(poseName(10, 10), "pose_10");
    EXPECT_EQ(poseName(7, 100), "pose_007");
    EXPECT_EQ(poseName(1000, 1000), "pose_1000");
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
    const std::string log = logText(options, journal, "it is there");
    for (const char* part : {"selvane-fit " SELVANE_VERSION "\n", "'my map.mrc' 'model.pdb' '-r' '8.5'\n",
                             "resolution: 8.5\n", "choices\n  level 0.5, chosen\n", "warnings: none\n",
                             "seconds\n  scan: ", "verdict\n  it is there\n"}) {
        EXPECT_NE(log.find(part), std::string::npos) << part << "\nin\n" << log;
    }
}

} // namespace
