// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/climb.h"
#include "Assessment/poseOverlap.h"
#include "Assessment/tests/polishScene.h"
#include "Preparation/tests/mapsOfBlobs.h"

namespace {

using namespace polishScene;

constexpr double home = 0.01; // angstrom

bool isFinite(const RigidMotion& motion) {
    double sum = motion.translation.norm();
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            sum += std::abs(motion.rotation(r, c));
        }
    }
    return std::isfinite(sum);
}

double overlapOf(const SplineField& field, const PolishModel& model, const RigidMotion& motion) {
    return poseOverlap(field, model, {motion.rotation, motion(model.middle)}).value;
}

void expectHome(const Scene& scene, double mapResolution, double scanResolution) {
    std::mt19937 random(2);
    for (int n = 0; n < 8; ++n) {
        const RigidMotion start = offBy(scene.all.middle, 5.0, 20.0, random);
        const Polished coarse =
            climb(scene.coarse, scene.beads, start, ClimbLimits::forResolution(scanResolution));
        const Polished fine =
            climb(scene.fine, scene.all, coarse.motion, ClimbLimits::forResolution(mapResolution));
        EXPECT_EQ(coarse.end, PolishEnd::Converged);
        EXPECT_EQ(fine.end, PolishEnd::Converged);
        EXPECT_LT(rmsd(scene.all, fine.motion, RigidMotion()), home);
    }
}

std::vector<ModelAtom> atomsAt(const std::vector<cVector3>& places) {
    std::vector<ModelAtom> atoms;
    for (const cVector3& place : places) {
        ModelAtom atom;
        atom.position = place;
        atom.mass = 12.0;
        atoms.push_back(atom);
    }
    return atoms;
}

/// A blob in a field of its own.
struct BlobField {
    Blob blob{cVector3(10.0, 11.0, 12.0), 3.0, 1.0};
    SplineField field{mapOfBlobs({21, 21, 21}, cVector3(0.0), cVector3(1.0), {blob})};
};

} // namespace

TEST(Climb, ComesHomeAtSixAngstrom) {
    expectHome(Scene(6.0, 12.0, 1.2), 6.0, 12.0);
}

TEST(Climb, ComesHomeAtTenAngstrom) {
    expectHome(sceneAt10(), 10.0, 15.0);
}

TEST(Climb, NeverEndsBelowItsStart) {
    const Scene& scene = sceneAt10();
    std::mt19937 random(6);
    std::uniform_real_distribution<double> shift(0.0, 30.0), degrees(0.0, 180.0);
    for (int n = 0; n < 50; ++n) {
        const double far = shift(random), turned = degrees(random);
        const RigidMotion start = offBy(scene.all.middle, far, turned, random);
        const Polished polished = climb(scene.fine, scene.all, start, ClimbLimits::forResolution(10.0));
        constexpr double rounding = 1e-9;
        const double before = overlapOf(scene.fine, scene.all, start);
        EXPECT_GE(polished.value, before);
        EXPECT_GE(polished.gain, 0.0);
        EXPECT_NEAR(polished.gain, polished.value - before, rounding * std::abs(polished.value) + rounding);
        EXPECT_NEAR(polished.value, overlapOf(scene.fine, scene.all, polished.motion),
                    rounding * std::abs(polished.value) + rounding);
        EXPECT_NEAR(polished.motion.rotation.det(), 1.0, rounding);
    }
}

TEST(Climb, HasNoSlopeAtItsEnd) {
    const Scene& scene = sceneAt10();
    std::mt19937 random(3);
    const Polished top = climb(scene.fine, scene.all, offBy(scene.all.middle, 3.0, 15.0, random),
                               ClimbLimits::forResolution(10.0));
    // Any small motion leads down.
    for (int n = 0; n < 20; ++n) {
        const RigidMotion off = offBy(top.motion(scene.all.middle), 0.02, 0.1, random);
        EXPECT_LT(overlapOf(scene.fine, scene.all, chain(top.motion, off)), top.value);
    }
}

TEST(Climb, IsTheSameFromAModelElsewhereInItsFile) {
    const Scene& scene = sceneAt10();
    std::mt19937 random(3);
    const RigidMotion away = offBy(cVector3(0.0), 300.0, 77.0, random);
    std::vector<ModelAtom> atoms = scene.atoms;
    for (ModelAtom& atom : atoms) {
        atom.position = away(atom.position);
    }
    const PolishModel model = atomsOf(atoms);
    const RigidMotion start = offBy(scene.all.middle, 3.0, 15.0, random);
    const Polished moved =
        climb(scene.fine, model, chain(away.inverse(), start), ClimbLimits::forResolution(10.0));
    EXPECT_LT(rmsd(model, moved.motion, away.inverse()), home);
}

TEST(Climb, StopsWhenItsTrialsAreUsedUp) {
    const Scene& scene = sceneAt10();
    std::mt19937 random(3);
    ClimbLimits limits = ClimbLimits::forResolution(10.0);
    limits.iterations = 2;
    const Polished polished =
        climb(scene.fine, scene.all, offBy(scene.all.middle, 5.0, 20.0, random), limits);
    EXPECT_EQ(polished.end, PolishEnd::Iterations);
    EXPECT_EQ(polished.evaluations, 3U);
    EXPECT_GT(polished.gain, 0.0);
}

TEST(Climb, StaysWhereTheModelIsOutsideTheMap) {
    const Scene& scene = sceneAt10();
    const RigidMotion start = RigidMotion::shift(cVector3(500.0, 0.0, 0.0));
    const Polished polished = climb(scene.fine, scene.all, start, ClimbLimits::forResolution(10.0));
    EXPECT_EQ(polished.end, PolishEnd::OutOfMap);
    EXPECT_EQ(polished.value, 0.0);
    EXPECT_LT(rmsd(scene.all, polished.motion, start), 1e-9);
}

TEST(Climb, MayLeaveAMapThatIsNegativeEverywhere) {
    const SplineField pit(
        mapOfBlobs({15, 15, 15}, cVector3(0.0), cVector3(1.0), {{cVector3(7.0), 3.0, -1.0}}));
    const PolishModel model = atomsOf(atomsAt({cVector3(6.0, 7.5, 8.0), cVector3(5.0, 7.0, 8.0)}));
    const Polished polished = climb(pit, model, RigidMotion(), ClimbLimits::forResolution(10.0));
    EXPECT_TRUE(isFinite(polished.motion));
    EXPECT_GT(polished.gain, 0.0);
    constexpr double almostNothing = 1e-3; // of the depth
    EXPECT_GT(polished.value, -almostNothing * model.totalWeight);
}

TEST(Climb, TakesASingleAtomToTheTop) {
    const BlobField scene;
    const PolishModel model = atomsOf(atomsAt({scene.blob.middle + cVector3(1.0, -2.0, 1.5)}));
    const Polished polished = climb(scene.field, model, RigidMotion(), ClimbLimits::forResolution(10.0));
    EXPECT_EQ(polished.end, PolishEnd::Converged);
    EXPECT_NEAR((polished.motion(model.middle) - scene.blob.middle).norm(), 0.0, home);
}

TEST(Climb, TakesAtomsOnALine) {
    const BlobField scene;
    const PolishModel model =
        atomsOf(atomsAt({cVector3(8.0, 9.0, 9.0), cVector3(10.0, 10.0, 11.0), cVector3(12.0, 11.0, 13.0)}));
    const Polished polished = climb(scene.field, model, RigidMotion(), ClimbLimits::forResolution(10.0));
    EXPECT_TRUE(isFinite(polished.motion));
    EXPECT_EQ(polished.end, PolishEnd::Converged);
    EXPECT_NEAR((polished.motion(model.middle) - scene.blob.middle).norm(), 0.0, home);
}

TEST(Climb, IsContentInAConstantMap) {
    const SplineField nothing(
        mapOf({9, 9, 9}, cVector3(0.0), cVector3(1.0), [](const cVector3&) { return 0.0; }));
    const SplineField flat(
        mapOf({30, 30, 30}, cVector3(0.0), cVector3(1.0), [](const cVector3&) { return 2.0; }));
    const PolishModel model = atomsOf(atomsAt({cVector3(4.0), cVector3(5.0, 4.0, 4.0)}));
    const Polished still = climb(nothing, model, RigidMotion(), ClimbLimits::forResolution(10.0));
    EXPECT_EQ(still.end, PolishEnd::Converged);
    EXPECT_EQ(still.evaluations, 1U);
    const Polished polished = climb(flat, model, RigidMotion(), ClimbLimits::forResolution(10.0));
    EXPECT_TRUE(isFinite(polished.motion));
    EXPECT_GE(polished.gain, 0.0);
}

TEST(Climb, TakesAMapOneVoxelThick) {
    const SplineField sheet(
        mapOfBlobs({21, 21, 1}, cVector3(0.0), cVector3(1.0), {{cVector3(10.0, 9.0, 0.0), 3.0, 1.0}}));
    const PolishModel model = atomsOf(atomsAt({cVector3(8.0, 9.0, 0.5)}));
    const Polished polished = climb(sheet, model, RigidMotion(), ClimbLimits::forResolution(10.0));
    EXPECT_EQ(polished.end, PolishEnd::Converged);
    EXPECT_NEAR((polished.motion(model.middle) - cVector3(10.0, 9.0, 0.0)).norm(), 0.0, home);
}

TEST(Climb, IsNotLedByWhatIsNoNumber) {
    const BlobField scene;
    const PolishModel model = atomsOf(atomsAt({scene.blob.middle}));
    const RigidMotion start = RigidMotion::shift(cVector3(std::nan("")));
    EXPECT_EQ(climb(scene.field, model, start, ClimbLimits::forResolution(10.0)).end, PolishEnd::OutOfMap);
}
