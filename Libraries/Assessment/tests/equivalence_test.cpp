// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/equivalence.h"
#include "Assessment/tests/judgedScene.h"

namespace {

constexpr double resolution = 10.0;
const cVector3 axisPoint(60.0, 61.3, 0.0);

/// A turn about the ring's axis, which is parallel to z and goes through no node.
RigidMotion aboutAxis(double degrees) {
    const cMatrix33 turn = cMatrix33::fromAxisAngle(cVector3(0.0, 0.0, 1.0), degrees * radiansPerDegree);
    return {turn, axisPoint - turn * axisPoint};
}

/// A ring of like subunits.
struct Ring {
    explicit Ring(int copies, int missing = 0) : atoms(cloud(250, 14.0, 31)) {
        const RigidMotion first =
            turned(cVector3(1.0, 2.0, 3.0), 50.0, axisPoint + cVector3(28.0, 0.0, 40.0));
        for (int n = 0; n < copies; ++n) {
            places.push_back(chain(first, aboutAxis(360.0 / copies * n)));
        }
        const std::vector<RigidMotion> present(places.begin(), places.end() - missing);
        map = makeScoringMap(simulated(atoms, present, resolution, {62, 62, 40}, cVector3(0.0), 2.0),
                             {resolution, {}, nullptr});
    }

    double correlation(const RigidMotion& motion) const {
        return equivalence::selfCorrelation(map, equivalence::nodesAround(map, atoms, places[0]), motion);
    }

    std::vector<ModelAtom> atoms;
    std::vector<RigidMotion> places;
    ScoringMap map;
};

/// What is left of 1 by the linear interpolation between the nodes.
constexpr double exactSymmetry = 0.95;

} // namespace

TEST(Equivalence, ASymmetryOfTheMapLeavesItAsItIs) {
    const Ring ring(5);
    EXPECT_NEAR(ring.correlation(RigidMotion()), 1.0, 1e-6);
    for (int n = 1; n < 5; ++n) {
        EXPECT_GT(ring.correlation(aboutAxis(72.0 * n)), exactSymmetry);
    }
}

TEST(Equivalence, OtherMotionsDoNot) {
    const Ring ring(5);
    EXPECT_LT(ring.correlation(aboutAxis(36.0)), 0.4);
    EXPECT_LT(ring.correlation(RigidMotion::shift(cVector3(0.0, 0.0, 15.0))), 0.4);
    const cVector3 middle = ring.places[0](cVector3(0.0));
    std::mt19937 random(5);
    std::uniform_real_distribution<double> angle(60.0, 180.0), component(-1.0, 1.0);
    for (int n = 0; n < 50; ++n) {
        const cVector3 axis(component(random), component(random), component(random));
        const RigidMotion turn = turned(axis, angle(random), cVector3(0.0));
        EXPECT_LT(ring.correlation({turn.rotation, middle - turn.rotation * middle}), 0.6);
    }
}

TEST(Equivalence, ToleratesAPlaceThatIsATwentiethOfTheResolutionOff) {
    const Ring ring(5);
    const RigidMotion off = chain(aboutAxis(72.0), RigidMotion::shift(cVector3(0.3, -0.3, 0.3)));
    EXPECT_GT(ring.correlation(off), equivalence::leastSelfCorrelation);
}

TEST(Equivalence, GroupsTheSubunitsOfARingAndNothingElse) {
    const Ring ring(4);
    const cVector3 middle = ring.places[2](cVector3(0.0));
    const cMatrix33 turn = cMatrix33::fromAxisAngle(cVector3(1.0, 0.0, 0.0), 100.0 * radiansPerDegree);
    const RigidMotion wrong = chain(ring.places[2], {turn, middle - turn * middle});
    const std::vector<RigidMotion> places = {ring.places[0], wrong,          ring.places[3],
                                             ring.places[1], ring.places[2], chain(wrong, aboutAxis(90.0))};
    const std::vector<std::size_t> expected = {0, 1, 0, 0, 0, 1};
    EXPECT_EQ(equivalence::group(ring.map, ring.atoms, places), expected);
}

TEST(Equivalence, APlaceWithoutACopyIsNotEquivalent) {
    const Ring ring(5, 1);
    EXPECT_LT(ring.correlation(aboutAxis(-72.0)), 0.4);
    EXPECT_GT(ring.correlation(aboutAxis(72.0)), equivalence::leastSelfCorrelation);
}

TEST(Equivalence, IsSeenThroughNoiseAtACoarserResolution) {
    Ring ring(5);
    DensityMap noisy = simulated(ring.atoms, ring.places, resolution, {62, 62, 40}, cVector3(0.0), 2.0);
    std::mt19937 random(6);
    std::normal_distribution<double> noise(0.0, 1.5 * ring.map.deviation);
    for (float& value : noisy.values) {
        value += static_cast<float>(noise(random));
    }
    ring.map = makeScoringMap(noisy, {resolution, {}, nullptr});
    EXPECT_LT(ring.correlation(aboutAxis(72.0)), equivalence::leastSelfCorrelation);
    ring.map = makeScoringMap(noisy, {1.75 * resolution, {}, nullptr});
    EXPECT_GT(ring.correlation(aboutAxis(72.0)), equivalence::leastSelfCorrelation);
    EXPECT_LT(ring.correlation(aboutAxis(36.0)), 0.4);
}

TEST(Equivalence, IsJudgedAtAResolutionThatTellsTurnsOfTheModel) {
    EXPECT_DOUBLE_EQ(equivalence::resolutionFor(4.0, 30.0), 7.0);
    EXPECT_DOUBLE_EQ(equivalence::resolutionFor(10.0, 20.0), 16.0);
    EXPECT_DOUBLE_EQ(equivalence::resolutionFor(10.0, 8.0), 10.0);
}

TEST(Equivalence, NeedsHalfOfTheNodesInTheMapAndAContrast) {
    const Ring ring(5);
    EXPECT_EQ(ring.correlation(RigidMotion::shift(cVector3(90.0, 0.0, 0.0))), 0.0);
    ScoringMap flat = ring.map;
    std::fill(flat.contrast.values.begin(), flat.contrast.values.end(), 0.0F);
    const std::vector<cVector3> nodes = equivalence::nodesAround(flat, ring.atoms, ring.places[0]);
    EXPECT_EQ(equivalence::selfCorrelation(flat, nodes, RigidMotion()), 0.0);
    EXPECT_TRUE(equivalence::nodesAround(flat, {}, RigidMotion()).empty());
    EXPECT_TRUE(equivalence::group(flat, ring.atoms, {}).empty());
}
