// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "fit/rigidMotion.h"

namespace {

const cVector3 noFlex(0.0);

PoseMove moveWith(const cVector3& turn) {
    return {cMatrix33::rotationXYZ(0.4, -1.1, 2.3), cVector3(31.0, -7.0, 12.0), cVector3(5.0, -3.0, 8.5),
            cVector3(0.7, -1.2, 0.4), turn};
}

double differenceAt(const cVector3& p, const PoseMove& move) {
    return (rigidMotion(move)(p) - move(p, noFlex)).norm();
}

TEST(RigidMotionOfAPose, WithoutATurnIsThePoseItself) {
    const PoseMove move = moveWith(cVector3(0.0));
    for (const cVector3& p : {cVector3(0.0), cVector3(10.0, -40.0, 25.0), move.center}) {
        EXPECT_LT(differenceAt(p, move), 1e-12);
    }
    EXPECT_LT((rigidMotion(move).translation - move.translation()).norm(), 1e-12);
}

TEST(RigidMotionOfAPose, AgreesToFirstOrderInTheTurn) {
    const cVector3 p(60.0, -20.0, 40.0);
    const cVector3 axis(0.6, -0.48, 0.64);
    const double distance = (p - moveWith(axis).center).norm();
    for (const double angle : {1e-2, 1e-3}) {
        // exp(w) - 1 - w is at most |w|^2 / 2
        EXPECT_LT(differenceAt(p, moveWith(axis * angle)), 0.51 * angle * angle * distance);
    }
}

TEST(RigidMotionOfAPose, KeepsDistancesHoweverFarItTurns) {
    const RigidMotion motion = rigidMotion(moveWith(cVector3(1.9, -0.8, 2.2)));
    const cVector3 a(1.0, 2.0, 3.0);
    const cVector3 b(-9.0, 14.0, 0.5);
    EXPECT_NEAR((motion(a) - motion(b)).norm(), (a - b).norm(), 1e-12);
    EXPECT_NEAR(motion.rotation.det(), 1.0, 1e-12);
}

TEST(RigidMotionOfAPose, TurnsAboutTheCentre) {
    const PoseMove still = moveWith(cVector3(0.0));
    const PoseMove turned = moveWith(cVector3(0.0, 0.5, -0.3));
    EXPECT_LT((rigidMotion(turned)(still.center) - rigidMotion(still)(still.center)).norm(), 1e-12);
}

} // namespace
