// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "FFTWrapper/RealCorssCorelationEngine.h"
#include "FFTWrapper/SpectralCorrelator.h"
#include "testFields.h"

using namespace testfields;
using dft::SpectralCorrelator;

namespace {

class Correlator : public testing::TestWithParam<Shape> {
protected:
    const Shape n = GetParam();
    std::vector<double> target = randomField(n, 20);
    std::vector<double> pattern = randomField(n, 21);
    std::vector<double> result = std::vector<double>(n.size());
    SpectralCorrelator correlator{makeGrid(n), target.data(), result.data()};
};

std::vector<double> engineCorrelation(const Shape& n, std::vector<double> f, std::vector<double> g) {
    std::vector<double> result(n.size());
    dft::RealCorssCorelationEngine(makeGrid(n), f.data(), g.data(), result.data()).execute(true, true);
    return result;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Shapes, Correlator, testing::ValuesIn(shapes), testing::PrintToStringParamName());
INSTANTIATE_TEST_SUITE_P(LargerShapes, Correlator, testing::Values(Shape{30, 21, 25}, Shape{32, 16, 64}),
                         testing::PrintToStringParamName());

TEST_P(Correlator, EqualsTheEngineBitForBit) {
    correlator.transformTarget();
    correlator.correlate(correlator.spectrumOf(pattern.data()));
    EXPECT_EQ(result, engineCorrelation(n, target, pattern));
}

TEST_P(Correlator, WorksFromTheSnapshotOfTheTarget) {
    const dft::ComplexArray first = correlator.spectrumOf(pattern.data());
    const std::vector<double> other = randomField(n, 22);
    const std::vector<double> snapshot = target;
    correlator.transformTarget();
    std::fill(target.begin(), target.end(), 5.0);
    correlator.correlate(first);
    EXPECT_EQ(result, engineCorrelation(n, snapshot, pattern));
    correlator.correlate(correlator.spectrumOf(other.data()));
    EXPECT_EQ(result, engineCorrelation(n, snapshot, other));
}

TEST_P(Correlator, RecoversTheTargetOfTheSnapshot) {
    const std::vector<double> snapshot = target;
    correlator.transformTarget();
    correlator.correlate(correlator.spectrumOf(pattern.data()));
    const std::vector<double> correlation = result;
    std::fill(target.begin(), target.end(), 5.0);
    std::vector<double> recovered(n.size());
    for (int repeat = 0; repeat < 2; ++repeat) {
        correlator.recoverTarget(recovered.data());
        for (std::size_t v = 0; v < n.size(); ++v) {
            ASSERT_NEAR(recovered[v], snapshot[v], tolerance);
        }
    }
    EXPECT_EQ(result, correlation) << "the result array is left alone";
    correlator.correlate(correlator.spectrumOf(pattern.data()));
    EXPECT_EQ(result, correlation) << "the snapshot survives the recovery";
}

TEST(SpectralCorrelator, EqualsDirectSumOnUnequalAxes) {
    const Shape n{3, 4, 5};
    const std::vector<double> target = randomField(n, 23);
    const std::vector<double> pattern = randomField(n, 24);
    std::vector<double> result(n.size());
    SpectralCorrelator correlator(makeGrid(n), target.data(), result.data());
    correlator.transformTarget();
    correlator.correlate(correlator.spectrumOf(pattern.data()));
    const std::vector<double> expected = directCorrelation(n, target, pattern);
    for (std::size_t s = 0; s < n.size(); ++s) {
        EXPECT_NEAR(result[s], expected[s], tolerance) << "shift " << s;
    }
}

TEST(SpectralCorrelator, TransformsAPatternAtAnyAlignment) {
    const Shape n{4, 4, 4};
    const std::vector<double> target = randomField(n, 25);
    const std::vector<double> pattern = randomField(n, 26);
    std::vector<double> shifted(n.size() + 1);
    std::copy(pattern.begin(), pattern.end(), shifted.begin() + 1);
    std::vector<double> result(n.size());
    SpectralCorrelator correlator(makeGrid(n), target.data(), result.data());
    correlator.transformTarget();
    correlator.correlate(correlator.spectrumOf(shifted.data() + 1));
    const std::vector<double> expected = directCorrelation(n, target, pattern);
    for (std::size_t s = 0; s < n.size(); ++s) {
        EXPECT_NEAR(result[s], expected[s], tolerance) << "shift " << s;
    }
}

TEST(SpectralCorrelator, ManyThreadsShareOneSpectrum) {
    const Shape n{5, 3, 7};
    const std::vector<double> pattern = randomField(n, 27);
    std::shared_ptr<const dft::ComplexArray> spectrum;
    {
        std::vector<double> unused(n.size());
        const SpectralCorrelator correlator(makeGrid(n), pattern.data(), unused.data());
        spectrum = std::make_shared<const dft::ComplexArray>(correlator.spectrumOf(pattern.data()));
    }
    constexpr std::size_t workers = 4;
    std::vector<std::vector<double>> targets(workers);
    std::vector<std::vector<double>> results(workers, std::vector<double>(n.size()));
    std::vector<std::thread> threads;
    for (std::size_t w = 0; w < workers; ++w) {
        targets[w] = randomField(n, static_cast<unsigned int>(30 + w));
        threads.emplace_back([&, w] {
            SpectralCorrelator correlator(makeGrid(n), targets[w].data(), results[w].data());
            for (int repeat = 0; repeat < 20; ++repeat) {
                correlator.transformTarget();
                correlator.correlate(*spectrum);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t w = 0; w < workers; ++w) {
        EXPECT_EQ(results[w], engineCorrelation(n, targets[w], pattern));
    }
}

TEST(SpectralCorrelator, SpectrumOfAnotherSizeThrows) {
    const Shape n{3, 4, 5};
    std::vector<double> field(n.size());
    SpectralCorrelator correlator(makeGrid(n), field.data(), field.data());
    EXPECT_THROW(correlator.correlate(dft::ComplexArray(n.halfSize() + 1)), std::length_error);
}
