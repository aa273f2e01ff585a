// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include <gtest/gtest.h>

#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "CrossCorrelation/shiftedSums.h"
#include "FFTWrapper/RealCorssCorelationEngine.h"
#include "IO/cInfo.h"
#include "Math/pi.h"
#include "testModel.h"

namespace {

constexpr double tolerance = 1e-10; // of a grid's largest magnitude

/// All 1 + n + n^2 grids by one engine each, from maps evaluated on the whole grid.
struct PlainGrids {
    PlainGrids(const TestModel& model, ElectronDensity& density, std::vector<double>& target) {
        const std::size_t size = model.grid->getTotalSize();
        n = density.nDof();
        std::vector<double> values(size);
        std::vector<std::vector<double>> maps(n, values);
        std::vector<std::vector<double>> second(n * n, values);
        density.evalRigidFlex(values, maps, second);
        ccf = correlate(model, target, values);
        for (auto& map : maps) {
            gradient.push_back(correlate(model, target, map));
        }
        for (auto& map : second) {
            hessian.push_back(correlate(model, target, map));
        }
    }

    static std::vector<double> correlate(const TestModel& model, std::vector<double>& f,
                                         std::vector<double>& g) {
        std::vector<double> result(f.size());
        dft::RealCorssCorelationEngine engine(*model.grid, f.data(), g.data(), result.data());
        engine.execute(true, true);
        return result;
    }

    std::size_t n = 0;
    std::vector<double> ccf;
    std::vector<std::vector<double>> gradient;
    std::vector<std::vector<double>> hessian;
};

double magnitude(const std::vector<double>& field) {
    double largest = 0.0;
    for (const double value : field) {
        largest = std::max(largest, std::abs(value));
    }
    return largest;
}

/// Target, correlation and an equal density to evaluate plainly.
struct Scene {
    explicit Scene(unsigned int modes = 0, unsigned int seed = 5)
        : model(modes)
        , target(noise(model.grid->getTotalSize(), seed))
        , correlation(target.data(), model.grid, model.positions, model.sigma, model.engine, false)
        , density(model.density()) {
        correlation.setRotationCenter(center);
        density.setRotationCenter(center);
        correlation.initPatternEdm();
    }

    TestModel model;
    std::vector<double> target;
    ThirdOrderCrossCorrelation correlation;
    ElectronDensity density;
    cVector3 center{7.0, 9.0, 6.0};
};

void expectDerivatives(const PlainGrids& plain, std::size_t s, const arma::Col<double>& gradient,
                       const arma::Mat<double>& hessian) {
    ASSERT_EQ(gradient.n_elem, plain.n);
    ASSERT_EQ(hessian.n_rows, plain.n);
    for (std::size_t i = 0; i < plain.n; ++i) {
        EXPECT_NEAR(gradient(i), plain.gradient[i][s], tolerance * magnitude(plain.gradient[i]));
        for (std::size_t j = 0; j < plain.n; ++j) {
            const auto& grid = plain.hessian[i * plain.n + j];
            EXPECT_NEAR(hessian(i, j), grid[s], tolerance * magnitude(grid));
        }
    }
}

TEST(ThirdOrderCrossCorrelation, EqualsTheDirectSumOverVoxels) {
    Scene scene;
    scene.correlation.execute();
    std::vector<double> pattern(scene.target.size());
    scene.density.eval(pattern);
    const cGrid& grid = *scene.model.grid;
    const auto& ccf = scene.correlation.getCorrelation();
    for (const std::size_t s :
         {std::size_t{0}, std::size_t{1}, std::size_t{17}, std::size_t{500}, ccf.size() - 1}) {
        const auto [si, sj, sk] = grid.m_flatIndex2Index[s];
        double sum = 0.0;
        for (std::size_t v = 0; v < pattern.size(); ++v) {
            const auto [i, j, k] = grid.m_flatIndex2Index[v];
            sum +=
                scene.target[v] * pattern[grid.indexToFlatIndex(static_cast<int>((i + si) % grid.m_size[0]),
                                                                static_cast<int>((j + sj) % grid.m_size[1]),
                                                                static_cast<int>((k + sk) % grid.m_size[2]))];
        }
        EXPECT_NEAR(ccf[s], sum / (8.0 * pi * pi * pi), tolerance * magnitude(ccf));
    }
}

class ThirdOrderDerivatives : public testing::TestWithParam<unsigned int> {};

TEST_P(ThirdOrderDerivatives, OnDemandEqualTheGridsOfTheEngines) {
    Scene scene(GetParam());
    scene.correlation.execute();
    PlainGrids plain(scene.model, scene.density, scene.target);
    EXPECT_EQ(scene.correlation.getCorrelation().size(), plain.ccf.size());
    for (std::size_t s = 0; s < plain.ccf.size(); s += 37) {
        EXPECT_NEAR(scene.correlation.getCorrelation()[s], plain.ccf[s], tolerance * magnitude(plain.ccf));
        const auto [gradient, hessian] = scene.correlation.getGradAndHessian(s);
        expectDerivatives(plain, s, gradient, hessian);
    }
}

TEST_P(ThirdOrderDerivatives, OfAllVoxelsEqualTheGridsOfTheEngines) {
    Scene scene(GetParam());
    scene.correlation.execute();
    PlainGrids plain(scene.model, scene.density, scene.target);
    const auto all = scene.correlation.getAllConformations();
    ASSERT_EQ(all.size(), plain.ccf.size());
    for (std::size_t s = 0; s < all.size(); s += 11) {
        expectDerivatives(plain, s, all[s].m_gradient, all[s].m_hessian);
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, ThirdOrderDerivatives, testing::Values(0U, 2U));

TEST(ThirdOrderCrossCorrelation, ReadsDerivativesOfTheTargetAsItWasExecuted) {
    Scene scene;
    scene.correlation.execute();
    PlainGrids plain(scene.model, scene.density, scene.target);
    std::fill(scene.target.begin(), scene.target.end(), 3.0);
    const auto [gradient, hessian] = scene.correlation.getGradAndHessian(123);
    expectDerivatives(plain, 123, gradient, hessian);
    const auto all = scene.correlation.getAllConformations();
    expectDerivatives(plain, 321, all[321].m_gradient, all[321].m_hessian);
}

TEST(ThirdOrderCrossCorrelation, ReadsDerivativesOfThePatternAsItWasExecuted) {
    Scene scene;
    scene.correlation.execute();
    PlainGrids plain(scene.model, scene.density, scene.target);
    scene.correlation.setTweenDof({1.0, 0.0, 0.0}, {0.0, 0.2, 0.0}, {});
    const auto [gradient, hessian] = scene.correlation.getGradAndHessian(77);
    expectDerivatives(plain, 77, gradient, hessian);
    EXPECT_NEAR(scene.correlation.getCorrelation()[77], plain.ccf[77], tolerance * magnitude(plain.ccf));
}

TEST(ThirdOrderCrossCorrelation, FollowsTheModelMovedByItsDegreesOfFreedom) {
    Scene scene(2);
    const arma::Col<double> eta{0.2, -0.1};
    scene.correlation.setTweenDof({0.5, -0.25, 0.1}, {0.02, 0.0, -0.05}, eta);
    scene.correlation.execute();
    scene.density.setTweenDof({0.5, -0.25, 0.1}, {0.02, 0.0, -0.05}, eta);
    PlainGrids plain(scene.model, scene.density, scene.target);
    EXPECT_NEAR(scene.correlation.getMaximum(), *std::max_element(plain.ccf.begin(), plain.ccf.end()),
                tolerance * magnitude(plain.ccf));
    const auto best = scene.correlation.getAllConformations(std::size_t{1});
    ASSERT_EQ(best.size(), 1U);
    EXPECT_EQ(best[0].m_ddx, 0.5);
    EXPECT_EQ(best[0].m_dgamma, -0.05);
    EXPECT_EQ(best[0].m_eta(1), -0.1);
}

TEST(ThirdOrderCrossCorrelation, ExecutingTwiceGivesTheSameGrids) {
    Scene scene;
    scene.correlation.execute();
    const auto first = scene.correlation.getCorrelation();
    scene.correlation.execute();
    EXPECT_EQ(scene.correlation.getCorrelation(), first);
}

TEST(ThirdOrderCrossCorrelation, FollowsATargetRewrittenBetweenExecutions) {
    Scene scene;
    scene.correlation.execute();
    const auto first = scene.correlation.getCorrelation();
    for (double& value : scene.target) {
        value *= 2.0;
    }
    scene.correlation.execute();
    for (std::size_t s = 0; s < first.size(); ++s) {
        EXPECT_NEAR(scene.correlation.getCorrelation()[s], 2.0 * first[s], tolerance * magnitude(first));
    }
}

TEST(ThirdOrderCrossCorrelation, ExecutionBeforeAPatternLeavesGridsOfZeros) {
    const TestModel model;
    std::vector<double> target = noise(model.grid->getTotalSize(), 1);
    ThirdOrderCrossCorrelation correlation(target.data(), model.grid, model.positions, model.sigma,
                                           model.engine, false);
    const unsigned long revision = correlation.getRevision();
    correlation.execute();
    EXPECT_NE(correlation.getRevision(), revision);
    const std::vector<double> zeros(target.size(), 0.0);
    EXPECT_EQ(correlation.getCorrelation(), zeros);
    EXPECT_EQ(correlation.getMaximum(), 0.0);
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    const double softMaximum = correlation.getSoftMaximumGradientAndHessian(gradient, hessian, 10.0);
    EXPECT_NEAR(softMaximum, std::log(static_cast<double>(zeros.size())) / 10.0, 1e-12);
    EXPECT_EQ(arma::norm(gradient) + arma::norm(hessian), 0.0);
    const auto [atVoxel, secondAtVoxel] = correlation.getGradAndHessian(target.size() - 1);
    EXPECT_EQ(atVoxel.n_elem, 6U);
    EXPECT_EQ(arma::norm(atVoxel) + arma::norm(secondAtVoxel), 0.0);
    LimitedSizeSet<HexaustFlexibleFitConformation> set(5);
    correlation.addConformations(set, 0.0, 0.0, 0.0);
    EXPECT_EQ(set.size(), 0U);

    // Nothing was executed that other executions could build on.
    EXPECT_THROW(correlation.executeOnSameTarget(), std::logic_error);
    EXPECT_THROW(correlation.adoptExecution(correlation), std::logic_error);
    correlation.initPatternEdm();
    correlation.execute();
    EXPECT_GT(correlation.getMaximum(), 0.0);
    ThirdOrderCrossCorrelation initialized(target.data(), model.grid, model.positions, model.sigma,
                                           model.engine, true);
    EXPECT_NO_THROW(initialized.execute());
}

TEST(ThirdOrderCrossCorrelation, AnnouncesAnExecutionThatIsReported) {
    Scene scene;
    cInfo info(80);
    testing::internal::CaptureStdout();
    scene.correlation.execute(info);
    std::fflush(stdout);
    const std::string report = testing::internal::GetCapturedStdout();
    EXPECT_NE(report.find("= Computing the Cross Correlation via FFT ="), std::string::npos);
    EXPECT_GT(scene.correlation.getMaximum(), 0.0);
}

TEST(ThirdOrderCrossCorrelation, MaximumWithDerivativesIsThatOfTheFirstBestVoxel) {
    Scene scene;
    scene.correlation.execute();
    const auto& ccf = scene.correlation.getCorrelation();
    const auto best = static_cast<std::size_t>(std::max_element(ccf.begin(), ccf.end()) - ccf.begin());
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    EXPECT_EQ(scene.correlation.getMaximumGradientAndHessian(gradient, hessian), ccf[best]);
    const auto [expectedGradient, expectedHessian] = scene.correlation.getGradAndHessian(best);
    EXPECT_TRUE(arma::approx_equal(gradient, expectedGradient, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(hessian, expectedHessian, "absdiff", 0.0));
}

TEST(ThirdOrderCrossCorrelation, SoftMaximumIsTheLogarithmOfTheSumOfExponentials) {
    Scene scene;
    scene.correlation.execute();
    const double beta = 40.0;
    double sum = 0.0;
    for (const double c : scene.correlation.getCorrelation()) {
        sum += std::exp(beta * c);
    }
    EXPECT_NEAR(scene.correlation.getSoftMaximum(beta), std::log(sum) / beta, 1e-12);
    EXPECT_GE(scene.correlation.getSoftMaximum(beta), scene.correlation.getMaximum());
}

// By beta, all voxels have weight, whose derivatives come from transforms; about 20, whose gradients are
// direct sums with the derivative maps; about 7, too few for these maps to pay; one.
class SoftMaximumDerivatives : public testing::TestWithParam<double> {};

TEST_P(SoftMaximumDerivatives, EqualTheLoopWithTheRunningGradient) {
    // Seen to fail with the finished gradient in the Hessian, and with the Hessian made symmetric.
    const double beta = GetParam();
    Scene scene(1);
    for (double& value : scene.target) {
        value *= 100.0;
    }
    scene.correlation.execute();
    PlainGrids plain(scene.model, scene.density, scene.target);
    const std::size_t n = plain.n;
    const double best = *std::max_element(plain.ccf.begin(), plain.ccf.end());
    double sum = 0.0;
    for (const double c : plain.ccf) {
        sum += std::exp(beta * (c - best));
    }
    const double soft = best + std::log(sum) / beta;
    std::vector<double> g(n, 0.0);
    std::vector<double> h(n * n, 0.0);
    for (std::size_t s = 0; s < plain.ccf.size(); ++s) {
        const double w = std::exp(-beta * (soft - plain.ccf[s]));
        for (std::size_t i = 0; i < n; ++i) {
            const double a = plain.gradient[i][s];
            g[i] += w * a;
            for (std::size_t j = 0; j < n; ++j) {
                h[i * n + j] += w * (plain.hessian[i * n + j][s] - beta * (g[i] - a) * plain.gradient[j][s]);
            }
        }
    }
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    EXPECT_NEAR(scene.correlation.getSoftMaximumGradientAndHessian(gradient, hessian, beta), soft,
                1e-10 * soft);
    for (std::size_t i = 0; i < n; ++i) {
        EXPECT_NEAR(gradient(i), g[i], tolerance * magnitude(g));
        for (std::size_t j = 0; j < n; ++j) {
            EXPECT_NEAR(hessian(i, j), h[i * n + j], tolerance * magnitude(h));
        }
    }
    arma::Col<double> presentGradient;
    arma::Mat<double> presentHessian;
    scene.correlation.getSoftMaximumGradientAndHessianOfPresentTarget(presentGradient, presentHessian, beta);
    EXPECT_TRUE(arma::approx_equal(presentGradient, gradient, "absdiff", tolerance * magnitude(g)));
    EXPECT_TRUE(arma::approx_equal(presentHessian, hessian, "absdiff", tolerance * magnitude(h)));
}

INSTANTIATE_TEST_SUITE_P(Beta, SoftMaximumDerivatives, testing::Values(0.5, 20.0, 250.0, 400.0, 10000.0));

TEST(ThirdOrderCrossCorrelation, SoftMaximumBeforeAnyExecutionIsFlat) {
    Scene scene;
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    const double beta = 2.0;
    EXPECT_NEAR(scene.correlation.getSoftMaximumGradientAndHessian(gradient, hessian, beta),
                std::log(static_cast<double>(scene.target.size())) / beta, 1e-14);
    EXPECT_EQ(arma::abs(gradient).max(), 0.0);
    EXPECT_EQ(arma::abs(hessian).max(), 0.0);
}

TEST(ThirdOrderCrossCorrelation, ASecondExecutionDoesNotTakeThePatternAgain) {
    Scene scene;
    EXPECT_TRUE(scene.correlation.isPatternChanged());
    scene.correlation.execute();
    EXPECT_FALSE(scene.correlation.isPatternChanged());
    scene.correlation.setRotationCenter(scene.center);
    EXPECT_TRUE(scene.correlation.isPatternChanged());
}

TEST(ThirdOrderCrossCorrelation, DerivativesOfAVoxelAreTheSameWithAndWithoutATableOfThePattern) {
    Scene scene(2);
    scene.correlation.execute();
    const auto [gradient, hessian] = scene.correlation.getGradAndHessian(50);
    const auto all = scene.correlation.getAllConformations(400);
    const auto [gradientOfTable, hessianOfTable] = scene.correlation.getGradAndHessian(50);
    ASSERT_EQ(all.size(), 400U);
    EXPECT_TRUE(arma::approx_equal(gradient, gradientOfTable, "absdiff",
                                   tolerance * arma::abs(gradientOfTable).max()));
    EXPECT_TRUE(
        arma::approx_equal(hessian, hessianOfTable, "absdiff", tolerance * arma::abs(hessianOfTable).max()));
}

TEST(ThirdOrderCrossCorrelation, ATableIsOfThePatternThatWasExecuted) {
    Scene scene;
    scene.correlation.execute();
    const auto stays = scene.correlation.getAllConformations(400);
    scene.correlation.setTweenDof({1.0, 0.0, 0.0}, {0.0, 0.2, 0.0}, {});
    const auto same = scene.correlation.getAllConformations(400);
    EXPECT_TRUE(arma::approx_equal(same[0].m_gradient, stays[0].m_gradient, "absdiff", 0.0));
    scene.correlation.execute();
    const auto moved = scene.correlation.getAllConformations(400);
    scene.density.setTweenDof({1.0, 0.0, 0.0}, {0.0, 0.2, 0.0}, {});
    const PlainGrids plain(scene.model, scene.density, scene.target);
    const auto s = scene.model.grid->indexToFlatIndex(moved[0].m_i, moved[0].m_j, moved[0].m_k);
    expectDerivatives(plain, s, moved[0].m_gradient, moved[0].m_hessian);
}

TEST(ThirdOrderCrossCorrelation, AMoveThatFailsLeavesTheStateAsItWas) {
    Scene scene(1);
    scene.correlation.execute();
    EXPECT_ANY_THROW(scene.correlation.setTweenDof({5.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, arma::zeros(7)));
    LimitedSizeSet<HexaustFlexibleFitConformation> set(1);
    scene.correlation.addConformations(set, 0.0, 0.0, 0.0);
    EXPECT_EQ(set.last().m_ddx, 0.0);
    EXPECT_EQ(set.last().m_eta.n_elem, 1U);
}

TEST(ThirdOrderCrossCorrelation, SoftMaximumOfALonePeakIsThePeakWithItsGradient) {
    Scene scene;
    scene.correlation.execute();
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    const double soft = scene.correlation.getSoftMaximumGradientAndHessian(gradient, hessian, 1.0e6);
    EXPECT_NEAR(soft, scene.correlation.getMaximum(), 1e-15);
    arma::Col<double> peakGradient;
    arma::Mat<double> peakHessian;
    scene.correlation.getMaximumGradientAndHessian(peakGradient, peakHessian);
    EXPECT_TRUE(arma::approx_equal(gradient, peakGradient, "absdiff", 1e-12));
}

/// The set that the literal rules give, from the engines' grids.
LimitedSizeSet<HexaustFlexibleFitConformation> literalSet(const Scene& scene, const PlainGrids& plain,
                                                          std::size_t limit) {
    LimitedSizeSet<HexaustFlexibleFitConformation> set(limit);
    for (std::size_t s = 0; s < plain.ccf.size(); ++s) {
        const double c = scene.correlation.getCorrelation()[s];
        if (!(c > ElectronDensity::EPSILON) || (set.isFull() && !(c > set.last().m_rigidScore))) {
            continue;
        }
        const auto [i, j, k] = scene.model.grid->m_flatIndex2Index[s];
        HexaustFlexibleFitConformation candidate(c, static_cast<int>(i), static_cast<int>(j),
                                                 static_cast<int>(k), {}, scene.model.grid, 0.1, 0.2, 0.3);
        candidate.m_gradient.set_size(plain.n);
        candidate.m_hessian.set_size(plain.n, plain.n);
        for (std::size_t r = 0; r < plain.n; ++r) {
            candidate.m_gradient(r) = plain.gradient[r][s];
            for (std::size_t t = 0; t < plain.n; ++t) {
                candidate.m_hessian(r, t) = plain.hessian[r * plain.n + t][s];
            }
        }
        set.add(candidate);
    }
    return set;
}

TEST(ThirdOrderCrossCorrelation, OffersCandidatesByTheLiteralRulesWithBothSourcesOfDerivatives) {
    Scene scene;
    scene.correlation.execute();
    PlainGrids plain(scene.model, scene.density, scene.target);
    for (const std::size_t limit : {std::size_t{1}, std::size_t{7}, std::size_t{100000}}) {
        const auto expected = literalSet(scene, plain, limit).toStdVector();
        LimitedSizeSet<HexaustFlexibleFitConformation> kept(limit);
        LimitedSizeSet<HexaustFlexibleFitConformation> present(limit);
        scene.correlation.addConformations(kept, 0.1, 0.2, 0.3);
        scene.correlation.addConformationsOfPresentTarget(present, 0.1, 0.2, 0.3);
        for (const auto& set : {kept.toStdVector(), present.toStdVector()}) {
            ASSERT_EQ(set.size(), expected.size());
            for (std::size_t n = 0; n < set.size(); n += 13) {
                EXPECT_EQ(set[n].m_rigidScore, expected[n].m_rigidScore);
                EXPECT_EQ(set[n].m_i, expected[n].m_i);
                EXPECT_EQ(set[n].m_j, expected[n].m_j);
                EXPECT_EQ(set[n].m_k, expected[n].m_k);
                EXPECT_EQ(set[n].m_gamma, 0.3);
                const auto s = scene.model.grid->indexToFlatIndex(set[n].m_i, set[n].m_j, set[n].m_k);
                expectDerivatives(plain, s, set[n].m_gradient, set[n].m_hessian);
            }
        }
    }
}

TEST(ThirdOrderCrossCorrelation, KeepsTheDerivativesOfEarlierRotations) {
    Scene scene;
    scene.correlation.execute();
    LimitedSizeSet<HexaustFlexibleFitConformation> set(3);
    scene.correlation.addConformationsOfPresentTarget(set, 0.1, 0.2, 0.3);
    const auto before = set.toStdVector();
    for (double& value : scene.target) {
        value *= 0.5;
    }
    scene.correlation.execute();
    scene.correlation.addConformationsOfPresentTarget(set, 0.4, 0.5, 0.6);
    const auto after = set.toStdVector();
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t n = 0; n < after.size(); ++n) {
        EXPECT_EQ(after[n].m_alpha, 0.1);
        EXPECT_TRUE(arma::approx_equal(after[n].m_gradient, before[n].m_gradient, "absdiff", 0.0));
    }
}

TEST(ThirdOrderCrossCorrelation, ElementsOfOtherOriginStayWithoutDerivatives) {
    Scene scene;
    scene.correlation.execute();
    LimitedSizeSet<HexaustFlexibleFitConformation> set(3);
    // Off the grid, so that its derivatives could not even be asked for.
    set.add(HexaustFlexibleFitConformation(1e6, 1000, 2000, 3000, {}, scene.model.grid));
    scene.correlation.addConformations(set, 0.1, 0.2, 0.3);
    const auto kept = set.toStdVector();
    ASSERT_EQ(kept.size(), 3U);
    EXPECT_EQ(kept[0].m_i, 1000);
    EXPECT_TRUE(kept[0].m_gradient.is_empty());
    EXPECT_TRUE(kept[0].m_hessian.is_empty());
    EXPECT_EQ(kept[1].m_gradient.n_elem, 6U);
    EXPECT_EQ(kept[1].m_hessian.n_rows, 6U);
}

TEST(ThirdOrderCrossCorrelation, AllNegativeCorrelationsLeaveASetUnchanged) {
    Scene scene;
    for (double& value : scene.target) {
        value = -std::abs(value);
    }
    scene.correlation.execute();
    LimitedSizeSet<HexaustFlexibleFitConformation> set(5);
    scene.correlation.addConformations(set, 0.0, 0.0, 0.0);
    EXPECT_EQ(set.size(), 0U);
    EXPECT_EQ(scene.correlation.getAllConformations().size(), scene.target.size());
    EXPECT_TRUE(scene.correlation.getAllConformations(std::size_t{5}).empty());
}

TEST(ThirdOrderCrossCorrelation, OfEqualScoresTheFirstInFlatOrderStays) {
    Scene scene;
    // A constant target makes all scores equal up to rounding; a zero spectrum but for one term, exactly.
    std::fill(scene.target.begin(), scene.target.end(), 1.0);
    scene.correlation.execute();
    const auto& ccf = scene.correlation.getCorrelation();
    LimitedSizeSet<HexaustFlexibleFitConformation> set(100000);
    scene.correlation.addConformations(set, 0.0, 0.0, 0.0);
    for (const auto& candidate : set) {
        const auto place = scene.model.grid->indexToFlatIndex(candidate.m_i, candidate.m_j, candidate.m_k);
        const auto first = std::find(ccf.begin(), ccf.end(), candidate.m_rigidScore) - ccf.begin();
        EXPECT_EQ(static_cast<long>(place), first);
    }
    EXPECT_LT(set.size(), ccf.size());
}

TEST(ThirdOrderCrossCorrelation, AFullSetRefusesAnEqualOfItsWorst) {
    Scene scene;
    scene.correlation.execute();
    LimitedSizeSet<HexaustFlexibleFitConformation> set(1);
    scene.correlation.addConformations(set, 0.1, 0.0, 0.0);
    const double worst = set.last().m_rigidScore;
    scene.correlation.addConformations(set, 0.9, 0.0, 0.0);
    EXPECT_EQ(set.last().m_rigidScore, worst);
    EXPECT_EQ(set.last().m_alpha, 0.1);
}

TEST(ThirdOrderCrossCorrelation, AVoxelAtTheFloorIsNoCandidate) {
    // One unit of target under a pattern node scales the correlation freely: put the best voxel at the floor.
    Scene scene;
    scene.correlation.execute();
    const double best = scene.correlation.getMaximum();
    for (double& value : scene.target) {
        value *= ElectronDensity::EPSILON / best;
    }
    scene.correlation.execute();
    LimitedSizeSet<HexaustFlexibleFitConformation> set(100000);
    scene.correlation.addConformations(set, 0.0, 0.0, 0.0);
    const auto& ccf = scene.correlation.getCorrelation();
    const auto above =
        std::count_if(ccf.begin(), ccf.end(), [](double c) { return c > ElectronDensity::EPSILON; });
    EXPECT_EQ(static_cast<long>(set.size()), above);
    EXPECT_LE(set.size(), 1U);
}

TEST(ThirdOrderCrossCorrelation, WithoutModesThereAreSixDegreesOfFreedom) {
    Scene scene;
    scene.correlation.execute();
    const auto [gradient, hessian] = scene.correlation.getGradAndHessian(0);
    EXPECT_EQ(gradient.n_elem, 6U);
    EXPECT_EQ(hessian.n_elem, 36U);
}

TEST(ShiftedSums, EqualTheDirectSumOverAllVoxels) {
    const TestModel model(1);
    const DensityTable table = model.density().tabulate();
    const std::vector<double> target = noise(model.grid->getTotalSize(), 2);
    const std::vector<std::size_t> shifts{0, 5, 400, model.grid->getTotalSize() - 1};
    const std::vector<double> sums = shiftedSums(table, *model.grid, target.data(), shifts);
    const std::size_t columns = table.columns() - 1;
    ASSERT_EQ(sums.size(), shifts.size() * columns);
    const cGrid& grid = *model.grid;
    for (std::size_t p = 0; p < shifts.size(); ++p) {
        const auto [si, sj, sk] = grid.m_flatIndex2Index[shifts[p]];
        for (std::size_t q = 0; q < columns; q += 5) {
            double expected = 0.0;
            for (std::size_t n = 0; n < table.nodes.size(); ++n) {
                const auto [i, j, k] = grid.m_flatIndex2Index[table.nodes[n]];
                const std::size_t v = (((i + grid.m_size[0] - si) % grid.m_size[0]) * grid.m_size[1] +
                                       (j + grid.m_size[1] - sj) % grid.m_size[1]) *
                                          grid.m_size[2] +
                                      (k + grid.m_size[2] - sk) % grid.m_size[2];
                expected += table.row(n)[1 + q] * target[v];
            }
            EXPECT_NEAR(sums[p * columns + q], expected / (8.0 * pi * pi * pi), 1e-13);
        }
    }
}

} // namespace
