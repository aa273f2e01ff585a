// SPDX-License-Identifier: GPL-3.0-or-later
#include <stdexcept>

#include "CrossCorrelation/FirstOrderCrossCorrelation.h"
#include "orderScene.h"

namespace {

using Scene = OrderScene<FirstOrderCrossCorrelation>;

constexpr double sameGrid = 1e-12; // of the grid's largest magnitude

TEST(FirstOrderCrossCorrelation, EqualsTheThirdOrderInTheSameState) {
    for (const unsigned int modes : {0U, 2U}) {
        Scene scene(modes);
        scene.executeBoth();
        expectSameGrid(scene.correlation.getCorrelation(), scene.third.getCorrelation(), sameGrid);
        const arma::Col<double> eta(modes, arma::fill::value(0.15));
        scene.move({0.5, -0.25, 0.1}, {0.02, 0.0, -0.05}, eta);
        scene.executeBoth();
        expectSameGrid(scene.correlation.getCorrelation(), scene.third.getCorrelation(), sameGrid);
        EXPECT_EQ(scene.correlation.getMaximum(), scene.third.getMaximum());
        EXPECT_EQ(scene.correlation.getSoftMaximum(40.0), scene.third.getSoftMaximum(40.0));
    }
}

TEST(FirstOrderCrossCorrelation, TheMaximumIsFoundWhereverItStands) {
    Scene scene;
    const auto& ccf = scene.correlation.getCorrelation();
    const std::size_t size = scene.target.size();
    for (std::size_t back = 0; back < 20; ++back) {
        std::fill(scene.target.begin(), scene.target.end(), 0.0);
        scene.target[back * size / 20] = 1.0;
        scene.correlation.execute();
        EXPECT_EQ(scene.correlation.getMaximum(), *std::max_element(ccf.begin(), ccf.end()));
    }
}

TEST(FirstOrderCrossCorrelation, ExecutionBeforeAPatternLeavesAGridOfZeros) {
    const TestModel model;
    std::vector<double> target = noise(model.grid->getTotalSize(), 1);
    FirstOrderCrossCorrelation correlation(target.data(), model.grid, model.positions, model.sigma,
                                           model.engine, false);
    correlation.execute();
    EXPECT_EQ(correlation.getCorrelation(), std::vector<double>(target.size(), 0.0));
    FirstOrderCrossCorrelation initialized(target.data(), model.grid, model.positions, model.sigma,
                                           model.engine, true);
    EXPECT_TRUE(initialized.isPatternChanged());
    EXPECT_NO_THROW(initialized.execute());
    EXPECT_GT(initialized.getMaximum(), 0.0);
}

TEST(FirstOrderCrossCorrelation, AReportedExecutionStaysWithTheOldPattern) {
    // Seen to fail with the pattern that changed transformed, as without a report.
    Scene scene;
    scene.executeBoth();
    scene.correlation.setTweenDof({1.0, 0.0, 0.0}, {0.0, 0.2, 0.0}, {});
    for (double& value : scene.target) {
        value = 0.5 - value;
    }
    EXPECT_NE(reportOf(scene.correlation).find("= Computing the Cross Correlation via FFT ="),
              std::string::npos);
    scene.third.execute(); // the new target, the model where it was
    expectSameGrid(scene.correlation.getCorrelation(), scene.third.getCorrelation(), sameGrid);
    EXPECT_TRUE(scene.correlation.isPatternChanged());

    scene.third.setTweenDof({1.0, 0.0, 0.0}, {0.0, 0.2, 0.0}, {});
    scene.executeBoth();
    expectSameGrid(scene.correlation.getCorrelation(), scene.third.getCorrelation(), sameGrid);
    EXPECT_FALSE(scene.correlation.isPatternChanged());
}

TEST(FirstOrderCrossCorrelation, AReportedExecutionBeforeAnyOtherGivesZeros) {
    Scene scene;
    reportOf(scene.correlation);
    EXPECT_EQ(scene.correlation.getCorrelation(), std::vector<double>(scene.target.size(), 0.0));
    EXPECT_TRUE(scene.correlation.isPatternChanged());
}

TEST(FirstOrderCrossCorrelation, TheRotationCentreLeavesTheFlag) {
    // Seen to fail with the flag set, as in the third order.
    Scene scene;
    scene.executeBoth();
    scene.correlation.setRotationCenter(cVector3(1.0, 2.0, 3.0));
    scene.third.setRotationCenter(cVector3(1.0, 2.0, 3.0));
    EXPECT_FALSE(scene.correlation.isPatternChanged());
    EXPECT_TRUE(scene.third.isPatternChanged());
    scene.correlation.initPatternEdm();
    scene.correlation.setRotationCenter(cVector3(4.0, 2.0, 3.0));
    EXPECT_TRUE(scene.correlation.isPatternChanged());
}

TEST(FirstOrderCrossCorrelation, TheRotationCentreCountsFromTheNextMoveOn) {
    Scene scene;
    scene.correlation.setRotationCenter(cVector3(1.0, 2.0, 3.0));
    scene.executeBoth();
    expectSameGrid(scene.correlation.getCorrelation(), scene.third.getCorrelation(), sameGrid);
    scene.third.setRotationCenter(cVector3(1.0, 2.0, 3.0));
    scene.move({0.0, 0.0, 0.0}, {0.1, 0.0, 0.0}, {});
    scene.executeBoth();
    expectSameGrid(scene.correlation.getCorrelation(), scene.third.getCorrelation(), sameGrid);
}

TEST(FirstOrderCrossCorrelation, ListsAConformationPerVoxelInFlatOrder) {
    Scene scene(1);
    scene.move({0.5, -0.25, 0.1}, {0.02, 0.01, -0.05}, {0.3});
    scene.executeBoth();
    const auto all = scene.correlation.getAllConformations();
    const auto& ccf = scene.correlation.getCorrelation();
    ASSERT_EQ(all.size(), ccf.size());
    for (std::size_t s = 0; s < all.size(); s += 29) {
        EXPECT_EQ(all[s].m_rigidScore, ccf[s]);
        EXPECT_EQ(scene.model.grid->indexToFlatIndex(all[s].m_i, all[s].m_j, all[s].m_k), s);
        EXPECT_EQ(all[s].m_ddy, -0.25);
        EXPECT_EQ(all[s].m_dbeta, 0.01);
        EXPECT_EQ(all[s].m_eta(0), 0.3);
        EXPECT_EQ(all[s].m_alpha, 0.0);
        EXPECT_EQ(all[s].m_grid, scene.model.grid);
    }
}

TEST(FirstOrderCrossCorrelation, TheBestConformationsComeBestFirst) {
    Scene scene;
    scene.executeBoth();
    const auto best = scene.correlation.getAllConformations(std::size_t{7});
    const auto expected = scene.third.getAllConformations(std::size_t{7});
    ASSERT_EQ(best.size(), expected.size());
    for (std::size_t n = 0; n < best.size(); ++n) {
        EXPECT_EQ(best[n].m_rigidScore, expected[n].m_rigidScore);
        EXPECT_EQ(best[n].m_k, expected[n].m_k);
        EXPECT_EQ(best[n].m_gamma, 0.0);
    }
}

TEST(FirstOrderCrossCorrelation, OffersTheSameVoxelsAsTheThirdOrder) {
    Scene scene;
    scene.executeBoth();
    LimitedSizeSet<NonHexaustFlexibleFitConformation> set(20);
    LimitedSizeSet<HexaustFlexibleFitConformation> expected(20);
    for (const double alpha : {0.1, 0.9}) { // the second round finds nothing better than its equals
        scene.correlation.addConformations(set, alpha, 0.2, 0.3);
        scene.third.addConformations(expected, alpha, 0.2, 0.3);
    }
    const auto kept = set.toStdVector();
    const auto kept3 = expected.toStdVector();
    ASSERT_EQ(kept.size(), kept3.size());
    for (std::size_t n = 0; n < kept.size(); ++n) {
        EXPECT_EQ(kept[n].m_rigidScore, kept3[n].m_rigidScore);
        EXPECT_EQ(kept[n].m_i, kept3[n].m_i);
        EXPECT_EQ(kept[n].m_alpha, kept3[n].m_alpha);
        EXPECT_EQ(kept[n].m_gamma, 0.3);
    }
}

TEST(FirstOrderCrossCorrelation, NoVoxelBelowTheFloorIsACandidate) {
    Scene scene(0, -1.0, 0.0);
    scene.executeBoth();
    LimitedSizeSet<NonHexaustFlexibleFitConformation> set(5);
    scene.correlation.addConformations(set, 0.0, 0.0, 0.0);
    EXPECT_EQ(set.size(), 0U);
    EXPECT_TRUE(scene.correlation.getAllConformations(std::size_t{5}).empty());
    EXPECT_EQ(scene.correlation.getAllConformations().size(), scene.target.size());
}

} // namespace
