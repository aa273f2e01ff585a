// SPDX-License-Identifier: GPL-3.0-or-later
#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

#include "examples/verdict.h"

namespace example {
namespace {

Model modelAt(double x) {
    return {{"CA", 'C', "GLY", 'A', 1, {x, 0.0, 0.0}}, {"C", 'C', "GLY", 'A', 1, {x, 2.0, 0.0}}};
}

Pose poseAt(int number, double x) {
    return {number, 10.0 - number, 11.0, modelAt(x)};
}

TEST(Judge, PassesOnTheFirstPoseAlone) {
    EXPECT_TRUE(judge({poseAt(0, 1.9), poseAt(1, 9.0)}, modelAt(0.0), 2.0).pass);
    EXPECT_FALSE(judge({poseAt(0, 9.0), poseAt(1, 0.1)}, modelAt(0.0), 2.0).pass);
}

TEST(Judge, ReportNamesTheBestAndTheNearestPose) {
    const Verdict verdict = judge({poseAt(0, 9.0), poseAt(1, 5.0), poseAt(2, -0.25)}, modelAt(0.0), 2.0);
    EXPECT_EQ(verdict.report, "                    rank  MODEL        score      refined   RMSD/A\n"
                              "best refined pose      1      0      10.0000      11.0000      9.00\n"
                              "nearest pose           3      2       8.0000      11.0000      0.25\n"
                              "FAIL: the best pose is 9.00 A from the truth, 2.00 A allowed\n");
}

TEST(Judge, RefusesOtherAtomsAndAnEmptyFile) {
    Pose shorter = poseAt(0, 0.0);
    shorter.atoms.pop_back();
    Pose renamed = poseAt(0, 0.0);
    renamed.atoms[1].name = "N";
    EXPECT_THROW(judge({shorter}, modelAt(0.0), 2.0), std::runtime_error);
    EXPECT_THROW(judge({renamed}, modelAt(0.0), 2.0), std::runtime_error);
    EXPECT_THROW(judge({}, modelAt(0.0), 2.0), std::runtime_error);
}

TEST(Judge, ACoordinateThatIsNoNumberFails) {
    EXPECT_FALSE(judge({poseAt(0, std::numeric_limits<double>::quiet_NaN())}, modelAt(0.0), 2.0).pass);
}

} // namespace
} // namespace example
