// SPDX-License-Identifier: GPL-3.0-or-later
// The scan by local correlation behind the interface of scans, and the whole search with it.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/LocalScan.h"
#include "CrossCorrelation/tests/localReference.h"
#include "CrossCorrelation/tests/testModel.h"
#include "Search/ExhaustiveSearch.h"
#include "Search/LocalScanMethod.h"
#include "Search/ScanShare.h"
#include "Search/tests/scanScene.h"

namespace {

using Candidate = HexaustFlexibleFitConformation;

constexpr double floorOfTests = 0.05;

struct TestScene : ScanScene {
    explicit TestScene(unsigned int modes = 0) : ScanScene(modes) { values = noise(map.getTotalSize(), 23); }
};

/// The sets of some workers, each with its share of the list.
std::vector<CandidateSet> scan(ScanMethod& method, const std::vector<Rotation>& list, std::size_t workers,
                               std::size_t capacity) {
    std::vector<double> buffer;
    const std::size_t perWorker = method.setsPerWorker();
    std::vector<CandidateSet> sets(workers * perWorker, CandidateSet(capacity));
    for (std::size_t i = 0; i < workers; ++i) {
        const std::unique_ptr<ScanWorker> worker = method.makeWorker(buffer);
        method.makePattern(*worker);
        const ScanShare share = ScanShare::of(i, workers, list.size());
        for (std::size_t k = share.first; k < share.first + share.count; ++k) {
            worker->stepAll(list[k], &sets[i * perWorker]);
        }
    }
    return sets;
}

/// The merged candidates of the score and of the overlap.
std::array<std::vector<Candidate>, 2> mergedScan(ScanMethod& method, const std::vector<Rotation>& list,
                                                 std::size_t workers, std::size_t capacity) {
    std::vector<CandidateSet> sets = scan(method, list, workers, capacity);
    std::vector<CandidateSet> byScore = takeSetsOfScore(sets, 2, 0);
    std::vector<CandidateSet> byOverlap = takeSetsOfScore(sets, 2, 1);
    return {mergeCandidates(byScore), mergeCandidates(byOverlap)};
}

void expectSame(const std::vector<Candidate>& a, const std::vector<Candidate>& b) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t n = 0; n < a.size(); ++n) {
        EXPECT_EQ(a[n].m_rigidScore, b[n].m_rigidScore);
        EXPECT_EQ(a[n].m_alpha, b[n].m_alpha);
        EXPECT_EQ(a[n].m_i, b[n].m_i);
        EXPECT_EQ(a[n].m_j, b[n].m_j);
        EXPECT_EQ(a[n].m_k, b[n].m_k);
    }
}

template <class Method>
void expectSameOfAnyDealing() {
    const TestScene test;
    const std::vector<Rotation> list = randomRotations(11);
    Method method(test.scene(), floorOfTests);
    const auto one = mergedScan(method, list, 1, 40);
    ASSERT_EQ(one[0].size(), 40U);
    ASSERT_EQ(one[1].size(), 40U);
    EXPECT_NE(one[0].front().m_rigidScore, one[1].front().m_rigidScore);
    for (const std::size_t workers : {1U, 2U, 3U, 5U, 16U}) {
        Method again(test.scene(), floorOfTests);
        const auto many = mergedScan(again, list, workers, 40);
        expectSame(many[0], one[0]);
        expectSame(many[1], one[1]);
    }
}

TEST(LocalScanMethod, AnyDealingOfTheListGivesTheSamePosesOfBothScores) {
    expectSameOfAnyDealing<LocalScanMethod>();
}

TEST(LocalScanMethod, AnyDealingOfTheListGivesTheSamePosesInSinglePrecision) {
    expectSameOfAnyDealing<SingleLocalScanMethod>();
}

TEST(LocalScanMethod, TheFilterOfTheSceneIsNotAskedFor) {
    const TestScene test;
    SearchScene scene = test.scene();
    LocalScanMethod method(scene, floorOfTests);
    const auto plain = mergedScan(method, randomRotations(3), 1, 20);
    scene.filterSigmas = 3.0;
    LocalScanMethod filtered(scene, floorOfTests);
    const auto same = mergedScan(filtered, randomRotations(3), 1, 20);
    expectSame(same[0], plain[0]);
    expectSame(same[1], plain[1]);
}

TEST(LocalScanMethod, OneSetTakesTheLocalScoreAlone) {
    const TestScene test;
    LocalScanMethod method(test.scene(), floorOfTests);
    std::vector<double> buffer;
    const auto worker = method.makeWorker(buffer);
    ASSERT_NE(method.makePattern(*worker), nullptr);
    EXPECT_EQ(method.makePattern(*worker), nullptr);
    CandidateSet set(30);
    worker->step(randomRotations(1).front(), set);
    LocalScanMethod other(test.scene(), floorOfTests);
    expectSame(set.toStdVector(), mergedScan(other, randomRotations(1), 1, 30)[0]);
}

TEST(LocalScanMethod, DerivativesAreThoseOfTheMapAsItIsWithTheDensity) {
    const TestScene test(2);
    LocalScanMethod method(test.scene(), floorOfTests);
    auto [byScore, byOverlap] = mergedScan(method, {{0.0, 0.0, 0.0}}, 1, 3);
    Candidate& pose = byScore.front();
    method.complete(pose);
    ASSERT_EQ(pose.m_gradient.n_elem, 8U);
    // The overlap of the rotated map with the density's gradient by the engine.
    std::vector<double> density(test.padded.getTotalSize());
    std::vector<std::vector<double>> gradient(8, density);
    method.scene().modelDensity()->evalRigidFlex(density, gradient);
    std::vector<double> target(density.size(), 0.0);
    const Rotation angles{0.0, 0.0, 0.0};
    MapRotator(test.values, test.map, 0.0).rotate(angles, [&](std::size_t i, std::size_t j) {
        return &target[(i * test.padded.m_size[1] + j) * test.padded.m_size[2]];
    });
    std::vector<double> sums(density.size());
    for (arma::uword d = 0; d < 8; ++d) {
        dft::RealCorssCorelationEngine(test.padded, target.data(), gradient[d].data(), sums.data())
            .execute(true, true);
        EXPECT_NEAR(pose.m_gradient(d), sums[test.padded.indexToFlatIndex(pose.m_i, pose.m_j, pose.m_k)],
                    1e-12);
    }
    EXPECT_EQ(pose.m_hessian.n_rows, 8U);
    EXPECT_EQ(pose.m_eta.n_elem, 2U);
}

TEST(LocalScanMethod, ARefinedPoseKeepsTheScoreOfItsNode) {
    const TestScene test;
    LocalScanMethod method(test.scene(), floorOfTests);
    auto poses = mergedScan(method, randomRotations(4), 2, 10);
    std::size_t moved = 0;
    for (auto& list : poses) {
        for (Candidate& pose : list) {
            const double score = pose.m_rigidScore;
            moved += method.refine(pose) ? 1 : 0;
            EXPECT_EQ(pose.m_rigidScore, score);
            EXPECT_EQ(pose.m_flexScore, score);
        }
    }
    EXPECT_GT(moved, 0U);
}

TEST(LocalScanMethod, MemoryGrowsByThreePaddedMapsAndTwoSetsAWorker) {
    const TestScene test;
    const double padded = 8.0 * test.padded.getTotalSize();
    const LocalScanMethod method(test.scene(), floorOfTests);
    EXPECT_DOUBLE_EQ(method.bytesNeeded(5, 10, 7) - method.bytesNeeded(4, 10, 7), 3.0 * padded);
    FitSettings settings;
    settings.step = 60.0;
    settings.solutions = 10;
    const auto plain = ScanMethod::choose(test.scene(), false);
    const auto candidates = [&](const ScanMethod& of) {
        const double rotationCount = settings.rotationCount() + 1.0;
        return scanBytes(of, settings, 3) - of.bytesNeeded(3, 10, rotationCount) - 48.0 * rotationCount;
    };
    EXPECT_DOUBLE_EQ(candidates(method), 2.0 * candidates(*plain));
}

TEST(LocalScanMethod, SinglePrecisionTakesHalfTheSpectra) {
    const TestScene test;
    const double padded = 8.0 * test.padded.getTotalSize();
    const LocalScanMethod method(test.scene(), floorOfTests);
    const SingleLocalScanMethod single(test.scene(), floorOfTests);
    EXPECT_DOUBLE_EQ(single.bytesNeeded(5, 10, 7) - single.bytesNeeded(4, 10, 7), 1.5 * padded);
    EXPECT_DOUBLE_EQ(method.bytesNeeded(4, 10, 7) - single.bytesNeeded(4, 10, 7), (1.5 * 4 + 1.0) * padded);
}

TEST(LocalScanMethod, IsChosenBySettingsAlone) {
    const TestScene test;
    FitSettings settings;
    EXPECT_EQ(ScanMethod::choose(test.scene(), settings)->setsPerWorker(), 1U);
    settings.score = ScanScore::Local;
    settings.check();
    EXPECT_EQ(ScanMethod::choose(test.scene(), settings)->setsPerWorker(), 2U);
    settings.singlePrecision = true;
    EXPECT_DOUBLE_EQ(ScanMethod::choose(test.scene(), settings)->bytesNeeded(3, 10, 7),
                     SingleLocalScanMethod(test.scene(), settings.varianceFloor).bytesNeeded(3, 10, 7));
    settings.check();
    settings.singlePrecision = false;
    settings.varianceFloor = 0.0;
    EXPECT_THROW(settings.check(), SettingError);
}

constexpr double cell = 3.0;
constexpr double width = 3.0; ///< of the atoms, angstrom

/// A chain beside one that is as long, and a dense shell; the first, turned back by a rotation of the scan
/// and shifted, is the model. The map is filtered.
struct Complex {
    explicit Complex(const Rotation& truth) {
        const std::array<unsigned int, 3> size = {22, 24, 20};
        const cVector3 first(-20.0, 8.0, 3.0);
        const cVector3 d(cell, cell, cell);
        const cVector3 low = first + d; // where readers put the node (0, 0, 0)
        map.grid = cGrid(cBBox(low, low + cVector3(21 * cell, 23 * cell, 19 * cell)), size.data());
        const cVector3 middle = map.grid.m_box.center() - d;
        const cMatrix33 back = cMatrix33::rotationXYZ(truth[0], truth[1], truth[2]).getTranspose();
        for (const cVector3& place : chain()) {
            home.push_back(middle + place + cVector3(0.0, 12.0, 0.0));
            cPDBAtom atom;
            atom.m_position = back * (home.back() - middle) + middle + cVector3(30.0, -12.0, 6.0);
            atom.m_mass = 12.0F;
            model.atoms.push_back(atom);
        }
        model.masses.assign(home.size(), 12.0);
        model.blockIds.assign(home.size(), 0);
        atoms = home;
        for (const cVector3& place : chain()) {
            atoms.push_back(middle + place + cVector3(-10.0, -10.0, 8.0));
        }
        for (int a = 0; a < 40; ++a) {
            const cVector3 way(normal(random), normal(random), normal(random));
            atoms.push_back(middle + cVector3(14.0, -20.0, -12.0) + way * (5.0 / way.norm()));
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
        settings.solutions = 200;
        settings.clusters = 3;
        settings.clustering = true;
        settings.clusterThreshold = 8.0;
        settings.filterSigmas = -1e6;
    }

    /// A walk of steps that the width of the atoms leaves visible, about its centre.
    std::vector<cVector3> chain() {
        constexpr int count = 24;
        constexpr double step = 6.0;
        std::vector<cVector3> places(1, cVector3(0, 0, 0));
        cVector3 sum(0, 0, 0);
        while (places.size() < count) {
            const cVector3 way(normal(random), normal(random), normal(random));
            // Back to the middle by a part, so that it stays compact.
            places.push_back(places.back() * 0.85 + way * (step / way.norm()));
            sum += places.back();
        }
        for (cVector3& place : places) {
            place -= sum * (1.0 / count);
        }
        return places;
    }

    double densityAt(const cVector3& place) const {
        double sum = 0.0;
        for (const cVector3& atom : atoms) {
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

    std::mt19937 random{3};
    std::normal_distribution<double> normal;
    std::vector<cVector3> home, atoms;
    SearchMap map;
    SearchModel model;
    FitSettings settings;
};

Complex makeComplex() {
    const std::vector<Rotation> all = scanRotations(60.0);
    return Complex(all[all.size() / 3]);
}

void filter(SearchMap& map) {
    map.values = cyclicNegativeLaplacian(map.values, map.grid);
}

/// The merged candidates of a whole scan.
std::array<std::vector<Candidate>, 2> mergedScan(const Complex& complex, bool singlePrecision,
                                                 unsigned long workers = 2) {
    FitSettings settings = complex.settings;
    settings.singlePrecision = singlePrecision;
    ExhaustiveSearch search(complex.map, complex.model, settings);
    std::vector<CandidateSet> sets = search.scan(search.rotations(), 0, workers, workers);
    std::vector<CandidateSet> byScore = takeSetsOfScore(sets, 2, 0);
    std::vector<CandidateSet> byOverlap = takeSetsOfScore(sets, 2, 1);
    return {mergeCandidates(byScore), mergeCandidates(byOverlap)};
}

using Place = std::array<double, 6>;

Place placeOf(const Candidate& pose) {
    return {pose.m_alpha,
            pose.m_beta,
            pose.m_gamma,
            static_cast<double>(pose.m_i),
            static_cast<double>(pose.m_j),
            static_cast<double>(pose.m_k)};
}

/// By rank, the candidates that stand at the same places.
std::map<Place, std::size_t> ranksOf(const std::vector<Candidate>& list) {
    std::map<Place, std::size_t> ranks;
    for (std::size_t n = 0; n < list.size(); ++n) {
        ranks.emplace(placeOf(list[n]), n);
    }
    return ranks;
}

/// Errors of both lists' scores within a bound leave out no place that is better than the worst by twice
/// that, and exchange no two that are as far apart.
void expectSameButForRounding(const std::vector<Candidate>& single, const std::vector<Candidate>& exact,
                              double bound) {
    ASSERT_EQ(single.size(), exact.size());
    const std::map<Place, std::size_t> ranks = ranksOf(single);
    std::size_t last = 0, same = 0;
    double worstOfLast = 0.0;
    for (std::size_t n = 0; n < exact.size(); ++n) {
        EXPECT_NEAR(single[n].m_rigidScore, exact[n].m_rigidScore, bound) << "rank by rank";
        const auto found = ranks.find(placeOf(exact[n]));
        if (found == ranks.end()) {
            EXPECT_LE(exact[n].m_rigidScore, exact.back().m_rigidScore + 2.0 * bound);
            continue;
        }
        EXPECT_NEAR(single[found->second].m_rigidScore, exact[n].m_rigidScore, bound);
        if (n > 0 && found->second < last) {
            EXPECT_LE(worstOfLast - exact[n].m_rigidScore, 2.0 * bound);
        }
        if (found->second >= last) {
            last = found->second;
            worstOfLast = exact[n].m_rigidScore;
        }
        same += found->second == n ? 1 : 0;
    }
    EXPECT_EQ(placeOf(single.front()), placeOf(exact.front()));
    EXPECT_GT(10 * same, 9 * exact.size());
}

TEST(LocalScanMethod, SinglePrecisionLeavesTheRankingAsItIsButForItsRounding) {
    Complex complex = makeComplex();
    filter(complex.map);
    complex.settings.score = ScanScore::Local;
    const auto exact = mergedScan(complex, false);
    const auto single = mergedScan(complex, true);
    // 2^-24 log2 N for transforms of N = 32^3 nodes and 24 units for samples, in units of the map's norm. A
    // score is divided by sqrt(f max V), V being the third of the map's variance that the chain has.
    constexpr double overlapBound = (15.0 + 24.0) * 0x1p-24;
    const double scoreBound = overlapBound / std::sqrt(floorOfTests / 3.0);
    ASSERT_EQ(exact[0].size(), 600U);
    expectSameButForRounding(single[0], exact[0], scoreBound);
    expectSameButForRounding(single[1], exact[1], overlapBound);
}

TEST(LocalScanMethod, AScanInSinglePrecisionGivesTheSameBitsAgainAndForAnyNumberOfWorkers) {
    Complex complex = makeComplex();
    filter(complex.map);
    complex.settings.score = ScanScore::Local;
    complex.settings.step = 90.0;
    const auto expected = mergedScan(complex, true, 1);
    for (const unsigned long workers : {1UL, 2UL, 7UL, 16UL}) {
        const auto again = mergedScan(complex, true, workers);
        expectSame(again[0], expected[0]);
        expectSame(again[1], expected[1]);
    }
}

TEST(LocalScanMethod, FindsAChainBesideDenserThingsInSinglePrecision) {
    Complex complex = makeComplex();
    filter(complex.map);
    complex.settings.score = ScanScore::Local;
    complex.settings.singlePrecision = true;
    ExhaustiveSearch search(complex.map, complex.model, complex.settings);
    const std::vector<PoseRecord> poses = search.run();
    ASSERT_EQ(poses.size(), 6U);
    EXPECT_LT(complex.rmsdOf(search.frame().place(poses.front())), 1.0);
    EXPECT_GT(poses[0].score, 1.2 * poses[1].score);
}

TEST(LocalScanMethod, FindsAChainBesideDenserThings) {
    Complex complex = makeComplex();
    ExhaustiveSearch plain(complex.map, complex.model, complex.settings);
    const auto misled = plain.run();
    EXPECT_GT(complex.rmsdOf(plain.frame().place(misled.front())), 10.0);
    filter(complex.map);
    complex.settings.score = ScanScore::Local;
    ExhaustiveSearch search(complex.map, complex.model, complex.settings);
    const std::vector<PoseRecord> poses = search.run();
    ASSERT_EQ(poses.size(), 6U);
    EXPECT_LT(complex.rmsdOf(search.frame().place(poses.front())), 1.0);
    EXPECT_GT(poses[0].score, 1.2 * poses[1].score);
    for (std::size_t n = 0; n < poses.size(); ++n) {
        EXPECT_EQ(poses[n].scoreKind, n / 3);
        EXPECT_EQ(poses[n].refinedScore, poses[n].score);
        EXPECT_LE(poses[n].score, 1.0);
        if (n % 3 > 0) {
            EXPECT_LT(poses[n].score, poses[n - 1].score);
        }
    }
}

TEST(LocalScanMethod, WorkersOfSeveralProcessesGiveThePosesOfOne) {
    Complex complex = makeComplex();
    filter(complex.map);
    complex.settings.score = ScanScore::Local;
    complex.settings.step = 100.0;
    complex.settings.workers = 3;
    ExhaustiveSearch whole(complex.map, complex.model, complex.settings);
    const std::vector<PoseRecord> expected = whole.run();
    ExhaustiveSearch one(complex.map, complex.model, complex.settings);
    ExhaustiveSearch two(complex.map, complex.model, complex.settings);
    std::vector<CandidateSet> sets = one.scan(one.rotations(), 0, 2, 3);
    ASSERT_EQ(sets.size(), 4U);
    for (CandidateSet& set : two.scan(two.rotations(), 2, 1, 3)) {
        sets.push_back(std::move(set));
    }
    const std::vector<PoseRecord> poses = two.finish(sets);
    ASSERT_EQ(poses.size(), expected.size());
    for (std::size_t n = 0; n < poses.size(); ++n) {
        EXPECT_EQ(poses[n].score, expected[n].score);
        EXPECT_EQ(poses[n].angles, expected[n].angles);
        EXPECT_EQ(poses[n].dTau.x, expected[n].dTau.x);
        EXPECT_EQ(poses[n].scoreKind, expected[n].scoreKind);
    }
    sets.pop_back();
    EXPECT_THROW(two.finish(sets), std::invalid_argument);
    EXPECT_THROW(two.finish({}), std::invalid_argument);
}

} // namespace
