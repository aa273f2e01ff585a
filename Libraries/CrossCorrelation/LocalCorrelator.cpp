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

/// In lanes, for a single running maximum would wait for each comparison.
SELVANE_MULTIVERSION
double largestOf(const double* values, std::size_t n, double largest) {
    constexpr std::size_t lanes = 16;
    std::array<double, lanes> most;
    most.fill(largest);
    std::size_t p = 0;
    for (; p + lanes <= n; p += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            most[lane] = values[p + lane] > most[lane] ? values[p + lane] : most[lane];
        }
    }
    for (; p < n; ++p) {
        most[0] = values[p] > most[0] ? values[p] : most[0];
    }
    return *std::max_element(most.begin(), most.end());
}

/// Whether some overlap is above a bound, or its score above another by its square.
/// @param leastVariance  at most that of the scores
SELVANE_MULTIVERSION
bool isAnyAbove(const double* __restrict overlaps, const double* __restrict variances, std::size_t n,
                double overlap, double squaredScore, double leastVariance) {
    int above = 0;
    for (std::size_t p = 0; p < n; ++p) {
        const double variance = variances[p] > leastVariance ? variances[p] : leastVariance;
        above |= overlaps[p] > overlap ? 1 : 0;
        above |= overlaps[p] * std::abs(overlaps[p]) > squaredScore * variance ? 1 : 0;
    }
    return above != 0;
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
    , m_squares(m_overlap.sibling())
    , m_sums(m_overlap.sibling())
    , m_plane(m_size[1] * m_size[2])
    , m_scores(m_size[2])
    , m_isKept(m_size[0] * m_size[1], 0) {
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

void LocalCorrelator::transformPlane(std::size_t i, double factor) {
    m_squares.transformPlane(
        i, [&](std::size_t j, double* row) { return squareRow(targetRow(j), m_filled[2], factor, row); });
    m_overlap.transformPlane(
        i, [&](std::size_t j, double* row) { return scaleRow(targetRow(j), m_filled[2], factor, row); });
}

/// The three correlations slab by slab, so that the mask's spectrum is read but once.
void LocalCorrelator::correlate(const LocalSpectra& pattern) {
    m_overlap.requireSize(pattern.weights);
    m_overlap.requireSize(pattern.mask);
    m_perMaskedNode = pattern.maskedNodes > 0 ? 1.0 / static_cast<double>(pattern.maskedNodes) : 0.0;
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        m_overlap.correlateSlab(j, pattern.weights, pattern.mask, m_sums);
        m_squares.correlateSlab(j, pattern.mask);
    }
}

/// Before max V is known a score has an upper bound by the largest V so far. Beginning with the plane where
/// it was last time makes that a good one from the start, and few rows are kept for nothing; which ones has
/// no part in the scores.
void LocalCorrelator::keepRows(const Bounds& bounds) {
    Largest largest;
    std::size_t planeOfLargest = 0;
    for (std::size_t p = 0; p < m_size[0]; ++p) {
        const std::size_t i = (m_firstPlane + p) % m_size[0];
        const double before = largest.variance;
        findVariances(i, largest);
        if (largest.variance > before) {
            planeOfLargest = i;
        }
        keepRowsOfPlane(i, bounds, m_floor * largest.variance);
    }
    m_firstPlane = planeOfLargest;
    m_largestVariance = largest.variance > rounding * largest.square ? largest.variance : 0.0;
}

void LocalCorrelator::findVariances(std::size_t i, Largest& largest) {
    m_sums.readPlane(i, [&](std::size_t j, const double* row) {
        std::memcpy(m_plane.data() + j * m_size[2], row, m_size[2] * sizeof(double));
    });
    m_squares.readPlane(i, [&](std::size_t j, const double* row) {
        double* const variances = m_plane.data() + j * m_size[2];
        toVariances(row, m_size[2], m_perMaskedNode, variances);
        largest.variance = largestOf(variances, m_size[2], largest.variance);
        largest.square = largestOf(row, m_size[2], largest.square);
    });
}

/// Puts overlaps and variances of the rows that are asked for where the plane came from.
void LocalCorrelator::keepRowsOfPlane(std::size_t i, const Bounds& bounds, double leastVariance) {
    constexpr double roundedDown = 1.0 - 1e-9; // of a comparison by squares
    const bool isAll = !(bounds.score >= 0.0 && bounds.overlap >= 0.0);
    const double squaredScore = bounds.score * bounds.score * roundedDown;
    m_overlap.readPlane(i, [&](std::size_t j, const double* row) {
        const double* const variances = m_plane.data() + j * m_size[2];
        const bool isKept =
            isAll || isAnyAbove(row, variances, m_size[2], bounds.overlap, squaredScore, leastVariance);
        m_isKept[i * m_size[1] + j] = isKept ? 1 : 0;
        if (isKept) {
            std::memcpy(m_overlap.resultRow(i, j), row, m_size[2] * sizeof(double));
            std::memcpy(m_sums.resultRow(i, j), variances, m_size[2] * sizeof(double));
        }
    });
}

void LocalCorrelator::divide(const double* overlaps, const double* variances) {
    if (m_largestVariance > 0.0) {
        divideByDeviations(overlaps, variances, m_size[2], m_floor * m_largestVariance, m_scores.data());
    } else {
        std::fill(m_scores.begin(), m_scores.end(), 0.0);
    }
}
