// SPDX-License-Identifier: GPL-3.0-or-later
// The step of a scan against the plain one: padded target, whole correlation, derivatives from whole grids.
#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <stdexcept>

#include <gtest/gtest.h>

#include "CrossCorrelation/RotationScan.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "CrossCorrelation/offerScores.h"
#include "testModel.h"

namespace {

using Set = LimitedSizeSet<HexaustFlexibleFitConformation>;
using Angles = std::array<double, 3>;

struct ScanCase {
    const char* name;
    std::array<unsigned int, 3> map;    ///< nodes
    std::array<unsigned int, 3> padded; ///< nodes of the correlation
    double low, high;                   ///< range of the map's values
    double filterSigmas;
    double spread; ///< edge of the model, angstrom
    unsigned int modes;
    bool isSingle = false; ///< whether the map's values are exact in single precision
};

std::ostream& operator<<(std::ostream& out, const ScanCase& scanCase) {
    return out << scanCase.name;
}

constexpr double cell = 1.5;

cGrid gridOf(const std::array<unsigned int, 3>& size, const cVector3& low) {
    cGrid grid(cBBox(low, low + cVector3(cell * (size[0] - 1), cell * (size[1] - 1), cell * (size[2] - 1))),
               size.data());
    return grid;
}

class Scan : public testing::TestWithParam<ScanCase> {
protected:
    Scan()
        : mapGrid(gridOf(given.map, {3.0, -2.0, 1.0}))
        , paddedGrid(gridOf(given.padded, {3.0, -2.0, 1.0}))
        , map(noise(mapGrid.getTotalSize(), 3, given.low, given.high))
        , modelGrid(std::make_shared<cGrid>(gridOf(given.padded, {-1.0, 2.0, 0.5})))
        , engine(std::make_shared<NormalModeEngine>(given.modes)) {
        if (given.isSingle) {
            for (double& value : map) {
                value = static_cast<float>(value);
            }
        }
        const std::vector<double> places = noise(24, 4, 0.0, given.spread);
        for (std::size_t a = 0; a < 8; ++a) {
            positions.push_back({1.0 + places[3 * a], 4.0 + places[3 * a + 1], 2.5 + places[3 * a + 2]});
        }
        engine->m_modes = arma::Mat<double>(noise(24UL * given.modes, 5));
        engine->m_modes.reshape(24, given.modes);
    }

    std::shared_ptr<const ElectronDensity> density() const {
        auto made =
            std::make_shared<ElectronDensity>(positions.data(), sigma, positions.size(), modelGrid, *engine,
                                              arma::zeros(given.modes), ElectronDensity::EPSILON);
        made->setRotationCenter(center);
        return made;
    }

    Set plainScan(std::size_t limit) const {
        std::vector<double> target(paddedGrid.getTotalSize());
        ThirdOrderCrossCorrelation plain(target.data(), modelGrid, positions, sigma, engine, false);
        plain.setRotationCenter(center);
        plain.initPatternEdm();
        Set set(limit);
        for (const Angles& angles : rotations) {
            ElectronDensity::rotateNonZeroPadded(map, mapGrid, angles, paddedGrid, target.data(),
                                                 given.filterSigmas);
            plain.execute();
            plain.addConformations(set, angles[0], angles[1], angles[2]);
        }
        return set;
    }

    Set scan(std::size_t limit) const {
        const ScanMap scanMap(map, mapGrid);
        RotationScan step(scanMap, modelGrid, given.filterSigmas);
        const auto pattern = step.makePattern(density());
        Set set(limit);
        for (const Angles& angles : rotations) {
            step.rotate(angles);
            step.correlate(*pattern);
            step.offer(set);
        }
        return set;
    }

    const ScanCase given = GetParam();
    const std::vector<Angles> rotations{{0.0, 0.0, 0.0}, {0.7, 1.1, -0.4}, {2.9, 0.3, 1.7}};
    const double sigma = 1.4;
    const cVector3 center{7.0, 9.0, 6.0};
    cGrid mapGrid;
    cGrid paddedGrid;
    std::vector<double> map;
    std::shared_ptr<cGrid> modelGrid;
    std::shared_ptr<NormalModeEngine> engine;
    std::vector<std::array<double, 3>> positions;
};

double largestOf(const arma::Mat<double>& values) {
    return arma::abs(values).max();
}

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Cases, Scan,
    testing::Values(ScanCase{"cubic", {10, 10, 10}, {16, 16, 16}, 0.0, 1.0, 1.0, 6.0, 0, true},
                    ScanCase{"unequal_axes", {12, 10, 7}, {16, 16, 8}, -0.2, 1.0, 1.0, 5.0, 0},
                    ScanCase{"odd_without_padding", {11, 9, 15}, {11, 9, 15}, -0.5, 1.0, 1.0, 5.0, 0, true},
                    ScanCase{"prime_without_padding", {13, 11, 7}, {13, 11, 7}, 0.0, 1.0, 0.5, 5.0, 2},
                    ScanCase{"map_smaller_than_the_model", {5, 6, 4}, {8, 8, 4}, 0.0, 1.0, 0.0, 14.0, 0},
                    ScanCase{
                        "map_larger_than_the_model", {20, 17, 18}, {32, 32, 32}, 0.0, 1.0, 1.0, 2.0, 1, true},
                    ScanCase{"negative_mean", {10, 9, 8}, {16, 16, 8}, -1.0, 0.5, 0.5, 5.0, 0, true},
                    ScanCase{"no_filter", {10, 9, 8}, {16, 16, 8}, 0.0, 1.0, 0.0, 5.0, 0},
                    ScanCase{"filter_below_the_mean", {10, 9, 8}, {16, 16, 8}, -0.5, 1.0, -1.0, 5.0, 3}),
    testing::PrintToStringParamName());

TEST_P(Scan, KeepsTheCandidatesOfThePlainStep) {
    for (const std::size_t limit : {std::size_t{1}, std::size_t{30}, std::size_t{100000}}) {
        const auto expected = plainScan(limit).toStdVector();
        const auto kept = scan(limit).toStdVector();
        ASSERT_EQ(kept.size(), expected.size());
        ASSERT_FALSE(kept.empty());
        for (std::size_t n = 0; n < kept.size(); ++n) {
            ASSERT_NEAR(kept[n].m_rigidScore, expected[n].m_rigidScore, 1e-13 * expected[0].m_rigidScore);
            ASSERT_EQ(kept[n].m_alpha, expected[n].m_alpha);
            ASSERT_EQ(kept[n].m_beta, expected[n].m_beta);
            ASSERT_EQ(kept[n].m_gamma, expected[n].m_gamma);
            ASSERT_EQ(kept[n].m_i, expected[n].m_i);
            ASSERT_EQ(kept[n].m_j, expected[n].m_j);
            ASSERT_EQ(kept[n].m_k, expected[n].m_k);
            ASSERT_EQ(kept[n].m_grid, expected[n].m_grid);
            ASSERT_EQ(kept[n].m_isSet, expected[n].m_isSet);
            ASSERT_EQ(kept[n].m_eta.n_elem, expected[n].m_eta.n_elem);
        }
    }
}

TEST_P(Scan, CompletedCandidatesHaveTheDerivativesOfThePlainStep) {
    const auto expected = plainScan(20).toStdVector();
    auto kept = scan(20).toStdVector();
    ASSERT_EQ(kept.size(), expected.size());
    const DensityTable table = density()->tabulate();
    const MapRotator rotator(map, mapGrid, given.filterSigmas);
    for (std::size_t n = 0; n < kept.size(); ++n) {
        EXPECT_TRUE(kept[n].m_gradient.is_empty());
        const Angles angles{kept[n].m_alpha, kept[n].m_beta, kept[n].m_gamma};
        completeCandidate(table, RotatedNodes(map, mapGrid, angles, rotator.filterOf(angles)), kept[n]);
        EXPECT_TRUE(arma::approx_equal(kept[n].m_gradient, expected[n].m_gradient, "absdiff",
                                       1e-10 * largestOf(expected[n].m_gradient)));
        EXPECT_TRUE(arma::approx_equal(kept[n].m_hessian, expected[n].m_hessian, "absdiff",
                                       1e-10 * largestOf(expected[n].m_hessian)));
    }
}

TEST_P(Scan, GivesTheSameBitsEveryTime) {
    const auto once = scan(50).toStdVector();
    const auto again = scan(50).toStdVector();
    ASSERT_EQ(once.size(), again.size());
    for (std::size_t n = 0; n < once.size(); ++n) {
        EXPECT_EQ(once[n].m_rigidScore, again[n].m_rigidScore);
    }
}

TEST(RotationScan, OneObjectMayOfferARotationMoreThanOnceAndServesManyPatterns) {
    const TestModel model;
    const cGrid& grid = *model.grid;
    const std::vector<double> map = noise(grid.getTotalSize(), 9, 0.0, 1.0);
    const ScanMap scanMap(map, grid);
    RotationScan step(scanMap, model.grid, 0.5);
    const auto here = step.makePattern(std::make_shared<ElectronDensity>(model.density()));
    auto moved = std::make_shared<ElectronDensity>(model.density());
    moved->setTweenDof({0.8, -0.3, 0.5}, {0.1, 0.0, -0.2}, {});
    const auto there = step.makePattern(moved);
    const auto best = [&](const ScanPattern& pattern) {
        Set set(1);
        step.rotate({0.3, 0.2, 0.1});
        step.correlate(pattern);
        step.offer(set);
        const double score = set.last().m_rigidScore;
        step.offer(set);
        EXPECT_EQ(set.last().m_rigidScore, score);
        return score;
    };
    const double first = best(*here);
    EXPECT_NE(best(*there), first);
    EXPECT_EQ(best(*here), first);
}

TEST(RotationScan, RefusesStepsOutOfOrder) {
    const TestModel model;
    const std::vector<double> map = noise(model.grid->getTotalSize(), 9);
    const ScanMap scanMap(map, *model.grid);
    RotationScan step(scanMap, model.grid, 0.5);
    Set set(3);
    EXPECT_THROW(step.offer(set), std::logic_error);
    const auto pattern = step.makePattern(std::make_shared<ElectronDensity>(model.density()));
    EXPECT_THROW(step.correlate(*pattern), std::logic_error);
    step.rotate({0.1, 0.2, 0.3});
    EXPECT_THROW(step.offer(set), std::logic_error);
    step.correlate(*pattern);
    EXPECT_THROW(step.correlate(*pattern), std::logic_error);
    step.offer(set);
    step.rotate({0.1, 0.2, 0.4});
    EXPECT_THROW(step.offer(set), std::logic_error);
}

TEST(RotationScan, RefusesAMapThatDoesNotFit) {
    const TestModel model;
    const std::vector<double> map = noise(model.grid->getTotalSize(), 9);
    const std::vector<double> few{1.0, 2.0};
    EXPECT_THROW(RotationScan(ScanMap(few, *model.grid), model.grid, 1.0), std::length_error);
    EXPECT_THROW(MapRotator(few, *model.grid, 1.0), std::length_error);
    std::vector<double> target(model.grid->getTotalSize());
    EXPECT_THROW(ElectronDensity::rotateNonZeroPadded(few, *model.grid, {0.1, 0.2, 0.3}, *model.grid,
                                                      target.data(), 0.0),
                 std::length_error);
    const auto smaller = std::make_shared<cGrid>(*model.grid);
    smaller->setSize(12, 11, 8);
    EXPECT_THROW(RotationScan(ScanMap(map, *model.grid), smaller, 1.0), std::length_error);
}

TEST(ScanMap, HoldsValuesInSinglePrecisionOnlyIfAllAreExact) {
    cGrid grid;
    grid.setSize(3, 1, 1);
    const auto singles = [&](double last) {
        const std::vector<double> values{0.1F, -0.0, last};
        return ScanMap(values, grid).singles();
    };
    EXPECT_EQ(singles(-2.5), (std::vector<float>{0.1F, -0.0F, -2.5F}));
    EXPECT_TRUE(singles(0.1).empty());
    EXPECT_TRUE(singles(1e300).empty());
    EXPECT_TRUE(singles(1e-300).empty());
    EXPECT_TRUE(singles(std::numeric_limits<double>::infinity()).empty());
    EXPECT_TRUE(singles(std::numeric_limits<double>::quiet_NaN()).empty());
}

TEST_P(Scan, NodesReadOneByOneAreThoseOfTheRotatedMapBitForBit) {
    const ScanMap scanMap(map, mapGrid);
    RotationScan step(scanMap, modelGrid, given.filterSigmas);
    const auto pattern = step.makePattern(density());
    Set all(100000);
    for (const Angles& angles : rotations) {
        step.rotate(angles);
        step.correlate(*pattern);
        step.offer(all);
    }
    std::vector<double> turned(mapGrid.getTotalSize());
    for (const Angles& angles : rotations) {
        ElectronDensity::rotateNonZeroPadded(map, mapGrid, angles, mapGrid, turned.data(),
                                             given.filterSigmas);
        const RotatedNodes nodes(map, mapGrid, angles, step.filters().at(angles));
        std::size_t v = 0;
        for (std::size_t i = 0; i < mapGrid.m_size[0]; ++i) {
            for (std::size_t j = 0; j < mapGrid.m_size[1]; ++j) {
                for (std::size_t k = 0; k < mapGrid.m_size[2]; ++k) {
                    ASSERT_EQ(nodes(i, j, k), turned[v++]);
                }
            }
        }
        EXPECT_EQ(nodes(mapGrid.m_size[0], 0, 0), 0.0);
        EXPECT_EQ(nodes(0, mapGrid.m_size[1], 0), 0.0);
        EXPECT_EQ(nodes(0, 0, mapGrid.m_size[2]), 0.0);
    }
}

TEST_P(Scan, KeepsFiltersOfRotationsWithCandidatesAlone) {
    const ScanMap scanMap(map, mapGrid);
    RotationScan step(scanMap, modelGrid, given.filterSigmas);
    const auto pattern = step.makePattern(density());
    constexpr std::size_t limit = 2;
    constexpr std::size_t manyRotations = 60;
    Set set(limit);
    const std::vector<double> turns = noise(3 * manyRotations, 6, -3.0, 3.0);
    for (std::size_t r = 0; r < manyRotations; ++r) {
        step.rotate({turns[3 * r], turns[3 * r + 1], turns[3 * r + 2]});
        step.correlate(*pattern);
        // Every rotation has candidates that live for a moment.
        if (r % 3 == 0) {
            set = Set(limit);
        }
        step.offer(set);
        ASSERT_LE(step.filters().size(), 2 * limit + 1);
        for (const auto& candidate : set) {
            ASSERT_EQ(step.filters().count({candidate.m_alpha, candidate.m_beta, candidate.m_gamma}), 1U);
        }
    }
    const RotationScan::Filters taken = step.takeFilters();
    EXPECT_FALSE(taken.empty());
    EXPECT_TRUE(step.filters().empty());
}

TEST_P(Scan, RotationWithoutACandidateLeavesNoFilter) {
    const ScanMap scanMap(map, mapGrid);
    RotationScan step(scanMap, modelGrid, given.filterSigmas);
    const auto pattern = step.makePattern(density());
    Set set(1);
    HexaustFlexibleFitConformation best;
    best.m_rigidScore = 1e9;
    set.add(best);
    step.rotate(rotations[1]);
    step.correlate(*pattern);
    step.offer(set);
    EXPECT_TRUE(step.filters().empty());
}

TEST(OfferScores, PassesOverWhatAFullSetWouldRefuse) {
    const std::vector<double> scores = noise(1000, 12, -0.5, 1.0);
    LimitedSizeSet<FlexibleFitConformation> set(5);
    LimitedSizeSet<FlexibleFitConformation> literal(5);
    std::size_t made = 0;
    const auto make = [&](std::size_t p) {
        ++made;
        FlexibleFitConformation candidate;
        candidate.m_rigidScore = scores[p];
        candidate.m_i = static_cast<int>(p);
        return candidate;
    };
    offerScores(set, scores.data(), scores.size(), make);
    const std::size_t offered = made;
    for (std::size_t p = 0; p < scores.size(); ++p) {
        if (scores[p] > ElectronDensity::EPSILON) {
            literal.add(make(p));
        }
    }
    const auto a = set.toStdVector();
    const auto b = literal.toStdVector();
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t n = 0; n < a.size(); ++n) {
        EXPECT_EQ(a[n].m_i, b[n].m_i);
    }
    EXPECT_LT(offered, 100U);
}

TEST(OfferScores, LeavesOutWhatIsNotANumberOrNotAboveTheFloor) {
    LimitedSizeSet<FlexibleFitConformation> set(5);
    const double scores[] = {std::nan(""), ElectronDensity::EPSILON, 0.0, -1.0};
    offerScores(set, scores, 4, [](std::size_t) { return FlexibleFitConformation(); });
    EXPECT_EQ(set.size(), 0U);
}
