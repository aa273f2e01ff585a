// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a fit finds the place that is known.
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "Math/pi.h"
#include "app/tests/RunFixture.h"
#include "app/tests/solutionFile.h"

namespace {

constexpr double printedDigits = 0.0011; ///< angstrom: what three printed decimals leave of an exact place
constexpr double refinedRmsd = 0.01;     ///< angstrom, in a map as it stands
constexpr double resampled = 0.03;       ///< angstrom, in a map that was turned by linear interpolation

const Vec offCentre = {1.3, -2.1, 0.7};

class Poses : public RunFixture {
protected:
    /// A map of this shape with the model in it.
    void writeTruth(const std::array<int, 3>& size, const Vec& voxel) {
        TestMap map;
        map.size = size;
        map.voxel = voxel;
        const std::vector<TestAtom> atoms = makeModel(map.centre() + offCentre);
        writeInputs(atoms, simulate(map, atoms, map.largestVoxel()));
    }

    /// Leaves the map and starts from this model instead.
    void startFrom(const std::vector<TestAtom>& atoms) {
        m_truth = positionsOf(m_model);
        m_model = atoms;
        write("model.pdb", pdbText(atoms));
    }

    /// Distance of the best pose of a solution file from the truth.
    double distanceOfBest(const std::string& name) const {
        const std::vector<WrittenPose> poses = readPoses(read(name));
        EXPECT_FALSE(poses.empty()) << name;
        return poses.empty() ? 1e9
                             : rmsd(m_truth.empty() ? positionsOf(m_model) : m_truth, poses[0].positions);
    }

    void expectTruthFound(const Arguments& options, double refined = refinedRmsd) const {
        const RunResult result = fit(options);
        ASSERT_EQ(result.status, 0) << result.err;
        EXPECT_LE(distanceOfBest("Rigid_solution.pdb"), printedDigits);
        EXPECT_LE(distanceOfBest("Solution.pdb"), refined);
    }

    std::vector<Vec> m_truth; ///< where the model belongs; empty while it stands there
};

TEST_F(Poses, ModelComesBackToItsPlaceInACube) {
    writeTruth({20, 20, 20}, {2.5, 2.5, 2.5});
    expectTruthFound(coarse());
}

TEST_F(Poses, ModelComesBackToItsPlaceInACubeWithoutPadding) {
    writeTruth({20, 20, 20}, {2.5, 2.5, 2.5});
    expectTruthFound(coarse({"--nopadding"}));
}

TEST_F(Poses, ModelComesBackToItsPlaceWithUnequalAxesAndVoxelEdges) {
    writeTruth({20, 24, 18}, {2.75, 2.5, 3.0});
    expectTruthFound(coarse());
}

TEST_F(Poses, ModelComesBackToItsPlaceWithUnequalAxesAndVoxelEdgesWithoutPadding) {
    writeTruth({20, 24, 18}, {2.75, 2.5, 3.0});
    expectTruthFound(coarse({"--nopadding"}));
}

TEST_F(Poses, OrderOfTheAxesInTheFileMakesNoDifference) {
    writeTruth({20, 24, 18}, {2.75, 2.5, 3.0});
    ASSERT_EQ(fit(coarse()).status, 0);
    const std::string expected = read("Solution.pdb");
    m_map.axisOrder = {3, 1, 2};
    writeInputs(m_model, m_map);
    ASSERT_EQ(fit(coarse()).status, 0);
    EXPECT_EQ(read("Solution.pdb"), expected);
}

TEST_F(Poses, ByteOrderAndSymmetryBlockMakeNoDifference) {
    writeTruth({20, 24, 18}, {2.5, 2.5, 2.5});
    ASSERT_EQ(fit(coarse()).status, 0);
    const std::string expected = read("Solution.pdb");
    m_map.oppositeByteOrder = true;
    m_map.symmetryBytes = 160;
    writeInputs(m_model, m_map);
    ASSERT_EQ(fit(coarse()).status, 0);
    EXPECT_EQ(read("Solution.pdb"), expected);
}

/// The turn of a sampled rotation undone, and a shift by whole voxels: the scan meets the place exactly.
TEST_F(Poses, ModelTurnedBySampledRotationAndShiftedComesBack) {
    // Seen to fail with poses turned about the map's own centre.
    writeTruth({20, 24, 18}, {2.5, 2.5, 2.5});
    // At the upper pole of the sampled sphere the turns are about z alone.
    const Mat undone = transposed(rotationXYZ(0, 0, 60.0 * pi / 180.0));
    startFrom(moved(m_model, undone, m_map.centre(), {4 * 2.5, -6 * 2.5, 5 * 2.5}));
    expectTruthFound(coarse(), resampled);
}

TEST_F(Poses, ModelFarFromTheMapComesBack) {
    writeTruth({20, 24, 18}, {2.75, 2.5, 3.0});
    // At the lower pole of the sampled sphere a half turn about y comes first.
    const Mat undone = transposed(rotationXYZ(0, pi, -pi / 3.0));
    startFrom(moved(m_model, undone, m_map.centre(), {40 * 2.75, -60 * 2.5, 80 * 3.0}));
    expectTruthFound(coarse(), resampled);
}

TEST_F(Poses, ModelTurnedBySampledRotationComesBackWithoutPadding) {
    writeTruth({20, 24, 18}, {2.5, 2.5, 2.5});
    const Mat undone = transposed(rotationXYZ(0, 0, -120.0 * pi / 180.0));
    startFrom(moved(m_model, undone, m_map.centre(), {-7 * 2.5, 9 * 2.5, -3 * 2.5}));
    expectTruthFound(coarse({"--nopadding"}), resampled);
}

TEST_F(Poses, ArbitraryPlaceIsFoundWithinTheStep) {
    writeTruth({20, 24, 18}, {2.5, 2.5, 2.5});
    startFrom(moved(m_model, rotationXYZ(0.9, -0.5, 2.2), m_map.centre(), {13.7, -8.3, 21.1}));
    const double step = 40.0;
    ASSERT_EQ(fit({"--nthread", "2", "--nsolutions", "3", "--dangle", "40"}).status, 0);
    // The nearest sampled rotation is less than a step away, the nearest node less than half a cell's
    // diagonal.
    const double turn = 2.0 * std::sin(0.5 * step * pi / 180.0) * radiusOfGyration(m_truth);
    const double cell = 0.5 * std::sqrt(3.0) * 2.5;
    const double rigid = distanceOfBest("Rigid_solution.pdb");
    EXPECT_LE(rigid, turn + cell);
    EXPECT_LE(distanceOfBest("Solution.pdb"), rigid);
}

} // namespace
