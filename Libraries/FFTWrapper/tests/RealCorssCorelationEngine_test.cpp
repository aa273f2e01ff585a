// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "FFTWrapper/RealCorssCorelationEngine.h"
#include "Math/pi.h"
#include "testFields.h"

using namespace testfields;
using dft::RealCorssCorelationEngine;

static_assert(!std::is_copy_constructible_v<RealCorssCorelationEngine>);
static_assert(!std::is_move_constructible_v<RealCorssCorelationEngine>);

namespace {

class Engine : public testing::TestWithParam<Shape> {};

void expectNear(const std::vector<double>& actual, const std::vector<double>& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (std::size_t s = 0; s < actual.size(); ++s) {
        EXPECT_NEAR(actual[s], expected[s], tolerance) << "shift " << s;
    }
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Shapes, Engine, testing::ValuesIn(shapes), testing::PrintToStringParamName());

TEST_P(Engine, EqualsDirectSumOnUnequalAxes) {
    const Shape n = GetParam();
    std::vector<double> f = randomField(n, 4);
    std::vector<double> g = randomField(n, 5);
    std::vector<double> result(n.size());
    RealCorssCorelationEngine engine(makeGrid(n), f.data(), g.data(), result.data());
    engine.execute(true, true);
    expectNear(result, directCorrelation(n, f, g));
}

TEST_P(Engine, UnitVoxelsCorrelateToOneUnitAtTheirDistance) {
    // Seen to fail without the (2 pi)^3 in the divisor, and with the means removed.
    const Shape n = GetParam();
    for (std::size_t s = 0; s < n.size(); ++s) {
        std::vector<double> f(n.size(), 0.0);
        std::vector<double> g(n.size(), 0.0);
        std::vector<double> expected(n.size(), 0.0);
        f[0] = 1.0;
        g[s] = 1.0;
        expected[s] = 1.0 / (8.0 * pi * pi * pi);
        std::vector<double> result(n.size());
        RealCorssCorelationEngine(makeGrid(n), f.data(), g.data(), result.data()).execute(true, true);
        expectNear(result, expected);
    }
}

TEST(RealCorssCorelationEngine, StoredSpectraGiveTheSameResultWhateverTheInputsHoldNow) {
    const Shape n{3, 4, 5};
    std::vector<double> f = randomField(n, 6);
    std::vector<double> g = randomField(n, 7);
    std::vector<double> result(n.size());
    RealCorssCorelationEngine engine(makeGrid(n), f.data(), g.data(), result.data());
    engine.execute(true, true);
    const std::vector<double> first = result;
    std::fill(f.begin(), f.end(), 9.0);
    std::fill(g.begin(), g.end(), -9.0);
    std::fill(result.begin(), result.end(), 0.0);
    engine.execute(false, false);
    EXPECT_EQ(result, first);
}

TEST(RealCorssCorelationEngine, TransformsOnlyTheFlaggedInput) {
    const Shape n{3, 4, 5};
    const std::vector<double> f0 = randomField(n, 8);
    const std::vector<double> g0 = randomField(n, 9);
    const std::vector<double> f1 = randomField(n, 10);
    const std::vector<double> g1 = randomField(n, 11);
    std::vector<double> f = f0;
    std::vector<double> g = g0;
    std::vector<double> result(n.size());
    RealCorssCorelationEngine engine(makeGrid(n), f.data(), g.data(), result.data());
    engine.execute(true, true);
    f = f1;
    g = g1;
    engine.execute(true, false);
    expectNear(result, directCorrelation(n, f1, g0));
    f = f0;
    engine.execute(false, true);
    expectNear(result, directCorrelation(n, f1, g1));
}

TEST(RealCorssCorelationEngine, LeavesItsInputsAlone) {
    const Shape n{5, 3, 7};
    std::vector<double> f = randomField(n, 12);
    std::vector<double> g = randomField(n, 13);
    const std::vector<double> f0 = f;
    const std::vector<double> g0 = g;
    std::vector<double> result(n.size());
    RealCorssCorelationEngine(makeGrid(n), f.data(), g.data(), result.data()).execute(true, true);
    EXPECT_EQ(f, f0);
    EXPECT_EQ(g, g0);
}

TEST(RealCorssCorelationEngine, FirstCallWithoutTransformsCorrelatesZeros) {
    const Shape n{3, 4, 5};
    std::vector<double> f = randomField(n, 14);
    std::vector<double> g = randomField(n, 15);
    std::vector<double> result(n.size(), 1.0);
    RealCorssCorelationEngine(makeGrid(n), f.data(), g.data(), result.data()).execute(false, false);
    EXPECT_EQ(result, std::vector<double>(n.size(), 0.0));
}

TEST(RealCorssCorelationEngine, SeveralEnginesStandBehindPointersAndShareAnInput) {
    const Shape n{2, 6, 8};
    std::vector<double> f = randomField(n, 16);
    std::vector<std::vector<double>> patterns;
    std::vector<std::vector<double>> results(3, std::vector<double>(n.size()));
    std::vector<std::unique_ptr<RealCorssCorelationEngine>> engines;
    for (unsigned int p = 0; p < 3; ++p) {
        patterns.push_back(randomField(n, 17 + p));
        engines.push_back(std::make_unique<RealCorssCorelationEngine>(makeGrid(n), f.data(),
                                                                      patterns[p].data(), results[p].data()));
    }
    for (const auto& engine : engines) {
        engine->execute(true, true);
    }
    for (std::size_t p = 0; p < 3; ++p) {
        expectNear(results[p], directCorrelation(n, f, patterns[p]));
    }
}

TEST(RealCorssCorelationEngine, GridWithoutVoxelsThrows) {
    std::vector<double> field(1);
    EXPECT_THROW(RealCorssCorelationEngine(cGrid(), field.data(), field.data(), field.data()),
                 std::runtime_error);
}

TEST(RealCorssCorelationEngine, GridWhoseTotalIsNotItsProductThrows) {
    cGrid grid = makeGrid({3, 4, 5});
    grid.m_size[2] = 6;
    std::vector<double> field(72);
    EXPECT_THROW(RealCorssCorelationEngine(grid, field.data(), field.data(), field.data()),
                 std::length_error);
}
