// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Search/ExhaustiveSearch.h"

namespace {

constexpr double cell = 3.0;
constexpr double width = 3.0; ///< of the atoms, angstrom

/// Atoms without symmetry, a map summed from a Gaussian for each, and the atoms elsewhere as the model:
/// turned back by a rotation of the scan and shifted.
struct Problem {
    explicit Problem(const Rotation& truth) {
        const std::array<unsigned int, 3> size = {18, 20, 16};
        const cVector3 first(-20.0, 8.0, 3.0);
        const cVector3 d(cell, cell, cell);
        const cVector3 low = first + d; // where readers put the node (0, 0, 0)
        map.grid = cGrid(cBBox(low, low + cVector3(17 * cell, 19 * cell, 15 * cell)), size.data());
        const cVector3 middle = map.grid.m_box.center() - d;
        std::mt19937 random(3);
        std::normal_distribution<double> normal;
        const cMatrix33 back = cMatrix33::rotationXYZ(truth[0], truth[1], truth[2]).getTranspose();
        for (int a = 0; a < 40; ++a) {
            home.push_back(middle +
                           cVector3(7.0 * normal(random), 4.0 * normal(random) + 2.0, 2.5 * normal(random)));
            cPDBAtom atom;
            atom.m_position = back * (home.back() - middle) + middle + cVector3(31.0, -12.5, 7.25);
            model.atoms.push_back(atom);
        }
        model.masses.assign(home.size(), 12.0);
        for (std::size_t a = 0; a < home.size(); ++a) {
            model.blockIds.push_back(static_cast<int>(a / 5));
            model.atoms[a].m_mass = 12.0F;
        }
        for (unsigned int i = 0; i < size[0]; ++i) {
            for (unsigned int j = 0; j < size[1]; ++j) {
                for (unsigned int k = 0; k < size[2]; ++k) {
                    map.values.push_back(densityAt(first + cVector3(i * cell, j * cell, k * cell)));
                }
            }
        }
        settings.sigma = width;
        settings.step = 60.0;
        settings.solutions = 5;
        settings.filterSigmas = -3.0;
    }

    double densityAt(const cVector3& place) const {
        double sum = 0.0;
        for (const cVector3& atom : home) {
            sum += std::exp(-(place - atom).norm2() / (2.0 * width * width));
        }
        return sum;
    }

    double rmsdOf(const PoseMove& move) const {
        double sum = 0.0;
        for (std::size_t a = 0; a < home.size(); ++a) {
            sum += (move(model.atoms[a].m_position, cVector3(0, 0, 0)) - home[a]).norm2();
        }
        return std::sqrt(sum / static_cast<double>(home.size()));
    }

    SearchMap map;
    SearchModel model;
    FitSettings settings;
    std::vector<cVector3> home;
};

Problem makeProblem() {
    const std::vector<Rotation> all = scanRotations(60.0);
    return Problem(all[all.size() / 3]);
}

void expectSame(const std::vector<PoseRecord>& a, const std::vector<PoseRecord>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t n = 0; n < a.size(); ++n) {
        EXPECT_EQ(a[n].score, b[n].score);
        EXPECT_EQ(a[n].refinedScore, b[n].refinedScore);
        EXPECT_EQ(a[n].angles, b[n].angles);
        EXPECT_EQ(a[n].dTau.x, b[n].dTau.x);
        EXPECT_EQ(a[n].dRotation.z, b[n].dRotation.z);
    }
}

TEST(ExhaustiveSearch, BringsAModelHome) {
    const Problem problem = makeProblem();
    ExhaustiveSearch search(problem.map, problem.model, problem.settings);
    const std::vector<PoseRecord> poses = search.run();
    ASSERT_EQ(poses.size(), 5U);
    EXPECT_LT(problem.rmsdOf(search.frame().place(poses.front())), 0.5);
    EXPECT_GT(poses[0].score, poses[1].score);
    EXPECT_EQ(search.displacements(poses[0]), std::vector<double>(3 * problem.home.size(), 0.0));
}

TEST(ExhaustiveSearch, PrintsNothingAndGivesTheSameTwiceInOneProcess) {
    Problem problem = makeProblem();
    problem.settings.step = 120.0;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    for (const bool multistep : {false, true}) {
        problem.settings.multistep = multistep;
        problem.settings.modes = multistep ? 1 : 0;
        problem.settings.cutoff = 30.0;
        ExhaustiveSearch first(problem.map, problem.model, problem.settings);
        ExhaustiveSearch second(problem.map, problem.model, problem.settings);
        const std::vector<PoseRecord> poses = first.run();
        expectSame(poses, second.run());
        expectSame(poses, first.run());
        EXPECT_EQ(poses.front().amplitudes.size(), problem.settings.modes);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(ExhaustiveSearch, WorkersOfSeveralProcessesGiveThePosesOfOne) {
    Problem problem = makeProblem();
    problem.settings.workers = 3;
    ExhaustiveSearch whole(problem.map, problem.model, problem.settings);
    const std::vector<PoseRecord> expected = whole.run();
    ExhaustiveSearch one(problem.map, problem.model, problem.settings);
    ExhaustiveSearch two(problem.map, problem.model, problem.settings);
    std::vector<CandidateSet> sets = one.scan(one.rotations(), 0, 2, 3);
    for (CandidateSet& set : two.scan(two.rotations(), 2, 1, 3)) {
        sets.push_back(std::move(set));
    }
    // The one that merges need not be one that has scanned.
    ExhaustiveSearch collector(problem.map, problem.model, problem.settings);
    expectSame(collector.finish(sets), expected);
    expectSame(one.finish(std::move(sets)), expected);
    EXPECT_THROW(collector.finish({}), std::invalid_argument);
}

TEST(ExhaustiveSearch, ClustersWhereAsked) {
    Problem problem = makeProblem();
    problem.settings.clustering = true;
    problem.settings.clusters = 3;
    problem.settings.clusterThreshold = 6.0;
    ExhaustiveSearch search(problem.map, problem.model, problem.settings);
    const std::vector<PoseRecord> poses = search.run();
    ASSERT_EQ(poses.size(), 3U);
    EXPECT_LT(problem.rmsdOf(search.frame().place(poses.front())), 0.5);
}

class Watcher : public SearchObserver {
public:
    void stageBegins(const std::string& stage, std::size_t total) override {
        m_stages.push_back(stage);
        m_total = total;
        m_done = 0;
    }
    void progress(std::size_t done) override {
        EXPECT_EQ(done, m_done + 1);
        m_done = done;
        if (done == m_total) {
            ++m_complete;
        }
    }
    bool isCancelled() override { return m_done >= m_limit; }

    std::vector<std::string> m_stages;
    std::size_t m_total = 0;
    std::size_t m_done = 0;
    std::size_t m_complete = 0;
    std::size_t m_limit = 1000000;
};

TEST(ExhaustiveSearch, TellsItsProgressTaskByTask) {
    Problem problem = makeProblem();
    problem.settings.workers = 2;
    Watcher watcher;
    ExhaustiveSearch(problem.map, problem.model, problem.settings).run(&watcher);
    EXPECT_EQ(watcher.m_stages, (std::vector<std::string>{"scan", "refinement"}));
    EXPECT_EQ(watcher.m_complete, 2U);
    EXPECT_EQ(watcher.m_total, 5U);
}

TEST(ExhaustiveSearch, EndsWhenItIsCancelled) {
    Problem problem = makeProblem();
    problem.settings.workers = 2;
    Watcher watcher;
    watcher.m_limit = 7;
    ExhaustiveSearch search(problem.map, problem.model, problem.settings);
    EXPECT_THROW(search.run(&watcher), SearchCancelled);
    EXPECT_LE(watcher.m_done, 8U); // the other worker's step may end, too
    EXPECT_EQ(search.run().size(), 5U);
}

TEST(ExhaustiveSearch, RefusesInputsThatNoSearchCanBeMadeWith) {
    const Problem problem = makeProblem();
    SearchMap shortMap = problem.map;
    shortMap.values.pop_back();
    EXPECT_THROW(ExhaustiveSearch(shortMap, problem.model, problem.settings), std::invalid_argument);
    SearchMap odd = problem.map;
    odd.values[5] = std::nan("");
    EXPECT_THROW(ExhaustiveSearch(odd, problem.model, problem.settings), std::invalid_argument);
    EXPECT_THROW(ExhaustiveSearch(problem.map, SearchModel(), problem.settings), std::invalid_argument);
    FitSettings settings = problem.settings;
    settings.step = -5.0;
    EXPECT_THROW(ExhaustiveSearch(problem.map, problem.model, settings), SettingError);
    settings = problem.settings;
    settings.modes = 2;
    settings.cutoff = 1e-3;
    EXPECT_THROW(ExhaustiveSearch(problem.map, problem.model, settings), std::invalid_argument);
}

} // namespace
