// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "Math/cMatrix33.h"
#include "Math/cVector3.h"
#include "Math/pi.h"
#include "Sampler/evenRotations.h"
#include "Sampler/nearRotations.h"

namespace {

constexpr double tolerance = 1e-9; // degrees

cMatrix33 matrixOf(const std::array<double, 3>& angles) {
    return cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
}

const cMatrix33 somewhere = cMatrix33::rotationXYZ(0.4, -1.1, 2.7);

TEST(DegreesBetween, IsTheAngleOfTheTurnFromOneToTheOther) {
    const cVector3 axis = cVector3(1.0, -2.0, 0.5) / cVector3(1.0, -2.0, 0.5).norm();
    for (const double degrees : {0.0, 1e-6, 0.1, 15.0, 90.0, 179.0}) {
        const cMatrix33 turn = cMatrix33::fromAxisAngle(axis, degrees * pi / 180.0);
        EXPECT_NEAR(degreesBetween(somewhere, turn * somewhere), degrees, tolerance);
        EXPECT_NEAR(degreesBetween(turn * somewhere, somewhere), degrees, tolerance);
    }
    EXPECT_NEAR(degreesBetween(somewhere, cMatrix33::fromAxisAnglePi(axis) * somewhere), 180.0, 1e-5);
}

TEST(RotationsNear, BeginWithTheRotationItself) {
    const auto near = rotationsNear({}, somewhere, 10.0);
    ASSERT_EQ(near.size(), 1U);
    EXPECT_LT(degreesBetween(matrixOf(near[0]), somewhere), tolerance);
}

TEST(RotationsNear, AreThoseOfTheListWithinTheAngleInItsOrder) {
    const auto list = evenRotations(20.0);
    const auto near = rotationsNear(list, somewhere, 40.0);
    std::vector<std::array<double, 3>> expected;
    for (const auto& angles : list) {
        const cMatrix33 between = matrixOf(angles) * somewhere.getTranspose();
        const double trace = between(0, 0) + between(1, 1) + between(2, 2);
        if (std::acos((trace - 1.0) / 2.0) * 180.0 / pi <= 40.0) {
            expected.push_back(angles);
        }
    }
    ASSERT_GT(expected.size(), 10U);
    ASSERT_EQ(near.size(), expected.size() + 1);
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), near.begin() + 1));
}

TEST(RotationsNear, OfAHalfTurnAreAll) {
    const auto list = evenRotations(60.0);
    EXPECT_EQ(rotationsNear(list, somewhere, 180.0).size(), list.size() + 1);
}

TEST(RotationsNear, WithinNothingAreTheOneAlone) {
    EXPECT_EQ(rotationsNear(evenRotations(60.0), somewhere, 0.0).size(), 1U);
}

/// There the angles about x and z do the same turn.
TEST(RotationsNear, HoldAtAQuarterTurnAboutY) {
    const cMatrix33 quarter = cMatrix33::rotationXYZ(0.3, pi / 2.0, 0.5);
    EXPECT_LT(degreesBetween(matrixOf(rotationsNear({}, quarter, 1.0)[0]), quarter), 1e-5);
}

} // namespace
