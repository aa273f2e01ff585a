// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <future>
#include <random>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/PoseScorer.h"
#include "Assessment/tests/judgedScene.h"

namespace {

constexpr double resolution = 9.0;
constexpr double voxel = resolution / 3.0;

/// A map of noise on an odd number of nodes, whose lattice begins beside that of the user's frame.
ScoringMap noiseMap() {
    std::mt19937 random(8);
    std::normal_distribution<double> normal;
    ScoringMap map;
    const auto noise = [&](const cVector3&) { return 5.0 + normal(random); };
    map.density = mapOf({13, 11, 9}, cVector3(-17.0, -15.5, -11.0), cVector3(voxel), noise);
    map.contrast = mapOf({13, 11, 9}, map.density.origin, cVector3(voxel), noise);
    map.resolution = resolution;
    map.sigma = gaussianOf(resolution);
    map.level = 5.3;
    map.background = 4.8;
    map.mean = 4.9;
    map.deviation = 1.1;
    map.lowest = map.density.origin - cVector3(3.0, 0.0, 0.0);
    map.highest = placeOf(map.density, 12, 10, 8);
    return map;
}

/// The formulas as they stand: every atom at every node, no cut, differences of sixth order.
class Reference {
public:
    Reference(const ScoringMap& map, const std::vector<ModelAtom>& atoms, const RigidMotion& motion)
        : m_map(map), m_atoms(atoms), m_motion(motion) {}

    double local() const { return correlate(true); }
    double plain() const { return correlate(false); }

private:
    static constexpr int around =
        14; // nodes about the lattice's first that no atom of the tests reaches beyond

    cVector3 node(int i, int j, int k) const { return m_map.density.origin + cVector3(i, j, k) * voxel; }

    double density(const cVector3& v) const {
        double sum = 0.0;
        for (const ModelAtom& atom : m_atoms) {
            sum += atom.mass *
                   std::exp(-(v - m_motion(atom.position)).norm2() / (2.0 * m_map.sigma * m_map.sigma));
        }
        return sum;
    }

    double contrast(const cVector3& v) const {
        const std::array<double, 4> weights = {-49.0 / 18.0, 1.5, -0.15, 1.0 / 90.0};
        double sum = 3.0 * weights[0] * density(v);
        for (int d = 1; d < 4; ++d) {
            const double w = weights[static_cast<std::size_t>(d)], step = d * voxel;
            for (const cVector3& axis : {cVector3(1, 0, 0), cVector3(0, 1, 0), cVector3(0, 0, 1)}) {
                sum += w * (density(v + axis * step) + density(v - axis * step));
            }
        }
        return -sum / (voxel * voxel);
    }

    double mapValue(const DensityMap& field, int i, int j, int k, double beyond) const {
        const bool isInside = i >= 0 && j >= 0 && k >= 0 && i < static_cast<int>(field.size[0]) &&
                              j < static_cast<int>(field.size[1]) && k < static_cast<int>(field.size[2]);
        return isInside
                   ? static_cast<double>(
                         field.values[field.index(static_cast<std::size_t>(i), static_cast<std::size_t>(j),
                                                  static_cast<std::size_t>(k))])
                   : beyond;
    }

    double highest() const {
        double most = 0.0;
        for (int i = -around; i < 2 * around; ++i) {
            for (int j = -around; j < 2 * around; ++j) {
                for (int k = -around; k < 2 * around; ++k) {
                    most = std::max(most, density(node(i, j, k)));
                }
            }
        }
        return most;
    }

    double correlate(bool isLocal) const {
        const double threshold = 0.1 * highest();
        double n = 0, a = 0, b = 0, aa = 0, bb = 0, ab = 0;
        for (int i = -around; i < 2 * around; ++i) {
            for (int j = -around; j < 2 * around; ++j) {
                for (int k = -around; k < 2 * around; ++k) {
                    if (density(node(i, j, k)) <= threshold) {
                        continue;
                    }
                    const double p = isLocal ? contrast(node(i, j, k)) : density(node(i, j, k));
                    const double c = isLocal ? mapValue(m_map.contrast, i, j, k, 0.0)
                                             : mapValue(m_map.density, i, j, k, m_map.background);
                    n += 1.0, a += p, b += c, aa += p * p, bb += c * c, ab += p * c;
                }
            }
        }
        return (n * ab - a * b) / std::sqrt((n * aa - a * a) * (n * bb - b * b));
    }

    const ScoringMap& m_map;
    const std::vector<ModelAtom>& m_atoms;
    RigidMotion m_motion;
};

constexpr double toleranceOfCut = 1e-3; // an atom's Gaussian has fallen to 3e-4 there

void expectScores(const PoseScores& a, const PoseScores& b, double tolerance) {
    EXPECT_NEAR(a.localCorrelation, b.localCorrelation, tolerance);
    EXPECT_NEAR(a.correlation, b.correlation, tolerance);
    EXPECT_NEAR(a.meanDensity, b.meanDensity, tolerance);
    EXPECT_NEAR(a.inside, b.inside, tolerance);
    EXPECT_NEAR(a.outside, b.outside, tolerance);
}

} // namespace

TEST(PoseScorer, CorrelationsEqualTheirFormulasWithinTheMapAndAcrossItsFaces) {
    const ScoringMap map = noiseMap();
    const std::vector<ModelAtom> atoms = cloud(25, 8.0, 4);
    const PoseScorer scorer(map, atoms);
    for (const RigidMotion& motion : {turned(cVector3(1.0, 2.0, 0.5), 40.0, cVector3(0.3, -0.8, 0.2)),
                                      turned(cVector3(-1.0, 0.2, 0.5), 130.0, cVector3(-16.0, 9.0, 7.0))}) {
        const Reference reference(map, atoms, motion);
        const PoseScores scores = scorer(motion);
        EXPECT_NEAR(scores.localCorrelation, reference.local(), toleranceOfCut);
        EXPECT_NEAR(scores.correlation, reference.plain(), toleranceOfCut);
    }
}

TEST(PoseScorer, CountsAtomsAboveTheLevelAndBeyondTheMap) {
    const ScoringMap map = noiseMap();
    const std::vector<ModelAtom> atoms = cloud(200, 9.0, 5);
    const RigidMotion motion = turned(cVector3(0.0, 1.0, 0.0), 20.0, cVector3(-14.0, 6.0, 0.0));
    double sum = 0.0;
    int inside = 0, outside = 0;
    for (const ModelAtom& atom : atoms) {
        const cVector3 x = motion(atom.position);
        sum += map.densityAt(x);
        inside += map.densityAt(x) > 5.3 ? 1 : 0;
        const bool isWithin =
            x.x >= -20.0 && x.x <= 19.0 && x.y >= -15.5 && x.y <= 14.5 && x.z >= -11.0 && x.z <= 13.0;
        outside += isWithin ? 0 : 1;
    }
    const PoseScores scores = PoseScorer(map, atoms)(motion);
    EXPECT_NEAR(scores.meanDensity, (sum / 200.0 - 4.9) / 1.1, 1e-12);
    EXPECT_NEAR(scores.inside, inside / 200.0, 1e-12);
    EXPECT_NEAR(scores.outside, outside / 200.0, 1e-12);
    EXPECT_GT(outside, 10);
}

TEST(PoseScorer, AModelInItsOwnDensityCorrelatesToOne) {
    const std::vector<ModelAtom> atoms = cloud(300, 18.0, 6);
    const RigidMotion home = turned(cVector3(1.0, 1.0, 3.0), 77.0, cVector3(40.0, 42.5, 38.0));
    const DensityMap map = simulated(atoms, {home}, resolution, {80, 84, 76}, cVector3(0.0), 1.0);
    const ScoringMap scoring = makeScoringMap(map, {resolution, {}, nullptr});
    const PoseScorer scorer(scoring, atoms);
    const PoseScores scores = scorer(home);
    // The low pass of the map leaves out the finest hundredth of an atom, which the model has.
    EXPECT_GT(scores.localCorrelation, 0.98);
    EXPECT_GT(scores.correlation, 0.995);
    EXPECT_GT(scores.inside, 0.99);
    EXPECT_EQ(scores.outside, 0.0);
    EXPECT_GT(scores.meanDensity, 2.0);
    EXPECT_LT(scorer({home.rotation, home.translation + cVector3(6.0, 0.0, 0.0)}).localCorrelation, 0.6);
}

TEST(PoseScorer, CorrelationsKeepTheirValueWhenTheMapIsScaledAndLifted) {
    const std::vector<ModelAtom> atoms = cloud(100, 12.0, 7);
    const RigidMotion home = turned(cVector3(1.0, 0.0, 1.0), 30.0, cVector3(30.0));
    const DensityMap map = simulated(atoms, {home}, resolution, {31, 30, 32}, cVector3(0.0), 2.0);
    DensityMap lifted = map;
    for (float& value : lifted.values) {
        value = 40.0F + 0.25F * value;
    }
    const RigidMotion beside = {home.rotation, home.translation + cVector3(2.0, 1.0, 0.0)};
    const ScoringMap first = makeScoringMap(map, {resolution, {}, nullptr});
    const ScoringMap second = makeScoringMap(lifted, {resolution, {}, nullptr});
    expectScores(PoseScorer(first, atoms)(beside), PoseScorer(second, atoms)(beside), 1e-4);
}

TEST(PoseScorer, ScoresStayWhenMapAndModelMoveTogether) {
    const std::vector<ModelAtom> atoms = cloud(150, 9.0, 9);
    const ScoringMap map = noiseMap();
    const RigidMotion place = turned(cVector3(1.0, 0.0, 1.0), 30.0, cVector3(2.0));
    const PoseScores expected = PoseScorer(map, atoms)(place);
    const cVector3 shift(101.0, -57.3, 0.4);
    ScoringMap moved = map;
    for (cVector3* corner : {&moved.density.origin, &moved.contrast.origin, &moved.lowest, &moved.highest}) {
        *corner += shift;
    }
    expectScores(PoseScorer(moved, atoms)({place.rotation, place.translation + shift}), expected, 1e-5);
    // The model's file may have any frame.
    const RigidMotion file = turned(cVector3(0.3, 1.0, 0.0), 200.0, cVector3(50.0, 6.0, -8.0));
    std::vector<ModelAtom> elsewhere = atoms;
    for (ModelAtom& atom : elsewhere) {
        atom.position = file(atom.position);
    }
    expectScores(PoseScorer(map, elsewhere)(chain(file.inverse(), place)), expected, 1e-5);
}

TEST(PoseScorer, AConstantMapAndAMapFarAwayGiveZeros) {
    const std::vector<ModelAtom> atoms = cloud(50, 9.0, 9);
    const DensityMap constant =
        mapOf({12, 12, 12}, cVector3(-20.0), cVector3(3.5), [](const cVector3&) { return 2.0; });
    const ScoringMap map = makeScoringMap(constant, {resolution, {}, nullptr});
    const PoseScores scores = PoseScorer(map, atoms)(RigidMotion());
    EXPECT_EQ(scores.localCorrelation, 0.0);
    EXPECT_EQ(scores.correlation, 0.0);
    EXPECT_EQ(scores.inside, 0.0);
    const PoseScores away = PoseScorer(noiseMap(), atoms)(RigidMotion::shift(cVector3(1e5)));
    EXPECT_EQ(away.localCorrelation, 0.0);
    EXPECT_EQ(away.correlation, 0.0);
    EXPECT_EQ(away.outside, 1.0);
    EXPECT_EQ(PoseScorer(map, {})(RigidMotion()).correlation, 0.0);
    std::vector<ModelAtom> weightless = atoms;
    for (ModelAtom& atom : weightless) {
        atom.mass = 0.0;
    }
    EXPECT_EQ(PoseScorer(noiseMap(), weightless)(RigidMotion()).localCorrelation, 0.0);
}

TEST(PoseScorer, RefusesAtomsThatNoFieldHolds) {
    std::vector<ModelAtom> atoms = cloud(2, 1.0, 9);
    atoms[1].position = cVector3(1e6);
    EXPECT_THROW(PoseScorer(noiseMap(), atoms)(RigidMotion()), std::length_error);
}

TEST(PoseScorer, GivesTheSameBitsToEveryThread) {
    const ScoringMap map = noiseMap();
    const PoseScorer scorer(map, cloud(400, 10.0, 12));
    const RigidMotion place = turned(cVector3(1.0, 0.0, 1.0), 30.0, cVector3(2.0));
    const PoseScores expected = scorer(place);
    std::vector<std::future<PoseScores>> runs;
    for (int n = 0; n < 4; ++n) {
        runs.push_back(std::async(std::launch::async, [&] { return scorer(place); }));
    }
    for (std::future<PoseScores>& run : runs) {
        const PoseScores scores = run.get();
        EXPECT_EQ(scores.localCorrelation, expected.localCorrelation);
        EXPECT_EQ(scores.correlation, expected.correlation);
    }
}
