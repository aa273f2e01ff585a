// SPDX-License-Identifier: GPL-3.0-or-later
// Fits with normal modes: whether a bent model finds its way into the map of its bent form.
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <armadillo>

#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/NeighbourList.h"
#include "PDB/loadFromPDB.h"
#include "app/tests/RunFixture.h"
#include "app/tests/solutionFile.h"

namespace {

constexpr double cutoff = 10.0;   ///< angstrom, the default
constexpr double stiffness = 1.0; ///< the default
constexpr unsigned int modeCount = 2;

/// By which the two lowest modes bend the model, as mass-weighted RMSD in angstrom.
constexpr double firstRmsd = 1.2;
constexpr double secondRmsd = -0.9;

class FlexibleFit : public RunFixture {
protected:
    /// A chain as the model, and the map of the chain bent along its own modes.
    FlexibleFit() {
        TestMap map;
        map.size = {22, 24, 20};
        m_reference = makeBentChain(map.centre() + Vec{0.6, -0.9, 0.4});
        write("model.pdb", pdbText(m_reference));
        computeModes();
        m_amplitudes = std::sqrt(m_totalMass) * arma::Col<double>{firstRmsd, secondRmsd};
        m_bent = m_reference;
        const arma::Col<double> moves = m_modes * m_amplitudes;
        for (std::size_t a = 0; a < m_bent.size(); ++a) {
            for (std::size_t c = 0; c < 3; ++c) {
                m_bent[a].position[c] += moves(3 * a + c);
            }
        }
        writeInputs(m_bent, simulate(map, m_bent, map.largestVoxel()));
        write("model.pdb", pdbText(m_reference));
    }

    /// The modes of model.pdb as a run computes them.
    void computeModes() {
        std::vector<cPDBAtom> atoms;
        std::vector<int> blocks;
        loadFromPDB((m_directory / "work" / "model.pdb").c_str(), atoms, m_masses, blocks);
        std::vector<std::array<double, 3>> positions;
        for (const cPDBAtom& atom : atoms) {
            positions.push_back({atom.m_position.x, atom.m_position.y, atom.m_position.z});
        }
        NeighbourList<std::array<double, 3>> pairs;
        for (std::size_t i = 0; i < positions.size(); ++i) {
            for (std::size_t j = 0; j < positions.size(); ++j) {
                const double d2 = squaredNorm(positions[i] - positions[j]);
                if (i != j && d2 < cutoff * cutoff) {
                    pairs.push_back(
                        {positions[i], positions[j], static_cast<int>(i), static_cast<int>(j), d2});
                }
            }
        }
        const auto network = std::make_shared<System>(pairs, m_masses, stiffness, nullptr);
        m_modes = NormalModeEngine(network, positions, m_masses, blocks, modeCount, 1.0, nullptr).m_modes;
        m_totalMass = 0.0;
        for (const double mass : m_masses) {
            m_totalMass += mass;
        }
    }

    std::vector<WrittenPose> posesWith(const Arguments& modes, const std::string& file = "Solution.pdb") {
        m_result = fit(coarse(modes));
        EXPECT_EQ(m_result.status, 0) << m_result.err;
        const std::vector<WrittenPose> poses = readPoses(read(file));
        EXPECT_EQ(poses.size(), 5u);
        return poses;
    }

    double distanceOfBest(const Arguments& modes) {
        return rmsd(positionsOf(m_bent), posesWith(modes).at(0).positions);
    }

    /// What the modes add to the place of each atom, 3N: what the rigid part of the pose leaves over.
    arma::Col<double> modeShare(const WrittenPose& pose) const {
        arma::Col<double> share(3 * m_reference.size());
        for (std::size_t a = 0; a < m_reference.size(); ++a) {
            const Vec left = pose.positions.at(a) - placed(pose, m_reference[a].position, m_map.centre());
            for (std::size_t c = 0; c < 3; ++c) {
                share(3 * a + c) = left[c];
            }
        }
        return share;
    }

    /// sum over atoms of m_a |u_a|^2
    double massWeighted(const arma::Col<double>& u) const {
        double sum = 0.0;
        for (std::size_t a = 0; a < m_masses.size(); ++a) {
            sum += m_masses[a] * arma::dot(u.subvec(3 * a, 3 * a + 2), u.subvec(3 * a, 3 * a + 2));
        }
        return sum;
    }

    /// The radius of the local solves as the report gives it.
    double reportedRadius() const {
        for (const std::string& line : linesOf(m_result.out)) {
            if (contains(line, " Trust Region Norm")) {
                return std::stod(line.substr(line.rfind(':') + 1));
            }
        }
        ADD_FAILURE() << "no radius in the report";
        return 0.0;
    }

    std::vector<TestAtom> m_reference;
    std::vector<TestAtom> m_bent;
    std::vector<double> m_masses;
    double m_totalMass = 0.0;
    arma::Mat<double> m_modes;
    arma::Col<double> m_amplitudes; ///< that bend the reference
    RunResult m_result;
};

const Arguments twoModes = {"--nmodes", "2", "--maxrmsd", "2"};

/// |d| of the local step of a pose: angstrom, radians and amplitudes alike.
double lengthOfStep(const WrittenPose& pose) {
    double sum = squaredNorm(pose.dTau()) + squaredNorm(pose.dR());
    for (const double amplitude : pose.eta()) {
        sum += amplitude * amplitude;
    }
    return std::sqrt(sum);
}

TEST_F(FlexibleFit, BentModelIsRecoveredBetterWithModesThanWithout) {
    const double bend = rmsd(positionsOf(m_bent), positionsOf(m_reference));
    ASSERT_NEAR(bend, std::hypot(firstRmsd, secondRmsd), 0.05);
    const double rigid = distanceOfBest({});
    const double flexible = distanceOfBest(twoModes);
    EXPECT_GT(rigid, 0.9 * bend); // no rigid motion undoes a mode
    EXPECT_LT(flexible, 0.4 * rigid);
}

TEST_F(FlexibleFit, MoreModesThanTheBendNeedsDoNoHarm) {
    EXPECT_LT(distanceOfBest({"--nmodes", "5", "--maxrmsd", "2"}), 0.4 * distanceOfBest({}));
}

TEST_F(FlexibleFit, BestPoseIsBentAlongTheModesOfTheBend) {
    const arma::Col<double> share = modeShare(posesWith(twoModes).at(0));
    arma::Col<double> weighted = share;
    for (std::size_t a = 0; a < m_masses.size(); ++a) {
        weighted.subvec(3 * a, 3 * a + 2) *= m_masses[a];
    }
    const arma::Col<double> found = m_modes.t() * weighted;
    // One step on a quadratic model goes most of the way, and not beyond.
    for (arma::uword m = 0; m < modeCount; ++m) {
        EXPECT_GT(found(m) / m_amplitudes(m), 0.5) << m;
        EXPECT_LT(found(m) / m_amplitudes(m), 1.1) << m;
    }
    // The eigenvalue solver stops at a hundredth, so that its modes depend on its starting vector to that
    // degree.
    EXPECT_LT(massWeighted(share - m_modes * found), 1e-3 * massWeighted(share));
}

/// The modes are orthonormal under the masses, whatever their signs.
TEST_F(FlexibleFit, Remark12CarriesTheAmplitudesThatTheAtomsMoveBy) {
    for (const WrittenPose& pose : posesWith(twoModes)) {
        ASSERT_EQ(pose.eta().size(), modeCount);
        const double amplitude = std::hypot(pose.eta()[0], pose.eta()[1]);
        EXPECT_GT(amplitude, 10.0);
        // Three printed decimals are at most 5e-4 of angstrom off per coordinate.
        const double printed = 5e-4 * std::sqrt(3.0 * m_totalMass);
        EXPECT_NEAR(std::sqrt(massWeighted(modeShare(pose))), amplitude, printed);
    }
}

TEST_F(FlexibleFit, Remark12HoldsOneZeroPerModeBeforeTheRefinement) {
    for (const WrittenPose& pose : posesWith(twoModes, "Rigid_solution.pdb")) {
        EXPECT_EQ(pose.eta(), std::vector<double>(modeCount, 0.0));
    }
}

TEST_F(FlexibleFit, EveryStepLiesInTheBallOfTheReportedRadius) {
    constexpr double printed = 1e-5; // of the radius: six digits in the report
    for (const char* maxRmsd : {"0", "0.5", "2"}) {
        const std::vector<WrittenPose> poses = posesWith({"--nmodes", "5", "--maxrmsd", maxRmsd});
        for (const WrittenPose& pose : poses) {
            EXPECT_LE(lengthOfStep(pose), reportedRadius() * (1.0 + printed)) << maxRmsd;
        }
    }
}

TEST_F(FlexibleFit, RadiusIsTheRootOfTheThreeSharesSquared) {
    // The rotation step of 60 degrees moves the atoms further than a voxel's diagonal, which caps its share.
    const double voxelDiagonal = 3.0 * 2.5 * 2.5;
    for (const double maxRmsd : {0.0, 0.5, 2.0}) {
        posesWith({"--nmodes", "2", "--maxrmsd", std::to_string(maxRmsd)});
        const double expected = std::sqrt(2.0 * voxelDiagonal + maxRmsd * maxRmsd * m_totalMass);
        EXPECT_NEAR(reportedRadius(), expected, 1e-5 * expected);
    }
}

/// One ball for all: amplitudes get what voxel and rotation step allow, some 6 units, which is 0.1 angstrom.
TEST_F(FlexibleFit, ModesHardlyMoveWithoutMaxrmsd) {
    for (const WrittenPose& pose : posesWith({"--nmodes", "2"})) {
        EXPECT_NEAR(lengthOfStep(pose), reportedRadius(), 1e-4);
        EXPECT_LT(std::sqrt(massWeighted(modeShare(pose)) / m_totalMass), 0.15);
    }
}

} // namespace
