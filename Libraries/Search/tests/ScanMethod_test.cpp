// SPDX-License-Identifier: GPL-3.0-or-later
// The two ways to score a rotation behind their common interface.
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "CrossCorrelation/tests/testModel.h"
#include "Search/ScanMethod.h"
#include "Search/ScanShare.h"
#include "Search/tests/scanScene.h"

namespace {

struct TestScene : ScanScene {
    TestScene() : ScanScene(0) {
        std::mt19937 random(23);
        std::uniform_real_distribution<double> value(0.0, 1.0);
        values.resize(map.getTotalSize());
        for (double& v : values) {
            v = value(random);
        }
    }
};

/// The merged candidates of some workers, each with its share of the list.
std::vector<HexaustFlexibleFitConformation> scan(ScanMethod& method, const std::vector<Rotation>& list,
                                                 std::size_t workers, std::size_t capacity) {
    std::vector<std::vector<double>> buffers(workers);
    std::vector<CandidateSet> sets(workers, CandidateSet(capacity));
    for (std::size_t i = 0; i < workers; ++i) {
        if (method.usesBuffer()) {
            method.fillBuffer(buffers[i]);
        }
        const std::unique_ptr<ScanWorker> worker = method.makeWorker(buffers[i]);
        method.makePattern(*worker);
        const ScanShare share = ScanShare::of(i, workers, list.size());
        for (std::size_t k = share.first; k < share.first + share.count; ++k) {
            worker->step(list[k], sets[i]);
        }
    }
    return mergeCandidates(sets);
}

TEST(PlainScanMethod, ScoresAreThoseOfTheWholeCorrelationOnThePaddedMap) {
    const TestScene test;
    const auto method = ScanMethod::choose(test.scene(), false);
    const std::vector<Rotation> list = randomRotations(3);
    for (const Rotation& angles : list) {
        const auto found = scan(*method, {angles}, 1, 50);
        std::vector<double> target(test.padded.getTotalSize());
        ElectronDensity::rotateNonZeroPadded(test.values, test.map, angles, test.padded, target.data(), 0.5);
        ThirdOrderCrossCorrelation plain(target.data(), test.model.grid, test.model.positions,
                                         test.model.sigma, test.model.engine, false);
        plain.setRotationCenter(method->scene().rotationCenter());
        plain.initPatternEdm();
        plain.execute();
        CandidateSet expected(50);
        plain.addConformations(expected, angles[0], angles[1], angles[2]);
        ASSERT_EQ(found.size(), expected.size());
        auto next = expected.begin();
        for (const auto& candidate : found) {
            EXPECT_NEAR(candidate.m_rigidScore, next->m_rigidScore, 1e-12 * next->m_rigidScore);
            ++next;
        }
    }
}

TEST(PlainScanMethod, AnyDealingOfTheListGivesTheSamePoses) {
    const TestScene test;
    const std::vector<Rotation> list = randomRotations(11);
    const auto one = scan(*ScanMethod::choose(test.scene(), false), list, 1, 40);
    ASSERT_EQ(one.size(), 40U);
    for (const std::size_t workers : {2U, 3U, 5U, 16U}) {
        const auto many = scan(*ScanMethod::choose(test.scene(), false), list, workers, 40);
        ASSERT_EQ(many.size(), one.size());
        for (std::size_t n = 0; n < one.size(); ++n) {
            EXPECT_EQ(many[n].m_rigidScore, one[n].m_rigidScore);
            EXPECT_EQ(many[n].m_alpha, one[n].m_alpha);
            EXPECT_EQ(many[n].m_i, one[n].m_i);
        }
    }
}

TEST(ScanMethod, GivesTheDensityOfTheModelToTheFirstWorkerAlone) {
    const TestScene test;
    for (const bool multistep : {false, true}) {
        const auto method = ScanMethod::choose(test.scene(), multistep);
        EXPECT_EQ(method->usesBuffer(), multistep);
        std::vector<double> buffers[2];
        method->fillBuffer(buffers[0]);
        method->fillBuffer(buffers[1]);
        const auto first = method->makeWorker(buffers[0]);
        const auto second = method->makeWorker(buffers[1]);
        testing::internal::CaptureStdout();
        const auto density = method->makePattern(*second);
        EXPECT_EQ(method->makePattern(*first), nullptr);
        testing::internal::GetCapturedStdout();
        ASSERT_NE(density, nullptr);
        std::vector<double> given(test.padded.getTotalSize(), 0.0);
        std::vector<double> expected(given);
        density->eval(given);
        method->scene().modelDensity()->eval(expected);
        EXPECT_EQ(given, expected);
    }
}

TEST(MultistepScanMethod, CandidatesCarryTheStateOfTheirRotationAndTheDerivativesThere) {
    const TestScene test;
    const auto method = ScanMethod::choose(test.scene(), true);
    testing::internal::CaptureStdout();
    const auto moved = scan(*method, randomRotations(3), 2, 20);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(moved.size(), 20U);
    for (const auto& candidate : moved) {
        EXPECT_EQ(candidate.m_gradient.n_elem, 6U);
        EXPECT_EQ(candidate.m_hessian.n_elem, 36U);
        EXPECT_NE(candidate.m_ddx, 0.0);
    }
}

TEST(ScanMethod, MemoryGrowsByAPaddedMapAWorkerAndWithMultistepByTwelve) {
    const TestScene test;
    const double padded = 8.0 * test.padded.getTotalSize();
    const auto plain = ScanMethod::choose(test.scene(), false);
    EXPECT_DOUBLE_EQ(plain->bytesNeeded(5, 10, 7) - plain->bytesNeeded(4, 10, 7), padded + 7 * 96);
    const auto multistep = ScanMethod::choose(test.scene(), true);
    EXPECT_DOUBLE_EQ(multistep->bytesNeeded(5, 10, 7) - multistep->bytesNeeded(4, 10, 7), 12.0 * padded);
}

} // namespace
