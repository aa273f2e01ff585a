// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "FFTWrapper/SpectralCorrelator.h"
#include "FFTWrapper/StagedCorrelator.h"
#include "testFields.h"

using namespace testfields;
using dft::StagedCorrelator;

namespace {

using Filled = std::array<unsigned int, 3>;

/// The correlation as a field, checking that rows come in flat order.
std::vector<double> resultOf(StagedCorrelator& correlator, const Shape& n) {
    std::vector<double> result;
    correlator.readResult([&](std::size_t i, std::size_t j, const double* row) {
        EXPECT_EQ(result.size(), n.flat(static_cast<int>(i), static_cast<int>(j), 0));
        result.insert(result.end(), row, row + n.n_k);
    });
    return result;
}

/// Hands over the low corner of a field.
/// @param tellsZeros  whether rows of zeros are told as such
void transform(StagedCorrelator& correlator, const std::vector<double>& field, const Shape& n,
               const Filled& filled, bool tellsZeros = true) {
    std::size_t rows = 0;
    correlator.transformTarget([&](std::size_t i, std::size_t j, double* row) {
        EXPECT_EQ(rows++, i * filled[1] + j);
        bool isFilled = !tellsZeros;
        for (std::size_t k = 0; k < filled[2]; ++k) {
            row[k] = field[n.flat(static_cast<int>(i), static_cast<int>(j), static_cast<int>(k))];
            isFilled = isFilled || row[k] != 0.0;
        }
        return isFilled;
    });
    EXPECT_EQ(rows, std::size_t{filled[0]} * filled[1]);
}

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

std::vector<double> plainCorrelation(const Shape& n, std::vector<double> target,
                                     const std::vector<double>& pattern) {
    std::vector<double> result(n.size());
    dft::SpectralCorrelator correlator(makeGrid(n), target.data(), result.data());
    correlator.transformTarget();
    correlator.correlate(correlator.spectrumOf(pattern.data()));
    return result;
}

void expectNear(const std::vector<double>& a, const std::vector<double>& b) {
    ASSERT_EQ(a.size(), b.size());
    double largest = 0.0;
    for (const double value : b) {
        largest = std::max(largest, std::abs(value));
    }
    for (std::size_t v = 0; v < a.size(); ++v) {
        ASSERT_NEAR(a[v], b[v], 1e-14 * largest) << "at " << v;
    }
}

class Staged : public testing::TestWithParam<std::pair<Shape, Filled>> {
protected:
    const Shape n = GetParam().first;
    const Filled filled = GetParam().second;
    std::vector<double> pattern = randomField(n, 41);
    StagedCorrelator correlator{makeGrid(n), filled};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(
    Shapes, Staged,
    testing::Values(
        std::pair{Shape{1, 1, 1}, Filled{1, 1, 1}}, std::pair{Shape{3, 4, 5}, Filled{3, 4, 5}},
        std::pair{Shape{4, 3, 2}, Filled{1, 1, 1}}, std::pair{Shape{5, 7, 1}, Filled{4, 5, 1}},
        std::pair{Shape{6, 1, 9}, Filled{2, 1, 9}}, std::pair{Shape{8, 16, 4}, Filled{5, 16, 3}},
        std::pair{Shape{7, 11, 13}, Filled{7, 11, 13}}, std::pair{Shape{13, 11, 7}, Filled{9, 10, 4}},
        std::pair{Shape{16, 32, 64}, Filled{11, 19, 33}}, std::pair{Shape{10, 17, 6}, Filled{10, 17, 5}},
        std::pair{Shape{10, 16, 6}, Filled{10, 15, 6}}, std::pair{Shape{9, 34, 8}, Filled{9, 33, 8}}));

TEST_P(Staged, GivesThePlainCorrelationRowByRowInFlatOrder) {
    const dft::ComplexArray spectrum = correlator.spectrumOf(pattern.data());
    const std::vector<double> target = cornerField(n, filled, 40);
    transform(correlator, target, n, filled);
    correlator.correlate(spectrum);
    expectNear(resultOf(correlator, n), plainCorrelation(n, target, pattern));
}

TEST_P(Staged, LeavesNothingOfOneTargetToTheNext) {
    const dft::ComplexArray spectrum = correlator.spectrumOf(pattern.data());
    const std::vector<double> target = cornerField(n, filled, 42);
    transform(correlator, target, n, filled);
    correlator.correlate(spectrum);
    const std::vector<double> fresh = resultOf(correlator, n);
    transform(correlator, std::vector<double>(n.size(), 1e6), n, filled);
    correlator.correlate(spectrum);
    resultOf(correlator, n);
    transform(correlator, target, n, filled);
    correlator.correlate(spectrum);
    EXPECT_EQ(resultOf(correlator, n), fresh) << "bit for bit";
}

TEST_P(Staged, LeavesOutRowsAndPlanesOfZerosAndNothingElse) {
    const dft::ComplexArray spectrum = correlator.spectrumOf(pattern.data());
    for (const std::size_t from : {std::size_t{0}, std::size_t{1}, std::size_t{17}, std::size_t{1000}}) {
        std::vector<double> target = cornerField(n, filled, 48);
        for (std::size_t v = 0; v < target.size(); ++v) {
            const std::size_t row = v / static_cast<std::size_t>(n.n_k);
            const auto rows = static_cast<std::size_t>(n.n_j);
            if (row % rows < from || row / rows % 3 == 1) {
                target[v] = 0.0;
            }
        }
        transform(correlator, std::vector<double>(n.size(), 1e6), n, filled);
        transform(correlator, target, n, filled);
        correlator.correlate(spectrum);
        const std::vector<double> result = resultOf(correlator, n);
        expectNear(result, plainCorrelation(n, target, pattern));
        transform(correlator, target, n, filled, false);
        correlator.correlate(spectrum);
        EXPECT_EQ(resultOf(correlator, n), result);
    }
}

TEST_P(Staged, ReadsItsResultMoreThanOnce) {
    const dft::ComplexArray spectrum = correlator.spectrumOf(pattern.data());
    transform(correlator, cornerField(n, filled, 43), n, filled);
    correlator.correlate(spectrum);
    const std::vector<double> once = resultOf(correlator, n);
    EXPECT_EQ(resultOf(correlator, n), once);
}

TEST_P(Staged, TwoPatternsGiveTheBitsOfOneAfterTheOther) {
    const std::vector<double> second = randomField(n, 49);
    StagedCorrelator other(makeGrid(n), Filled{1, 1, 1});
    const dft::ComplexArray spectra[2] = {correlator.spectrumOf(pattern.data()),
                                          correlator.spectrumOf(second.data())};
    const std::vector<double> target = cornerField(n, filled, 50);
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

TEST_P(Staged, ItsMemoryKeepsWhatIsMadeOfTheResult) {
    const dft::ComplexArray spectrum = correlator.spectrumOf(pattern.data());
    transform(correlator, cornerField(n, filled, 51), n, filled);
    correlator.correlate(spectrum);
    const std::vector<double> expected = resultOf(correlator, n);
    const auto rowSize = static_cast<std::size_t>(n.n_k);
    correlator.readResult([&](std::size_t i, std::size_t j, const double* row) {
        std::copy_n(row, rowSize, correlator.resultRow(i, j));
    });
    for (std::size_t v = 0; v < expected.size(); ++v) {
        const std::size_t row = v / rowSize;
        const auto rows = static_cast<std::size_t>(n.n_j);
        ASSERT_EQ(correlator.resultRow(row / rows, row % rows)[v % rowSize], expected[v]);
    }
}

TEST(StagedCorrelator, ASecondResultNeedsAnotherCorrelatorOfTheSameSize) {
    StagedCorrelator correlator(makeGrid({3, 4, 5}), {3, 4, 5});
    StagedCorrelator smaller(makeGrid({3, 5, 4}), {3, 4, 4});
    const std::vector<double> values(60);
    const dft::ComplexArray spectrum = correlator.spectrumOf(values.data());
    EXPECT_THROW(correlator.correlate(spectrum, spectrum, correlator), std::length_error);
    EXPECT_THROW(correlator.correlate(spectrum, spectrum, smaller), std::length_error);
    StagedCorrelator other(makeGrid({3, 4, 5}), {3, 4, 5});
    EXPECT_THROW(correlator.correlate(spectrum, dft::ComplexArray(7), other), std::length_error);
}

TEST(StagedCorrelator, SharesThePatternsSpectrumWithOthersOnTheSameGrid) {
    const Shape n{6, 5, 7};
    const Filled filled{4, 4, 4};
    const std::vector<double> pattern = randomField(n, 44);
    const std::vector<double> target = cornerField(n, filled, 45);
    StagedCorrelator whole(makeGrid(n), {6, 5, 7});
    StagedCorrelator corner(makeGrid(n), filled);
    const dft::ComplexArray spectrum = whole.spectrumOf(pattern.data());
    transform(corner, target, n, filled);
    corner.correlate(spectrum);
    expectNear(resultOf(corner, n), plainCorrelation(n, target, pattern));
}

TEST(StagedCorrelator, EqualsDirectSumOnUnequalAxes) {
    const Shape n{3, 4, 5};
    const Filled filled{2, 3, 4};
    const std::vector<double> target = cornerField(n, filled, 46);
    const std::vector<double> pattern = randomField(n, 47);
    StagedCorrelator correlator(makeGrid(n), filled);
    const dft::ComplexArray spectrum = correlator.spectrumOf(pattern.data());
    transform(correlator, target, n, filled);
    correlator.correlate(spectrum);
    expectNear(resultOf(correlator, n), directCorrelation(n, target, pattern));
}

TEST(StagedCorrelator, RefusesASpectrumOfAnotherSize) {
    StagedCorrelator correlator(makeGrid({3, 4, 5}), {3, 4, 5});
    EXPECT_THROW(correlator.correlate(dft::ComplexArray(7)), std::length_error);
}

TEST(StagedCorrelator, RefusesATargetThatIsEmptyOrLargerThanTheGrid) {
    EXPECT_THROW(StagedCorrelator(makeGrid({3, 4, 5}), {3, 0, 5}), std::length_error);
    EXPECT_THROW(StagedCorrelator(makeGrid({3, 4, 5}), {3, 5, 5}), std::length_error);
}
