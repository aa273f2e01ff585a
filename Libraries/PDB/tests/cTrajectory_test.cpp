// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PDB/cTrajectory.h"

namespace {

using Frame = cTrajectory::Frame;

const std::vector<double> testMasses = {12.0, 16.0, 1.5};

/// Three atoms, five frames without any symmetry.
std::vector<Frame> someFrames() {
    std::vector<Frame> frames;
    for (int f = 0; f < 5; ++f) {
        Frame frame(3);
        for (std::size_t i = 0; i < 9; ++i) {
            frame[i / 3][i % 3] = 5.0 * std::sin(1.0 + 3.7 * f + 1.3 * static_cast<double>(i * i));
        }
        frames.push_back(frame);
    }
    return frames;
}

cTrajectory someTrajectory() {
    cTrajectory trajectory;
    for (const Frame& frame : someFrames()) {
        trajectory.appendFrame(frame);
    }
    return trajectory;
}

template <typename Exception, typename Call>
std::string messageOf(Call call) {
    try {
        call();
    } catch (const Exception& e) {
        return e.what();
    }
    return "no exception";
}

} // namespace

TEST(Trajectory, GivesItsFramesBack) {
    const cTrajectory trajectory = someTrajectory();
    EXPECT_EQ(trajectory.getFrameCount(), 5U);
    EXPECT_EQ(trajectory.getAtomCount(), 3U);
    EXPECT_EQ(trajectory.getFrame(3), someFrames()[3]);
    EXPECT_THROW(trajectory.getFrame(5), std::out_of_range);
}

TEST(Trajectory, WithoutFramesHasNoAtomsAndNoAverage) {
    cTrajectory trajectory;
    EXPECT_EQ(trajectory.getFrameCount(), 0U);
    EXPECT_EQ(trajectory.getAtomCount(), 0U);
    EXPECT_THROW(trajectory.getFrame(0), std::out_of_range);
    EXPECT_THROW(trajectory.getAverageFrame(), std::logic_error);
    EXPECT_THROW(trajectory.getCovariance({}), std::logic_error);
}

TEST(Trajectory, RefusesAFrameOfAnotherNumberOfAtoms) {
    cTrajectory trajectory = someTrajectory();
    EXPECT_EQ(messageOf<std::length_error>([&] { trajectory.appendFrame(Frame(4)); }),
              "cTrajectory: frame 5 has 4 atoms, but the first frame has 3");
    EXPECT_EQ(trajectory.getFrameCount(), 5U);
    EXPECT_EQ(messageOf<std::invalid_argument>([] { cTrajectory().appendFrame(Frame()); }),
              "cTrajectory: frame 0 has no atoms");
}

TEST(Trajectory, KeepsTheAtomsOfTheFirstModel) {
    std::vector<cPDBAtom> atoms(2);
    atoms[0].m_position = cVector3(1, 2, 3);
    atoms[1].m_mass = 7.0F;
    cTrajectory trajectory;
    trajectory.appendModel(atoms);
    atoms[0].m_position = cVector3(4, 5, 6);
    atoms[1].m_mass = 8.0F;
    trajectory.appendModel(atoms);
    ASSERT_EQ(trajectory.getFrameCount(), 2U);
    EXPECT_EQ(trajectory.getFrame(1), (Frame{{4, 5, 6}, {0, 0, 0}}));
    ASSERT_EQ(trajectory.getAtoms().size(), 2U);
    EXPECT_EQ(trajectory.getAtoms()[0].m_position.z, 3);
    EXPECT_EQ(trajectory.getAtoms()[1].m_mass, 7.0F);
    EXPECT_TRUE(someTrajectory().getAtoms().empty());
}

TEST(Trajectory, ARefusedModelLeavesNoAtoms) {
    cTrajectory trajectory = someTrajectory();
    EXPECT_THROW(trajectory.appendModel(std::vector<cPDBAtom>(2)), std::length_error);
    EXPECT_TRUE(trajectory.getAtoms().empty());
}

TEST(Trajectory, AverageIsTheMeanOfTheFrames) {
    const Frame average = someTrajectory().getAverageFrame();
    ASSERT_EQ(average.size(), 3U);
    for (std::size_t i = 0; i < 9; ++i) {
        double sum = 0;
        for (const Frame& frame : someFrames()) {
            sum += frame[i / 3][i % 3];
        }
        EXPECT_DOUBLE_EQ(average[i / 3][i % 3], sum / 5.0);
    }
}

TEST(Trajectory, CovarianceIsTheDirectMassWeightedSum) {
    cTrajectory trajectory = someTrajectory();
    const Frame average = trajectory.getAverageFrame();
    const auto covariance = trajectory.getCovariance(testMasses);
    ASSERT_EQ(covariance->n_rows, 9U);
    ASSERT_EQ(covariance->n_cols, 9U);
    for (std::size_t i = 0; i < 9; ++i) {
        for (std::size_t j = 0; j < 9; ++j) {
            double sum = 0;
            for (const Frame& frame : someFrames()) {
                sum += (frame[i / 3][i % 3] - average[i / 3][i % 3]) *
                       (frame[j / 3][j % 3] - average[j / 3][j % 3]);
            }
            // a few roundings of terms below 16 * 10 * 10
            EXPECT_NEAR((*covariance)(i, j), std::sqrt(testMasses[i / 3] * testMasses[j / 3]) * sum / 5.0,
                        1e-11);
            EXPECT_EQ((*covariance)(i, j), (*covariance)(j, i));
        }
    }
}

TEST(Trajectory, CovarianceOfOneFrameIsZero) {
    cTrajectory trajectory;
    trajectory.appendFrame(someFrames()[0]);
    EXPECT_EQ(arma::abs(*trajectory.getCovariance(testMasses)).max(), 0.0);
}

TEST(Trajectory, CovarianceIsKeptUntilFramesOrMassesChange) {
    cTrajectory trajectory = someTrajectory();
    const auto covariance = trajectory.getCovariance(testMasses);
    const arma::Mat<double> before = *covariance;
    EXPECT_EQ(trajectory.getCovariance(testMasses), covariance);

    const auto ofUnitMasses = trajectory.getCovariance({1.0, 1.0, 1.0});
    EXPECT_NEAR((*ofUnitMasses)(0, 3) * std::sqrt(12.0 * 16.0), before(0, 3), 1e-11);
    trajectory.appendFrame(Frame(3));
    EXPECT_GT(arma::abs(*trajectory.getCovariance({1.0, 1.0, 1.0}) - *ofUnitMasses).max(), 1e-3);
    EXPECT_EQ(arma::abs(*covariance - before).max(), 0.0);
}

TEST(Trajectory, CovarianceWantsAMassPerAtom) {
    cTrajectory trajectory = someTrajectory();
    EXPECT_EQ(messageOf<std::length_error>([&] {
                  trajectory.getCovariance({1.0, 1.0});
              }),
              "cTrajectory: 2 masses, but 3 atoms");
}
