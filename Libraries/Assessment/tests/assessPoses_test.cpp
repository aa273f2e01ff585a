// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/assessPoses.h"
#include "Assessment/equivalence.h"
#include "Assessment/tests/judgedScene.h"

namespace {

constexpr double resolution = 9.0;

AssessedPose poseAt(const RigidMotion& motion, std::size_t hits) {
    AssessedPose pose;
    pose.motion = motion;
    pose.hits = hits;
    return pose;
}

/// Two copies of a model, of which the second is half a turn about an axis parallel to z from the first, in
/// one map, and many wrong turns of both.
struct Scene {
    Scene() {
        const cMatrix33 half = cMatrix33::fromAxisAnglePi(cVector3(0.0, 0.0, 1.0));
        const cVector3 axis(50.3, 31.7, 0.0);
        second = chain(first, {half, axis - half * axis});
        const DensityMap density =
            simulated(atoms, {first, second}, resolution, {50, 32, 30}, cVector3(0.0), 2.0);
        map = makeScoringMap(density, {resolution, {}, nullptr});
        coarse = makeScoringMap(density, {equivalence::resolutionFor(resolution, 12.0), {}, nullptr});
        std::mt19937 random(3);
        std::uniform_real_distribution<double> component(-1.0, 1.0), angle(60.0, 180.0);
        for (int n = 0; n < 12; ++n) {
            const cVector3 turnAxis(component(random), component(random), component(random));
            const RigidMotion turn = turned(turnAxis, angle(random), cVector3(0.0));
            wrong.push_back({turn.rotation, (n % 2 == 0 ? first : second).translation});
        }
    }

    std::vector<ModelAtom> atoms = cloud(250, 14.0, 51);
    RigidMotion first = turned(cVector3(1.0, 2.0, 3.0), 50.0, cVector3(28.0, 30.0, 30.0));
    RigidMotion second;
    std::vector<RigidMotion> wrong;
    ScoringMap map, coarse;
};

} // namespace

TEST(AssessPoses, RanksJudgesAndChoosesCopies) {
    const Scene scene;
    SearchObserver silent;
    std::vector<AssessedPose> poses;
    for (const RigidMotion& motion : scene.wrong) {
        poses.push_back(poseAt(motion, 1));
    }
    poses.insert(poses.begin() + 4, poseAt(scene.second, 5));
    poses.insert(poses.begin() + 9, poseAt(scene.first, 7));
    const Assessment assessment =
        assessPoses(scene.map, scene.coarse, scene.atoms, poses, {0, {}, 2}, silent);
    ASSERT_EQ(assessment.poses.size(), 14U);
    EXPECT_EQ(assessment.poses[0].hits + assessment.poses[1].hits, 12U);
    for (std::size_t n = 1; n < assessment.poses.size(); ++n) {
        EXPECT_GE(assessment.poses[n - 1].scores.localCorrelation,
                  assessment.poses[n].scores.localCorrelation);
    }
    EXPECT_EQ(assessment.poses[1].equivalentTo, 0U);
    EXPECT_EQ(assessment.confidence, Confidence::High);
    EXPECT_EQ(assessment.poses[1].confidence, Confidence::High);
    EXPECT_EQ(assessment.poses[2].confidence, Confidence::Low);
    EXPECT_EQ(assessment.copies, (std::vector<std::size_t>{0, 1}));
    EXPECT_FALSE(assessment.reason.empty());
}

TEST(AssessPoses, WithoutANumberChoosesNoCopiesOfAPlaceThatDoesNotStandOut) {
    const Scene scene;
    SearchObserver silent;
    std::vector<AssessedPose> poses;
    for (const RigidMotion& motion : scene.wrong) {
        poses.push_back(poseAt(motion, 1));
    }
    EXPECT_EQ(assessPoses(scene.map, scene.coarse, scene.atoms, poses, {0, {}, 2}, silent).copies,
              (std::vector<std::size_t>{0}));
    EXPECT_EQ(assessPoses(scene.map, scene.coarse, scene.atoms, poses, {2, {}, 1}, silent).copies.size(), 2U);
}

TEST(AssessPoses, OfNoPlacesIsEmpty) {
    const Scene scene;
    SearchObserver silent;
    const Assessment assessment = assessPoses(scene.map, scene.coarse, scene.atoms, {}, {}, silent);
    EXPECT_TRUE(assessment.poses.empty());
    EXPECT_TRUE(assessment.copies.empty());
    EXPECT_EQ(assessment.confidence, Confidence::Low);
}
