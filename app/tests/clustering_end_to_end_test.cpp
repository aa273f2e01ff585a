// SPDX-License-Identifier: GPL-3.0-or-later
// Runs that reduce their poses to mutually distant ones.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "app/tests/RunFixture.h"
#include "app/tests/solutionFile.h"

namespace {

using PoseList = std::vector<WrittenPose>;

constexpr double printedDigits = 0.0011; ///< angstrom: what three printed decimals leave of a distance

const char* const stageTitle = " Clustering the Solutions ";

double separation(const WrittenPose& a, const WrittenPose& b) {
    return rmsd(a.positions, b.positions);
}

/// The best pose, then each that lies no nearer than the threshold to all before, up to the capacity.
PoseList plainLoop(const PoseList& poses, double threshold, std::size_t capacity) {
    PoseList kept;
    for (const WrittenPose& pose : poses) {
        const bool isFar = std::all_of(kept.begin(), kept.end(), [&](const WrittenPose& other) {
            return separation(pose, other) >= threshold;
        });
        if (isFar && kept.size() < capacity) {
            kept.push_back(pose);
        }
    }
    return kept;
}

void expectSamePoses(const PoseList& actual, const PoseList& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t n = 0; n < actual.size(); ++n) {
        EXPECT_EQ(actual[n].score(), expected[n].score()) << n;
        EXPECT_EQ(actual[n].atomLines, expected[n].atomLines) << n;
    }
}

/// As a stream writes it.
std::string formatted(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

class Clustering : public RunFixture {
protected:
    Clustering() { writeInputs(); }

    /// The poses of a run of 72 rotations and these options, as scanned.
    PoseList scanned(const Arguments& options) {
        Arguments all = {"--nthread", "1", "--dangle", "60"};
        all.insert(all.end(), options.begin(), options.end());
        m_result = fit(all);
        EXPECT_EQ(m_result.status, 0) << m_result.err;
        return readPoses(read("Rigid_solution.pdb"));
    }

    PoseList refined() const { return readPoses(read("Solution.pdb")); }

    /// The options in the last record of the run, from --dangle on.
    std::string logged() const {
        const std::string log = read("log.txt");
        return log.substr(log.rfind(" --dangle"));
    }

    RunResult m_result;
};

TEST_F(Clustering, NClustersTimesNSolutionsPosesAreKeptAndNClustersRefined) {
    constexpr double threshold = 4.0;
    const PoseList ten = scanned({"--nsolutions", "10"});
    ASSERT_EQ(ten.size(), 10U);
    // The second cluster starts behind the fifth pose, so that it shows how many poses were kept.
    ASSERT_EQ(plainLoop({ten.begin(), ten.begin() + 5}, threshold, 2).size(), 1U);
    ASSERT_EQ(plainLoop(ten, threshold, 2).size(), 2U);

    const PoseList poses = scanned({"--nsolutions", "5", "--nclusters", "2", "--clusterThreshold", "4"});
    expectSamePoses(poses, plainLoop(ten, threshold, 2));
    EXPECT_EQ(refined().size(), 2U);
    for (const WrittenPose& pose : refined()) {
        EXPECT_GE(pose.flexScore(), pose.score());
    }
    EXPECT_EQ(logged(),
              " --dangle 60 --clustering  --clusterThreshold 4 --nclusters 2 --nsolutions 10 --odir ./\n\n");
}

TEST_F(Clustering, SwitchAloneGivesTenClustersOfTenThousandPoses) {
    const double radius = radiusOfGyration(positionsOf(m_model));
    const PoseList thousand = scanned({"--nsolutions", "1000"});
    const PoseList poses = scanned({"--clustering"});
    EXPECT_EQ(poses.size(), 10U);
    expectSamePoses(poses, plainLoop(thousand, radius, 10));
    EXPECT_EQ(refined().size(), 10U);
    EXPECT_EQ(logged(), " --dangle 60 --clustering  --clusterThreshold " + formatted(radius) +
                            " --nclusters 10 --nsolutions 10000 --odir ./\n\n");

    // Clusters so wide that a thousand poses do not fill them.
    const std::size_t ofThousand = plainLoop(thousand, 12.0, 10).size();
    ASSERT_LT(ofThousand, 10U);
    EXPECT_GT(scanned({"--clustering", "--clusterThreshold", "12"}).size(), ofThousand);
}

TEST_F(Clustering, NClustersAloneTakesTheRadiusOfGyrationForTheThreshold) {
    const PoseList thousand = scanned({"--nsolutions", "1000"});
    expectSamePoses(scanned({"--nclusters", "3"}),
                    plainLoop(thousand, radiusOfGyration(positionsOf(m_model)), 3));
    EXPECT_TRUE(contains(logged(), " --nclusters 3 --nsolutions 3000 "));
}

TEST_F(Clustering, ThresholdAloneTurnsItOn) {
    const PoseList thousand = scanned({"--nsolutions", "1000"});
    expectSamePoses(scanned({"--clusterThreshold", "6.5"}), plainLoop(thousand, 6.5, 10));
    EXPECT_TRUE(
        contains(logged(), " --clustering  --clusterThreshold 6.5 --nclusters 10 --nsolutions 10000 "));
}

TEST_F(Clustering, AllThreeOptionsTogether) {
    const PoseList kept = scanned({"--nsolutions", "240"});
    const PoseList poses =
        scanned({"--clustering", "--nclusters", "40", "--clusterThreshold", "3", "--nsolutions", "6"});
    expectSamePoses(poses, plainLoop(kept, 3.0, 40));
    EXPECT_GT(poses.size(), 10U);
    EXPECT_EQ(refined().size(), poses.size());
    EXPECT_TRUE(contains(logged(), " --clustering  --clusterThreshold 3 --nclusters 40 --nsolutions 240 "));
}

TEST_F(Clustering, NoTwoWrittenPosesLieNearerThanTheThreshold) {
    for (const double threshold : {3.0, 6.0, 10.0}) {
        const PoseList poses =
            scanned({"--nclusters", "60", "--nsolutions", "50", "--clusterThreshold", formatted(threshold)});
        EXPECT_GT(poses.size(), 3U);
        for (std::size_t a = 0; a < poses.size(); ++a) {
            for (std::size_t b = a + 1; b < poses.size(); ++b) {
                EXPECT_TRUE(poses[a].score() == poses[b].score() ||
                            separation(poses[a], poses[b]) >= threshold - printedDigits)
                    << a << " and " << b << " at " << threshold;
            }
        }
    }
}

TEST_F(Clustering, FewerPosesThanClustersAreAllRefined) {
    const PoseList poses = scanned({"--nsolutions", "1", "--nclusters", "30", "--clusterThreshold", "4"});
    EXPECT_GT(poses.size(), 1U);
    EXPECT_LT(poses.size(), 30U);
    EXPECT_EQ(refined().size(), poses.size());
    // The refinement's bar counts them.
    EXPECT_TRUE(contains(m_result.out, "] 100 %\rnon-convex problem"));
}

TEST_F(Clustering, OneClusterIsTheBestPose) {
    expectSamePoses(scanned({"--nclusters", "1"}), scanned({"--nsolutions", "1"}));
}

TEST_F(Clustering, ThresholdOfZeroMergesNothing) {
    expectSamePoses(scanned({"--nclusters", "6", "--nsolutions", "3", "--clusterThreshold", "0"}),
                    scanned({"--nsolutions", "6"}));
}

TEST_F(Clustering, VeryLargeThresholdLeavesOnePose) {
    EXPECT_EQ(scanned({"--nclusters", "6", "--clusterThreshold", "1e6"}).size(), 1U);
}

TEST_F(Clustering, NumberOfWorkersMakesNoDifferenceToTheClusters) {
    const Arguments options = {"--dangle", "60", "--nclusters", "8", "--nsolutions", "100"};
    Arguments one = options;
    one.insert(one.end(), {"--nthread", "1", "--odir", "one"});
    Arguments three = options;
    three.insert(three.end(), {"--nthread", "3", "--odir", "three"});
    ASSERT_EQ(fit(one).status, 0);
    ASSERT_EQ(fit(three).status, 0);
    EXPECT_EQ(read("one/Solution.pdb"), read("three/Solution.pdb"));
}

TEST_F(Clustering, TitleAndRowStandBehindTheMergeAndOnlyThen) {
    scanned({"--nclusters", "2", "--nsolutions", "5"});
    const std::string& out = m_result.out;
    const std::size_t title = out.find(stageTitle);
    ASSERT_NE(title, std::string::npos);
    EXPECT_LT(out.find(" Merging 1 local conformations"), title);
    EXPECT_GT(out.find(" Saving solutions "), title);
    const std::vector<std::string> lines = linesOf(out);
    const auto row = std::find_if(lines.begin(), lines.end(), [](const std::string& line) {
        return line.rfind(stageTitle, 0) == 0 && contains(line, "... : ");
    });
    ASSERT_NE(row, lines.end());
    EXPECT_EQ((row - 1)->rfind(" Merging 1 local conformations", 0), 0U);
    EXPECT_EQ((row + 1)->rfind(" Saving solutions ", 0), 0U);

    scanned({"--nsolutions", "5"});
    EXPECT_FALSE(contains(m_result.out, stageTitle));
    EXPECT_FALSE(contains(logged(), "cluster"));
}

} // namespace
