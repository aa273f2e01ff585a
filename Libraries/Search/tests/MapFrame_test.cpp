// SPDX-License-Identifier: GPL-3.0-or-later
// Where a pose puts the model, against the place that the definition of the correlation gives.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <random>

#include <gtest/gtest.h>

#include "Math/cGrid.h"
#include "Search/MapFrame.h"

namespace {

/// A map of 30 x 12 x 9 voxels of 1 x 0.5 x 1.25 angstrom whose first voxel truly stands at `first`.
class MapFrameTest : public testing::Test {
protected:
    MapFrameTest() {
        const unsigned int mapSize[3] = {30, 12, 9};
        const cVector3 low = first + cell; // the reader's node (0, 0, 0)
        map = cGrid(cBBox(low, low + cVector3(29.0, 5.5, 10.0)), mapSize);
        structureOrigin = low + cVector3(-7.0, 2.0, 3.75); // on the lattice of the map
        for (int axis = 0; axis < 3; ++axis) {
            period[axis] = padded[static_cast<std::size_t>(axis)] * cell[axis];
            middle[axis] = first[axis] + 0.5 * (mapSize[axis] - 1.0) * cell[axis];
        }
    }

    /// The pose of shift s, from the node's translation as a conformation counts it.
    PoseRecord poseAt(const std::array<int, 3>& s, const std::array<double, 3>& angles) const {
        PoseRecord pose;
        pose.angles = angles;
        pose.period = period;
        for (int axis = 0; axis < 3; ++axis) {
            const auto n = static_cast<std::size_t>(axis);
            pose.tau[axis] = (padded[n] - 1.0 - s[n]) * cell[axis];
        }
        return pose;
    }

    /// The shift of the model that the correlation at s compares: node v of the map meets node v + s of the
    /// model's grid, so the model moves by the true place of the map's first voxel less that of node s.
    cVector3 trueShift(const std::array<int, 3>& s) const {
        return first - structureOrigin - cVector3(s[0] * cell.x, s[1] * cell.y, s[2] * cell.z);
    }

    const cVector3 first = cVector3(-2.0, 3.0, 1.5);
    const cVector3 cell = cVector3(1.0, 0.5, 1.25);
    const std::array<double, 3> padded = {32, 16, 16};
    cGrid map;
    cVector3 structureOrigin;
    cVector3 period;
    cVector3 middle; ///< of the map's voxels, where they truly stand
};

TEST_F(MapFrameTest, ThreeCellsCancelSoThatThePoseStandsWhereTheCorrelationComparedIt) {
    std::mt19937 random(5);
    std::uniform_real_distribution<double> angle(-3.0, 3.0);
    std::uniform_int_distribution<int> node(0, 15);
    const cVector3 center(1.0, 4.0, 6.0);
    const MapFrame frame(map, structureOrigin, center);
    for (int n = 0; n < 200; ++n) {
        const std::array<int, 3> s = {2 * node(random), node(random), node(random)};
        const PoseRecord pose = poseAt(s, {angle(random), angle(random), angle(random)});
        const cMatrix33 R = pose.rotation();
        const cVector3 p(angle(random), angle(random), angle(random));
        const cVector3 placed = frame.place(pose)(p, cVector3(0, 0, 0));
        // The map was turned about its middle, so the model turns back about it; and any period will do.
        const cVector3 back = R.getTranspose() * (placed - middle) + middle - p - trueShift(s);
        for (int axis = 0; axis < 3; ++axis) {
            const double periods = back[axis] / period[axis];
            EXPECT_NEAR(periods, std::round(periods), 1e-12);
        }
    }
}

TEST_F(MapFrameTest, OneCellElsewhereIsSeen) {
    // Of the three cells each alone moves the model by a cell.
    const MapFrame frame(map, structureOrigin, cVector3(1.0, 4.0, 6.0));
    const PoseRecord pose = poseAt({0, 0, 0}, {0.0, 0.0, 0.0});
    PoseRecord longer = pose;
    longer.tau = pose.tau + cell;
    const cVector3 step = frame.place(longer).shift - frame.place(pose).shift;
    EXPECT_EQ(step.x, cell.x);
    const cVector3 low = frame.rotationCenter() - frame.pivot();
    EXPECT_DOUBLE_EQ(low.x, cell.x);
    EXPECT_DOUBLE_EQ(low.y, cell.y);
    EXPECT_DOUBLE_EQ(low.z, cell.z);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_DOUBLE_EQ(frame.pivot()[axis], middle[axis]);
    }
}

TEST_F(MapFrameTest, ModelsCentreStaysInTheBoxOfTheTurnedMapWhereOnePeriodReaches) {
    const cVector3 center = structureOrigin + cVector3(6.0, 3.0, 4.0);
    const MapFrame frame(map, structureOrigin, center);
    for (int i = 0; i < 32; ++i) {
        const PoseRecord pose = poseAt({i, 3, 4}, {0.0, 0.0, 0.0});
        const cVector3 placed = frame.place(pose)(center, cVector3(0, 0, 0));
        if (placed.x >= 0.0) { // the box holds the origin by its making, too
            EXPECT_GE(placed.x, std::min(0.0, map.m_box.m_min.x) - period.x);
        }
        EXPECT_LE(placed.x, map.m_box.m_max.x + 1e-9);
    }
}

TEST_F(MapFrameTest, IncrementsActInTheFrameOfTheModelBeforeTheRotation) {
    const MapFrame frame(map, structureOrigin, cVector3(1.0, 4.0, 6.0));
    PoseRecord pose = poseAt({3, 4, 5}, {0.3, -0.8, 1.1});
    const cVector3 p(2.0, -1.0, 0.5);
    const cVector3 none(0, 0, 0);
    const cVector3 before = frame.place(pose)(p, none);
    pose.dTau = cVector3(0.1, 0.2, -0.3);
    pose.dRotation = cVector3(0.02, -0.01, 0.03);
    const cVector3 flex(0.5, 0.25, -0.75);
    const cVector3 after = frame.place(pose)(p, flex);
    const cVector3 arm = p - frame.pivot();
    const cVector3& w = pose.dRotation;
    const cVector3 turned(w.y * arm.z - w.z * arm.y, w.z * arm.x - w.x * arm.z, w.x * arm.y - w.y * arm.x);
    const cVector3 expected = pose.rotation() * (pose.dTau + turned + flex);
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(after[axis] - before[axis], expected[axis], 1e-12);
    }
}

TEST_F(MapFrameTest, RigidMotionOfAPoseIsItsRotationAndTranslation) {
    const MapFrame frame(map, structureOrigin, cVector3(1.0, 4.0, 6.0));
    PoseRecord pose = poseAt({3, 4, 5}, {0.3, -0.8, 1.1});
    pose.dTau = cVector3(0.1, 0.2, -0.3);
    const PoseMove move = frame.place(pose);
    const cVector3 p(2.0, -1.0, 0.5);
    const cVector3 direct = move(p, cVector3(0, 0, 0));
    const cVector3 rigid = move.rotation * p + move.translation();
    const cVector3 clustered =
        pose.rotation() * p + frame.translationOf(move.shift + pose.dTau, pose.rotation());
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(rigid[axis], direct[axis], 1e-12);
        EXPECT_NEAR(clustered[axis], direct[axis], 1e-12);
    }
}

} // namespace
