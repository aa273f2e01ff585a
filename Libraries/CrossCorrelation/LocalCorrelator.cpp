// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/LocalCorrelator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>

#include "Math/cGrid.h"
#include "Math/multiversion.h"
#include "Math/pi.h"

namespace {

/// What the largest variance has to exceed to be more than the rounding of its sums, as a part of the largest
/// sum of squares. Transforms of N nodes round by about 2^-24 log2 N of the norms' product in single
/// precision, 1.6e-6 for 512^3; six times that leaves room for targets whose squares lie off the mask, too.
template <class Real>
constexpr Real rounding = static_cast<Real>(1e-10);
template <>
constexpr float rounding<float> = 1e-5F;

/// By how much, at most and as a part of it, an overlap is raised to tell it from an equal one elsewhere:
/// less than the half of the last bit. Doubles are equal by symmetry alone.
template <class Real>
constexpr double distinction = 0.0;
template <>
constexpr double distinction<float> = 0x1p-26;

/// The correlations of StagedCorrelator come divided by this.
constexpr double correlationUnit = 8.0 * pi * pi * pi;

/// out = factor in.
/// @return whether one of the results isn't 0
template <class Real>
SELVANE_MULTIVERSION bool scaleRow(const Real* __restrict in, std::size_t n, Real factor,
                                   Real* __restrict out) {
    int filled = 0;
    for (std::size_t p = 0; p < n; ++p) {
        out[p] = in[p] * factor;
        filled |= out[p] != Real{0} ? 1 : 0;
    }
    return filled != 0;
}

/// out = (factor in)^2.
/// @return whether one of the results isn't 0
template <class Real>
SELVANE_MULTIVERSION bool squareRow(const Real* __restrict in, std::size_t n, Real factor,
                                    Real* __restrict out) {
    int filled = 0;
    for (std::size_t p = 0; p < n; ++p) {
        const Real value = in[p] * factor;
        out[p] = value * value;
        filled |= out[p] != Real{0} ? 1 : 0;
    }
    return filled != 0;
}

/// Replaces sums by variances, and raises the largest variance and square of each node of a row.
// Rounding may leave a difference below zero where the target is constant under the mask.
template <class Real>
SELVANE_MULTIVERSION void toVariances(const Real* __restrict squares, std::size_t n, Real perNode,
                                      Real* __restrict sums, Real* __restrict mostVariance,
                                      Real* __restrict mostSquare) {
    for (std::size_t p = 0; p < n; ++p) {
        const Real variance = squares[p] - sums[p] * sums[p] * perNode;
        sums[p] = variance > Real{0} ? variance : Real{0};
        mostVariance[p] = sums[p] > mostVariance[p] ? sums[p] : mostVariance[p];
        mostSquare[p] = squares[p] > mostSquare[p] ? squares[p] : mostSquare[p];
    }
}

/// Whether some overlap is above a bound, or its score above another by its square.
/// @param leastVariance  at most that of the scores
template <class Real>
SELVANE_MULTIVERSION bool isAnyAbove(const Real* __restrict overlaps, const Real* __restrict variances,
                                     std::size_t n, Real overlap, Real squaredScore, Real leastVariance) {
    int above = 0;
    for (std::size_t p = 0; p < n; ++p) {
        const Real variance = variances[p] > leastVariance ? variances[p] : leastVariance;
        above |= overlaps[p] > overlap ? 1 : 0;
        above |= overlaps[p] * std::abs(overlaps[p]) > squaredScore * variance ? 1 : 0;
    }
    return above != 0;
}

/// out = overlaps (1 + raise variances).
template <class Real>
SELVANE_MULTIVERSION void distinguish(const Real* __restrict overlaps, const Real* __restrict variances,
                                      std::size_t n, double raise, double* __restrict out) {
    for (std::size_t p = 0; p < n; ++p) {
        out[p] = double{overlaps[p]} * (1.0 + raise * double{variances[p]});
    }
}

template <class Real>
SELVANE_MULTIVERSION void divideByDeviations(const double* __restrict overlaps,
                                             const Real* __restrict variances, std::size_t n, double least,
                                             double* __restrict scores) {
    for (std::size_t p = 0; p < n; ++p) {
        const double variance = double{variances[p]};
        scores[p] = overlaps[p] / std::sqrt(variance > least ? variance : least);
    }
}

} // namespace

template <class Real>
BasicLocalCorrelator<Real>::BasicLocalCorrelator(const cGrid& grid, const std::array<unsigned int, 3>& filled,
                                                 double floor)
    : m_size{grid.m_size[0], grid.m_size[1], grid.m_size[2]}
    , m_filled{filled[0], filled[1], filled[2]}
    , m_floor(floor)
    , m_overlap(grid, filled)
    , m_squares(m_overlap.sibling())
    , m_sums(m_overlap.sibling())
    , m_target(m_filled[1] * m_filled[2])
    , m_variances(m_size[1] * m_size[2])
    , m_mostVariance(m_size[2])
    , m_mostSquare(m_size[2])
    , m_overlaps(m_size[2])
    , m_scores(m_size[2])
    , m_isKept(m_size[0] * m_size[1], 0) {
    if (!(floor > 0.0 && floor <= 1.0)) {
        throw std::invalid_argument(
            "LocalCorrelator: the floor of variances has to be above 0 and at most 1");
    }
}

template <class Real>
BasicLocalSpectra<Real> BasicLocalCorrelator<Real>::spectraOf(const std::vector<double>& weights,
                                                              const std::vector<double>& mask) {
    const std::size_t nodes = m_size[0] * m_size[1] * m_size[2];
    for (const std::size_t size : {weights.size(), mask.size()}) {
        if (size != nodes) {
            throw std::length_error("LocalCorrelator: " + std::to_string(size) + " values on a grid of " +
                                    std::to_string(nodes) + " nodes");
        }
    }
    Spectra spectra;
    spectra.weights = m_overlap.spectrumOf(weights.data(), correlationUnit);
    spectra.mask = m_overlap.spectrumOf(mask.data(), correlationUnit);
    spectra.maskedNodes = nodes - static_cast<std::size_t>(std::count(mask.begin(), mask.end(), 0.0));
    return spectra;
}

template <class Real>
void BasicLocalCorrelator<Real>::transformPlane(std::size_t i, double factor) {
    const auto scale = static_cast<Real>(factor);
    m_squares.transformPlane(
        i, [&](std::size_t j, Real* row) { return squareRow(targetRow(j), m_filled[2], scale, row); });
    m_overlap.transformPlane(
        i, [&](std::size_t j, Real* row) { return scaleRow(targetRow(j), m_filled[2], scale, row); });
}

/// The three correlations slab by slab, so that the mask's spectrum is read but once.
template <class Real>
void BasicLocalCorrelator<Real>::correlate(const Spectra& pattern) {
    m_overlap.requireSize(pattern.weights);
    m_overlap.requireSize(pattern.mask);
    m_perMaskedNode =
        pattern.maskedNodes > 0 ? static_cast<Real>(1.0 / static_cast<double>(pattern.maskedNodes)) : Real{0};
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        m_overlap.correlateSlab(j, pattern.weights, pattern.mask, m_sums);
        m_squares.correlateSlab(j, pattern.mask);
    }
}

/// Before max V is known a score has an upper bound by the largest V so far. Beginning with the plane where
/// it was last time makes that a good one from the start, and few rows are kept for nothing; which ones has
/// no part in the scores.
template <class Real>
void BasicLocalCorrelator<Real>::keepRows(const Bounds& bounds) {
    std::fill(m_mostVariance.begin(), m_mostVariance.end(), Real{0});
    std::fill(m_mostSquare.begin(), m_mostSquare.end(), Real{0});
    Real largest = 0;
    std::size_t planeOfLargest = 0;
    for (std::size_t p = 0; p < m_size[0]; ++p) {
        const std::size_t i = (m_firstPlane + p) % m_size[0];
        findVariances(i);
        const Real sofar = *std::max_element(m_mostVariance.begin(), m_mostVariance.end());
        if (sofar > largest) {
            planeOfLargest = i;
        }
        largest = sofar;
        keepRowsOfPlane(i, bounds, static_cast<Real>(m_floor * double{largest}));
    }
    m_firstPlane = planeOfLargest;
    const Real square = *std::max_element(m_mostSquare.begin(), m_mostSquare.end());
    m_largestVariance = largest > rounding<Real> * square ? double{largest} : 0.0;
}

template <class Real>
void BasicLocalCorrelator<Real>::findVariances(std::size_t i) {
    m_sums.readPlane(i, [&](std::size_t j, const Real* row) {
        std::memcpy(m_variances.data() + j * m_size[2], row, m_size[2] * sizeof(Real));
    });
    m_squares.readPlane(i, [&](std::size_t j, const Real* row) {
        Real* const variances = m_variances.data() + j * m_size[2];
        toVariances(row, m_size[2], m_perMaskedNode, variances, m_mostVariance.data(), m_mostSquare.data());
    });
}

/// Puts overlaps and variances of the rows that are asked for where the plane came from.
template <class Real>
void BasicLocalCorrelator<Real>::keepRowsOfPlane(std::size_t i, const Bounds& bounds, Real leastVariance) {
    // Room for the roundings of a comparison by squares, of bounds to Real, and for what overlaps are raised
    // by.
    constexpr double roundedDown = 1.0 - 16.0 * double{std::numeric_limits<Real>::epsilon()};
    const bool isAll = !(bounds.score >= 0.0 && bounds.overlap >= 0.0);
    const auto overlap = static_cast<Real>(bounds.overlap * roundedDown);
    const auto squaredScore = static_cast<Real>(bounds.score * bounds.score * roundedDown);
    m_overlap.readPlane(i, [&](std::size_t j, const Real* row) {
        const Real* const variances = m_variances.data() + j * m_size[2];
        const bool isKept =
            isAll || isAnyAbove(row, variances, m_size[2], overlap, squaredScore, leastVariance);
        m_isKept[i * m_size[1] + j] = isKept ? 1 : 0;
        if (isKept) {
            std::memcpy(m_overlap.resultRow(i, j), row, m_size[2] * sizeof(Real));
            std::memcpy(m_sums.resultRow(i, j), variances, m_size[2] * sizeof(Real));
        }
    });
}

template <class Real>
void BasicLocalCorrelator<Real>::divide(const Real* overlaps, const Real* variances) {
    if (m_largestVariance > 0.0) {
        distinguish(overlaps, variances, m_size[2], distinction<Real> / m_largestVariance, m_overlaps.data());
        divideByDeviations(m_overlaps.data(), variances, m_size[2], m_floor * m_largestVariance,
                           m_scores.data());
    } else {
        std::copy_n(overlaps, m_size[2], m_overlaps.begin());
        std::fill(m_scores.begin(), m_scores.end(), 0.0);
    }
}

template class BasicLocalCorrelator<double>;
template class BasicLocalCorrelator<float>;
