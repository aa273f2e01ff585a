// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "Math/pi.h"
#include "Preparation/ScanChoice.h"

namespace {

ScanNeeds needs(double resolution, double radius = 25.0, double voxel = 1.0) {
    ScanNeeds made;
    made.resolution = resolution;
    made.mapVoxel = voxel;
    made.radiusOfGyration = radius;
    return made;
}

std::string remarksOf(const ScanChoice& choice) {
    std::string all;
    for (const std::string& remark : choice.remarks) {
        all += remark + "\n";
    }
    return all;
}

} // namespace

TEST(ChooseScan, CoarsensAFineMapAndKeepsACoarseOne) {
    EXPECT_EQ(chooseScan(needs(3.0)).resolution, 10.0);
    EXPECT_EQ(chooseScan(needs(10.0)).resolution, 10.0);
    EXPECT_EQ(chooseScan(needs(14.0)).resolution, 14.0);
    EXPECT_EQ(chooseScan(needs(3.0)).mapResolution, 3.0);
    EXPECT_TRUE(chooseScan(needs(3.0)).remarks.empty());
}

TEST(ChooseScan, TheWayOfTheOuterAtomsBetweenTwoRotationsFollowsTheResolution) {
    // A model twice as large takes half the step at the same resolution; a step more than that would skip it.
    for (const double radius : {22.5, 25.0, 40.0, 60.0, 120.0}) {
        const ScanChoice choice = chooseScan(needs(4.0, radius));
        const double way = choice.step * pi / 180.0 * radius;
        EXPECT_LE(way, 0.8 * choice.resolution);
        EXPECT_GE(choice.step, 17.9) << "nor are there ever more rotations than a step of 18 degrees takes";
        EXPECT_LE(choice.step, 20.0);
    }
}

TEST(ChooseScan, VoxelAndAtomFollowTheResolution) {
    const ScanChoice choice = chooseScan(needs(12.0));
    EXPECT_DOUBLE_EQ(choice.voxel, 4.0);
    EXPECT_DOUBLE_EQ(choice.sigma, gaussianOf(12.0));
    // The transform of the Gaussian, exp(-2 pi^2 s^2 k^2), is 1/e at k = 1 / R.
    EXPECT_NEAR(2.0 * pi * pi * std::pow(gaussianOf(12.0) / 12.0, 2.0), 1.0, 1e-3);
}

TEST(ChooseScan, TakesWhatIsGiven) {
    ScanNeeds given = needs(4.0);
    given.step = 7.5;
    given.scanResolution = 8.0;
    const ScanChoice choice = chooseScan(given);
    EXPECT_EQ(choice.step, 7.5);
    EXPECT_EQ(choice.resolution, 8.0);
    EXPECT_TRUE(choice.remarks.empty());
}

TEST(ChooseScan, NeverLooksForMoreThanTheMapShows) {
    ScanNeeds given = needs(12.0);
    given.scanResolution = 8.0;
    const ScanChoice choice = chooseScan(given);
    EXPECT_EQ(choice.resolution, 12.0);
    EXPECT_NE(remarksOf(choice).find("map's 12 A"), std::string::npos);
    const ScanChoice coarseVoxels = chooseScan(needs(4.0, 25.0, 6.0));
    EXPECT_EQ(coarseVoxels.mapResolution, 12.0);
    EXPECT_EQ(coarseVoxels.resolution, 12.0);
    EXPECT_NE(remarksOf(coarseVoxels).find("needs voxels of 2 A"), std::string::npos);
}

TEST(ChooseScan, SaysWhereOrientationsCannotBeTold) {
    EXPECT_NE(remarksOf(chooseScan(needs(35.0, 24.0))).find("orientations"), std::string::npos);
    EXPECT_NE(remarksOf(chooseScan(needs(100.0, 24.0))).find("orientations"), std::string::npos);
    EXPECT_EQ(chooseScan(needs(100.0, 24.0)).resolution, 100.0);
    EXPECT_TRUE(chooseScan(needs(20.0, 24.0)).remarks.empty());
}

TEST(ChooseScan, WorksForASingleAtom) {
    const ScanChoice choice = chooseScan(needs(5.0, 0.0));
    EXPECT_EQ(choice.step, 20.0);
    EXPECT_EQ(choice.resolution, 10.0);
}

/// Atoms of the search are as wide as the resolution, and none is wider than that of 300 A.
TEST(ChooseScan, KeepsToWidthsThatAtomsMayHave) {
    EXPECT_EQ(chooseScan(needs(10.0, 1e5)).resolution, 300.0);
    EXPECT_EQ(chooseScan(needs(10.0, 25.0, 150.0)).resolution, 300.0);
    EXPECT_THROW(chooseScan(needs(10.0, 25.0, 151.0)), std::invalid_argument);
}

TEST(ChooseScan, RefusesWhatNoScanCanBeMadeWith) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    for (const double bad : {0.0, -8.0, 301.0, infinity, notANumber}) {
        EXPECT_THROW(chooseScan(needs(bad)), std::invalid_argument);
        ScanNeeds given = needs(8.0);
        given.scanResolution = bad;
        EXPECT_THROW(chooseScan(given), std::invalid_argument);
        given = needs(8.0);
        given.step = bad;
        EXPECT_THROW(chooseScan(given), std::invalid_argument);
    }
}
