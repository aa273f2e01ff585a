// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "Math/pi.h"
#include "Preparation/AxisFilter.h"
#include "Preparation/ScanChoice.h"

namespace {

std::vector<double> filtered(const AxisFilter& filter, const std::vector<double>& line) {
    std::vector<double> result;
    for (std::size_t j = 0; j < filter.size(); ++j) {
        double sum = 0.0;
        for (std::size_t t = 0; t < filter.weights[j].size(); ++t) {
            sum += static_cast<double>(filter.weights[j][t]) * line.at(filter.first[j] + t);
        }
        result.push_back(sum);
    }
    return result;
}

template <class Function>
std::vector<double> lineOf(std::size_t count, double step, Function&& function) {
    std::vector<double> line;
    for (std::size_t i = 0; i < count; ++i) {
        line.push_back(function(static_cast<double>(i) * step));
    }
    return line;
}

struct Case {
    double from, to, source, target;
};

const std::vector<Case> cases = {
    {3.8, 10.0, 1.0, 10.0 / 3.0}, {10.0, 10.0, 3.33, 10.0 / 3.0}, {11.5, 11.5, 5.4, 11.5 / 3.0},
    {10.0, 10.0, 1.3, 3.1},       {8.0, 20.0, 0.7, 6.0},
};

} // namespace

TEST(AxisFilter, KeepsAConstant) {
    for (const Case& c : cases) {
        const AxisFilter filter(60, c.source, c.target, LowPass::between(c.from, c.to, c.source, c.target));
        for (const double value : filtered(filter, std::vector<double>(60, 3.25))) {
            EXPECT_NEAR(value, 3.25, 1e-5);
        }
    }
}

TEST(AxisFilter, PassesAWaveByItsTransfer) {
    for (const Case& c : cases) {
        const LowPass lowPass = LowPass::between(c.from, c.to, c.source, c.target);
        const std::size_t count = static_cast<std::size_t>(6.0 * lowPass.reach() / c.source) + 10;
        const AxisFilter filter(count, c.source, c.target, lowPass);
        const double finest = std::min(1.0 / c.to, 0.35 / std::max(c.source, c.target));
        for (const double frequency : {0.0, 0.3 * finest, 0.7 * finest, finest}) {
            const auto wave = [&](double x) { return std::cos(2.0 * pi * frequency * x + 0.7); };
            const std::vector<double> result = filtered(filter, lineOf(count, c.source, wave));
            for (std::size_t j = 0; j < result.size(); ++j) {
                const double x = static_cast<double>(j) * c.target;
                const double end = static_cast<double>(count - 1) * c.source;
                if (x > lowPass.reach() && end - x > lowPass.reach()) {
                    EXPECT_NEAR(result[j], lowPass.transfer(frequency) * wave(x), 0.006) << frequency;
                }
            }
        }
    }
}

TEST(AxisFilter, LetsNoAliasIntoTheBand) {
    // A frequency f shows up at 1 / target - f; what would land in the band below 1 / to has to be gone.
    for (const Case& c : cases) {
        if (c.target < c.source) {
            continue; // a finer lattice has no aliases
        }
        const LowPass lowPass = LowPass::between(c.from, c.to, c.source, c.target);
        const std::size_t count = static_cast<std::size_t>(6.0 * lowPass.reach() / c.source) + 10;
        const AxisFilter filter(count, c.source, c.target, lowPass);
        const double frequency = 1.0 / c.target - 0.7 / c.to;
        if (frequency > 0.5 / c.source) {
            continue; // the map cannot hold it
        }
        const auto wave = [&](double x) { return std::cos(2.0 * pi * frequency * x); };
        const std::vector<double> result = filtered(filter, lineOf(count, c.source, wave));
        const double end = static_cast<double>(count - 1) * c.source;
        for (std::size_t j = 0; j < result.size(); ++j) {
            const double x = static_cast<double>(j) * c.target;
            if (x > lowPass.reach() && end - x > lowPass.reach()) {
                EXPECT_NEAR(result[j], 0.0, 0.01);
            }
        }
    }
}

TEST(AxisFilter, TurnsAGaussianOfOneResolutionIntoThatOfAnother) {
    const double from = 4.0, to = 12.0, source = 1.0, target = 3.0;
    const AxisFilter filter(121, source, target, LowPass::between(from, to, source, target));
    const auto gaussian = [](double sigma) {
        return
            [sigma](double x) { return std::exp(-0.5 * (x - 60.3) * (x - 60.3) / (sigma * sigma)) / sigma; };
    };
    const std::vector<double> result = filtered(filter, lineOf(121, source, gaussian(gaussianOf(from))));
    for (std::size_t j = 0; j < result.size(); ++j) {
        EXPECT_NEAR(result[j], gaussian(gaussianOf(to))(static_cast<double>(j) * target), 0.004);
    }
}

TEST(AxisFilter, GoesOnWithTheLastValueBeyondTheEnds) {
    const AxisFilter filter(8, 1.0, 2.0, LowPass::between(4.0, 6.0, 1.0, 2.0));
    const std::vector<double> line = {5, 5, 5, 5, 5, 5, 5, 5};
    for (const double value : filtered(filter, line)) {
        EXPECT_NEAR(value, 5.0, 1e-5);
    }
}

TEST(AxisFilter, EndsNotBeyondTheLastNode) {
    const LowPass lowPass = LowPass::between(10.0, 10.0, 1.0, 3.0);
    EXPECT_EQ(AxisFilter(10, 1.0, 3.0, lowPass).size(), 4u); // 0, 3, 6, 9
    EXPECT_EQ(AxisFilter(9, 1.0, 3.0, lowPass).size(), 3u);
    EXPECT_EQ(AxisFilter(1, 1.0, 3.0, lowPass).size(), 1u);
    EXPECT_EQ(AxisFilter(31, 0.1, 3.0, lowPass).size(), 2u) << "30 tenths are 3, whatever the rounding";
}

TEST(LowPass, KernelIntegratesToOne) {
    for (const Case& c : cases) {
        const LowPass lowPass = LowPass::between(c.from, c.to, c.source, c.target);
        const double step = 0.05;
        double sum = 0.0;
        for (double x = -1.5 * lowPass.reach(); x < 1.5 * lowPass.reach(); x += step) {
            sum += step * lowPass.kernel(x);
        }
        EXPECT_NEAR(sum, 1.0, 0.01);
    }
}
