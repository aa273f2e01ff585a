// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "Math/pi.h"
#include "NMAEngine/blockScrew.h"
#include "velocityField.h"

namespace {

constexpr double angstrom = 1e-9; // precision asked of a rigid motion, in angstrom

const cVector3 center(3.0, -7.0, 11.0);
const cVector3 axis = cVector3(2.0, -1.0, 2.0) / 3.0;
const cVector3 travel(1.5, 0.5, -2.5);
const std::vector<cVector3> points = {
    {3.0, -7.0, 11.0}, {5.0, -6.0, 10.0}, {1.0, -8.5, 13.0}, {4.0, -9.0, 12.0}};

BlockScrew following(const cVector3& turn, const cVector3& shift = travel) {
    return BlockScrew::followingVelocity(center, turn, shift, 0.0);
}
BlockScrew moving(const cVector3& turn, const cVector3& shift = travel) {
    return BlockScrew::movingCentre(center, turn, shift, 0.0);
}

void expectNear(const cVector3& found, const cVector3& expected, double tolerance) {
    EXPECT_LT((found - expected).norm(), tolerance) << found << " in place of " << expected;
}

/// The screw in the form of its axis: by the angle about the direction n through X, then along n.
cVector3 turnAbout(const cVector3& X, const cVector3& n, double angle, const cVector3& along,
                   const cVector3& p) {
    return cMatrix33::fromAxisAngle(n, angle) * (p - X) + X + along;
}

TEST(BlockScrew, FollowingVelocityIsTheIntegralOfTheVelocityField) {
    for (const double angle : {0.01, 0.7, 2.0, pi, 5.0, 2.0 * pi, 9.5}) {
        const VelocityField field = {center, axis * angle, travel};
        const BlockScrew screw = following(field.turn);
        for (const cVector3& p : points) {
            expectNear(screw(p), field.carry(p), angstrom);
        }
    }
}

TEST(BlockScrew, FollowingVelocityTurnsAboutThePointWithoutVelocityAcrossTheAxis) {
    const cVector3 along = axis * (travel | axis);
    for (const double angle : {0.3, 1.9, 4.0, 8.0}) {
        const cVector3 X = center + (axis ^ (travel - along)) / angle;
        const BlockScrew screw = following(axis * angle);
        for (const cVector3& p : points) {
            expectNear(screw(p), turnAbout(X, axis, angle, along, p), 1e-12);
        }
    }
}

TEST(BlockScrew, MovingCentreTurnsAboutTheAxisThatBringsTheCentreToItsGoal) {
    const cVector3 along = axis * (travel | axis);
    const cVector3 across = travel - along;
    for (const double angle : {0.3, 1.9, 4.0, 6.2, 8.0}) {
        const cVector3 X = center + 0.5 * across - (0.5 / std::tan(angle / 2)) * (across ^ axis);
        const BlockScrew screw = moving(axis * angle);
        for (const cVector3& p : points) {
            expectNear(screw(p), turnAbout(X, axis, angle, along, p), 1e-11);
        }
    }
}

TEST(BlockScrew, MovingCentreMovesTheCentreExactlyAtAndNearWholeTurnsToo) {
    for (const int turns : {0, 1, 2, 7}) {
        for (const double offset : {0.0, 1e-15, 1e-12, 1e-9, -1e-9, 1e-4, -1e-4, 1.0, pi}) {
            expectNear(moving(axis * (2.0 * pi * turns + offset))(center), center + travel, 1e-14);
        }
    }
}

TEST(BlockScrew, MovingCentrePassesWholeTurnsSteadily) {
    for (const cVector3& p : points) {
        expectNear(moving(axis * (2.0 * pi))(p), p + travel, 1e-14);
        for (const double offset : {-1e-7, 1e-7}) {
            expectNear(moving(axis * (2.0 * pi + offset))(p), p + travel + (axis ^ (p - center)) * offset,
                       1e-12);
        }
    }
}

TEST(BlockScrew, DistancesStay) {
    for (const double angle : {1e-11, 1e-5, 0.5, 3.0, 6.28, 1000.0}) {
        for (const BlockScrew& screw : {following(axis * angle), moving(axis * angle)}) {
            for (const cVector3& p : points) {
                for (const cVector3& q : points) {
                    EXPECT_NEAR((screw(p) - screw(q)).norm(), (p - q).norm(), angstrom);
                }
            }
        }
    }
}

TEST(BlockScrew, WholeTurnWithoutTravelAlongTheAxisReturnsTheBlock) {
    const cVector3 across = travel - axis * (travel | axis);
    for (const int turns : {1, 2, 50}) {
        for (const cVector3& p : points) {
            expectNear(following(axis * (2.0 * pi * turns), across)(p), p, 1e-12);
        }
    }
}

TEST(BlockScrew, NoTurnIsATranslationToTheBit) {
    for (const BlockScrew& screw : {following(cVector3(0.0)), moving(cVector3(0.0))}) {
        for (const cVector3& p : points) {
            EXPECT_EQ(screw(p), p + travel);
        }
    }
}

TEST(BlockScrew, TurnBelowTheLeastIsATranslationAndOneAtItIsNot) {
    const cVector3 turn(0.0, 0.0, 0.5);
    const cVector3 arm = points[1] - points[2];
    for (const auto make : {BlockScrew::followingVelocity, BlockScrew::movingCentre}) {
        const BlockScrew translation = make(center, turn, travel, 0.51);
        EXPECT_EQ(translation(points[1]), points[1] + travel);
        const BlockScrew screw = make(center, turn, travel, 0.5);
        expectNear(screw(points[1]) - screw(points[2]), cMatrix33::fromAxisAngle({0, 0, 1}, 0.5) * arm,
                   1e-14);
    }
}

TEST(BlockScrew, TinyTurnWithItsAxisFarAwayKeepsItsDigits) {
    // The axis is 1e10 angstrom away here; a position relative to it would have lost ten digits.
    const cVector3 turn = axis * 1e-10;
    for (const BlockScrew& screw : {following(turn), moving(turn)}) {
        for (const cVector3& p : points) {
            expectNear(screw(p), p + travel + (turn ^ (p - center)) + 0.5 * (turn ^ travel), 1e-9);
        }
    }
    expectNear(following(turn)(center), center + travel + 0.5 * (turn ^ travel), 1e-14);
    expectNear(moving(turn)(center), center + travel, 1e-14);
}

} // namespace
