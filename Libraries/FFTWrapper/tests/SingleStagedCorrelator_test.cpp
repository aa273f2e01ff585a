// SPDX-License-Identifier: GPL-3.0-or-later
// The correlation in sweeps in single precision against the plain one in double.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FFTWrapper/SpectralCorrelator.h"
#include "FFTWrapper/StagedCorrelator.h"
#include "Math/pi.h"
#include "testFields.h"

using namespace testfields;
using dft::SingleStagedCorrelator;

namespace {

using Filled = std::array<unsigned int, 3>;

/// A field that is zero beyond its low corner.
std::vector<double> cornerField(const Shape& n, const Filled& filled, unsigned int seed) {
    std::vector<double> field = randomField(n, seed);
    const auto rowSize = static_cast<std::size_t>(n.n_k);
    const auto rows = static_cast<std::size_t>(n.n_j);
    for (std::size_t v = 0; v < field.size(); ++v) {
        const std::size_t row = v / rowSize;
        if (row / rows >= filled[0] || row % rows >= filled[1] || v % rowSize >= filled[2]) {
            field[v] = 0.0;
        }
    }
    return field;
}

void transform(SingleStagedCorrelator& correlator, const std::vector<double>& field, const Shape& n,
               const Filled& filled) {
    correlator.transformTarget([&](std::size_t i, std::size_t j, float* row) {
        for (std::size_t k = 0; k < filled[2]; ++k) {
            row[k] = static_cast<float>(
                field[n.flat(static_cast<int>(i), static_cast<int>(j), static_cast<int>(k))]);
        }
        return true;
    });
}

std::vector<double> resultOf(SingleStagedCorrelator& correlator, const Shape& n) {
    std::vector<double> result;
    correlator.readResult([&](std::size_t i, std::size_t j, const float* row) {
        EXPECT_EQ(result.size(), n.flat(static_cast<int>(i), static_cast<int>(j), 0));
        result.insert(result.end(), row, row + n.n_k);
    });
    return result;
}

std::vector<double> plainCorrelation(const Shape& n, std::vector<double> target,
                                     const std::vector<double>& pattern) {
    std::vector<double> result(n.size());
    dft::SpectralCorrelator correlator(makeGrid(n), target.data(), result.data());
    correlator.transformTarget();
    correlator.correlate(correlator.spectrumOf(pattern.data()));
    return result;
}

double normOf(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) {
        sum += value * value;
    }
    return std::sqrt(sum);
}

/// Transforms of N numbers round by about 2^-24 log2 N of the product of both norms, and products and scales
/// beside them by some units.
double roundingOf(const std::vector<double>& target, const std::vector<double>& pattern) {
    const double unit = 0x1p-24 * std::max(4.0, std::log2(static_cast<double>(target.size())));
    return unit * normOf(target) * normOf(pattern) / (8.0 * pi * pi * pi);
}

class SingleStaged : public testing::TestWithParam<std::pair<Shape, Filled>> {
protected:
    const Shape n = GetParam().first;
    const Filled filled = GetParam().second;
    const std::vector<double> target = cornerField(n, filled, 40);
    const std::vector<double> pattern = randomField(n, 41);
    SingleStagedCorrelator correlator{makeGrid(n), filled};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Shapes, SingleStaged,
                         testing::Values(std::pair{Shape{1, 1, 1}, Filled{1, 1, 1}},
                                         std::pair{Shape{3, 4, 5}, Filled{3, 4, 5}},
                                         std::pair{Shape{4, 3, 2}, Filled{1, 1, 1}},
                                         std::pair{Shape{5, 7, 1}, Filled{4, 5, 1}},
                                         std::pair{Shape{6, 1, 9}, Filled{2, 1, 9}},
                                         std::pair{Shape{7, 11, 13}, Filled{7, 11, 13}},
                                         std::pair{Shape{13, 11, 7}, Filled{9, 10, 4}},
                                         std::pair{Shape{16, 32, 64}, Filled{11, 19, 33}},
                                         std::pair{Shape{9, 34, 8}, Filled{9, 33, 8}},
                                         std::pair{Shape{31, 37, 29}, Filled{25, 30, 29}}));

TEST_P(SingleStaged, GivesThePlainCorrelationToItsRounding) {
    const dft::SingleComplexArray spectrum = correlator.spectrumOf(pattern.data());
    transform(correlator, target, n, filled);
    correlator.correlate(spectrum);
    const std::vector<double> result = resultOf(correlator, n);
    const std::vector<double> expected = plainCorrelation(n, target, pattern);
    const double rounding = roundingOf(target, pattern);
    for (std::size_t v = 0; v < expected.size(); ++v) {
        ASSERT_NEAR(result[v], expected[v], rounding) << "at " << v;
    }
}

TEST_P(SingleStaged, GivesTheSameBitsAgainAndWithTwoPatternsAtOnce) {
    const std::vector<double> second = randomField(n, 49);
    SingleStagedCorrelator other = correlator.sibling();
    const dft::SingleComplexArray spectra[2] = {correlator.spectrumOf(pattern.data()),
                                                correlator.spectrumOf(second.data())};
    std::vector<double> expected[2];
    for (int p : {0, 1}) {
        transform(correlator, target, n, filled);
        correlator.correlate(spectra[p]);
        expected[p] = resultOf(correlator, n);
    }
    transform(correlator, target, n, filled);
    correlator.correlate(spectra[0], spectra[1], other);
    EXPECT_EQ(resultOf(correlator, n), expected[0]);
    EXPECT_EQ(resultOf(other, n), expected[1]);
}

TEST_P(SingleStaged, AFactorOfThePatternIsOneOfTheResult) {
    const dft::SingleComplexArray once = correlator.spectrumOf(pattern.data());
    const dft::SingleComplexArray twice = correlator.spectrumOf(pattern.data(), 2.0);
    for (std::size_t p = 0; p < once.size(); ++p) {
        ASSERT_EQ(twice.data()[p][0], 2.0F * once.data()[p][0]);
        ASSERT_EQ(twice.data()[p][1], 2.0F * once.data()[p][1]);
    }
}

TEST(SingleStagedCorrelator, RefusesASpectrumOfAnotherSize) {
    SingleStagedCorrelator correlator(makeGrid({3, 4, 5}), {3, 4, 5});
    EXPECT_THROW(correlator.correlate(dft::SingleComplexArray(7)), std::length_error);
}
