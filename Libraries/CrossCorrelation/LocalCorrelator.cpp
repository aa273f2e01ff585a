// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/LocalCorrelator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>
#include <string>

#include "Math/cGrid.h"
#include "Math/multiversion.h"
#include "Math/pi.h"

namespace {

/// What a variance has to exceed to be more than the rounding of its sums, as a part of the largest sum of
/// squares.
constexpr double rounding = 1e-10;

/// The correlations of StagedCorrelator come divided by this.
constexpr double correlationUnit = 8.0 * pi * pi * pi;

/// out = factor in.
/// @return whether one of the results isn't 0
SELVANE_MULTIVERSION
bool scaleRow(const double* __restrict in, std::size_t n, double factor, double* __restrict out) {
    int filled = 0;
    for (std::size_t p = 0; p < n; ++p) {
        out[p] = in[p] * factor;
        filled |= out[p] != 0.0 ? 1 : 0;
    }
    return filled != 0;
}

/// out = (factor in)^2.
/// @return whether one of the results isn't 0
SELVANE_MULTIVERSION
bool squareRow(const double* __restrict in, std::size_t n, double factor, double* __restrict out) {
    int filled = 0;
    for (std::size_t p = 0; p < n; ++p) {
        const double value = in[p] * factor;
        out[p] = value * value;
        filled |= out[p] != 0.0 ? 1 : 0;
    }
    return filled != 0;
}

/// Replaces sums by variances.
// Rounding may leave a difference below zero where the target is constant under the mask.
SELVANE_MULTIVERSION
void toVariances(const double* __restrict squares, std::size_t n, double perNode, double* __restrict sums) {
    for (std::size_t p = 0; p < n; ++p) {
        const double variance = squares[p] - sums[p] * sums[p] * perNode;
        sums[p] = variance > 0.0 ? variance : 0.0;
    }
}

SELVANE_MULTIVERSION
double largestOf(const double* values, std::size_t n, double largest) {
    for (std::size_t p = 0; p < n; ++p) {
        largest = values[p] > largest ? values[p] : largest;
    }
    return largest;
}

SELVANE_MULTIVERSION
void divideByDeviations(const double* __restrict overlaps, const double* __restrict variances, std::size_t n,
                        double least, double* __restrict scores) {
    for (std::size_t p = 0; p < n; ++p) {
        scores[p] = overlaps[p] / std::sqrt(variances[p] > least ? variances[p] : least);
    }
}

} // namespace

LocalCorrelator::LocalCorrelator(const cGrid& grid, const std::array<unsigned int, 3>& filled, double floor)
    : m_size{grid.m_size[0], grid.m_size[1], grid.m_size[2]}
    , m_filled{filled[0], filled[1], filled[2]}
    , m_floor(floor)
    , m_overlap(grid, filled)
    , m_squares(grid, filled)
    , m_sums(grid, filled)
    , m_scores(m_size[2]) {
    if (!(floor > 0.0 && floor <= 1.0)) {
        throw std::invalid_argument(
            "LocalCorrelator: the floor of variances has to be above 0 and at most 1");
    }
}

LocalSpectra LocalCorrelator::spectraOf(const std::vector<double>& weights, const std::vector<double>& mask) {
    const std::size_t nodes = m_size[0] * m_size[1] * m_size[2];
    for (const std::size_t size : {weights.size(), mask.size()}) {
        if (size != nodes) {
            throw std::length_error("LocalCorrelator: " + std::to_string(size) + " values on a grid of " +
                                    std::to_string(nodes) + " nodes");
        }
    }
    m_largestVariance = 0.0;
    std::vector<double> field(nodes);
    const auto spectrumOf = [&](const std::vector<double>& values) {
        scaleRow(values.data(), nodes, correlationUnit, field.data());
        return m_overlap.spectrumOf(field.data());
    };
    LocalSpectra spectra;
    spectra.weights = spectrumOf(weights);
    spectra.mask = spectrumOf(mask);
    spectra.maskedNodes = nodes - static_cast<std::size_t>(std::count(mask.begin(), mask.end(), 0.0));
    return spectra;
}

void LocalCorrelator::correlate(const LocalSpectra& pattern, double factor) {
    transformTarget(factor);
    m_overlap.correlate(pattern.weights, pattern.mask, m_sums);
    m_squares.correlate(pattern.mask);
    findVariances(pattern.maskedNodes);
}

/// The target lies in the memory of its own spectrum, so its square is taken before.
void LocalCorrelator::transformTarget(double factor) {
    m_squares.transformTarget([&](std::size_t i, std::size_t j, double* row) {
        return squareRow(m_overlap.targetRow(i, j), m_filled[2], factor, row);
    });
    m_overlap.transformTarget([&](std::size_t i, std::size_t j, double* row) {
        return scaleRow(m_overlap.targetRow(i, j), m_filled[2], factor, row);
    });
}

void LocalCorrelator::findVariances(std::size_t maskedNodes) {
    m_largestVariance = 0.0;
    if (maskedNodes == 0) {
        return;
    }
    const double perNode = 1.0 / static_cast<double>(maskedNodes);
    m_sums.readResult([&](std::size_t i, std::size_t j, const double* row) {
        std::memcpy(m_sums.resultRow(i, j), row, m_size[2] * sizeof(double));
    });
    double largest = 0.0;
    double largestSquare = 0.0;
    m_squares.readResult([&](std::size_t i, std::size_t j, const double* row) {
        double* const variances = m_sums.resultRow(i, j);
        toVariances(row, m_size[2], perNode, variances);
        largest = largestOf(variances, m_size[2], largest);
        largestSquare = largestOf(row, m_size[2], largestSquare);
    });
    if (largest > rounding * largestSquare) {
        m_largestVariance = largest;
    }
}

void LocalCorrelator::divide(const double* overlaps, const double* variances) {
    if (m_largestVariance > 0.0) {
        divideByDeviations(overlaps, variances, m_size[2], m_floor * m_largestVariance, m_scores.data());
    } else {
        std::fill(m_scores.begin(), m_scores.end(), 0.0);
    }
}
