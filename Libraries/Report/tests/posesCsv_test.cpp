// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Report/posesCsv.h"
#include "Report/tests/summaryOfTwo.h"

namespace {

/// The fields of each line.
std::vector<std::vector<std::string>> rowsOf(const std::string& table) {
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

} // namespace

TEST(PosesCsv, HasALinePerPlaceUnderItsNames) {
    const auto rows = rowsOf(posesCsv(summaryOfTwo().assessment.poses, {"pose_01.pdb"}));
    ASSERT_EQ(rows.size(), 3U);
    const std::vector<std::string> names = {"rank",
                                            "confidence",
                                            "local_correlation",
                                            "correlation",
                                            "z",
                                            "gap",
                                            "score",
                                            "mean_density",
                                            "inside",
                                            "equivalent_to",
                                            "hits",
                                            "r11",
                                            "r12",
                                            "r13",
                                            "r21",
                                            "r22",
                                            "r23",
                                            "r31",
                                            "r32",
                                            "r33",
                                            "tx",
                                            "ty",
                                            "tz",
                                            "a1",
                                            "a2",
                                            "file"};
    EXPECT_EQ(rows[0], names);
    EXPECT_EQ(rows[1].size(), names.size());
    EXPECT_EQ(rows[2].size(), names.size());
    EXPECT_EQ(rows[1][0], "1");
    EXPECT_EQ(rows[1][1], "high");
    EXPECT_EQ(rows[1][9], "");
    EXPECT_EQ(rows[2][9], "1");
    EXPECT_EQ(rows[1][10], "7");
    EXPECT_EQ(std::strtod(rows[1][21].c_str(), nullptr), 2.0 / 3.0);
    EXPECT_EQ(rows[1][23], "");
    EXPECT_EQ(rows[2][24], "-0.25");
    EXPECT_EQ(rows[1][25], "pose_01.pdb");
    EXPECT_EQ(rows[2][25], "");
}

TEST(PosesCsv, WithoutPlacesOrAmplitudesHasTheNamesAlone) {
    const auto rows = rowsOf(posesCsv({}, {}));
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows[0].size(), 24U);
}
