// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "examples/geometry.h"

namespace example {
namespace {

/// Degrees; the inverse functions lose half the digits near 0 and 180.
constexpr double angleTolerance = 1e-6;

TEST(PlaceAtom, ReturnsTheInternalCoordinatesItWasGiven) {
    const Vec3 a{1.0, -0.5, 2.0};
    const Vec3 b{0.3, 0.4, 1.0};
    const Vec3 c{-1.0, 0.2, 0.1};
    for (double torsion = -170.0; torsion <= 180.0; torsion += 35.0) {
        const Vec3 d = placeAtom(a, b, c, 1.53, 111.0, torsion);
        EXPECT_NEAR(norm(d - c), 1.53, 1e-12);
        EXPECT_NEAR(bondAngle(b, c, d), 111.0, angleTolerance);
        EXPECT_NEAR(torsionAngle(a, b, c, d), torsion, angleTolerance);
    }
}

TEST(TorsionAngle, ClockwiseSeenAlongTheMiddleBondIsPositive) {
    const Vec3 b{0.0, 0.0, 0.0};
    const Vec3 c{0.0, 0.0, 1.0};
    EXPECT_NEAR(torsionAngle({1.0, 0.0, 0.0}, b, c, {0.0, 1.0, 1.0}), 90.0, angleTolerance);
    EXPECT_NEAR(torsionAngle({1.0, 0.0, 0.0}, b, c, {1.0, 0.0, 1.0}), 0.0, angleTolerance);
}

TEST(BranchTorsion, LeavesTheAskedAngleBetweenTheBranches) {
    const Vec3 reference{1.0, 0.2, -0.4};
    const Vec3 root{0.0, 0.0, 0.0};
    const Vec3 before{2.0, 1.0, 1.0};
    const double turn = branchTorsion(111.2, 110.4, 108.0);
    const Vec3 s = placeAtom(before, reference, root, 1.5, 111.2, 37.0);
    const Vec3 u = placeAtom(before, reference, root, 1.3, 110.4, 37.0 + turn);
    EXPECT_NEAR(bondAngle(s, root, u), 108.0, angleTolerance);
}

TEST(RotationFromQuaternion, AQuarterTurnAboutZTakesXToY) {
    const double half = 0.70710678118654752440;
    const Vec3 turned = rotationFromQuaternion(half, 0.0, 0.0, half) * Vec3{1.0, 0.0, 0.0};
    EXPECT_NEAR(turned.x, 0.0, 1e-15);
    EXPECT_NEAR(turned.y, 1.0, 1e-15);
    EXPECT_NEAR(turned.z, 0.0, 1e-15);
}

} // namespace
} // namespace example
