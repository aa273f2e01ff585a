// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/SigmaFilter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>

#include "Math/multiversion.h"

namespace fccf {

namespace {

template <std::size_t width>
void copyPart(const double*& from, std::size_t n, double*& to) {
    if ((n & width) != 0) {
        std::memcpy(to, from, width * sizeof(double));
        from += width;
        to += width;
    }
}

/// Up to 7 values, by copies of fixed sizes: a call for a size that varies would take longer than a whole
/// block.
void copyFew(const double* from, std::size_t n, double* to) {
    copyPart<4>(from, n, to);
    copyPart<2>(from, n, to);
    copyPart<1>(from, n, to);
}

} // namespace

// Pieces of a block are filled up with zeros, which change no sum: single values would be stored one by one
// into lanes that are loaded as a whole at once, and the hardware waits for such a load.
SELVANE_MULTIVERSION void FieldMoments::add(const double* values, std::size_t n) {
    std::array<double, lanes> sums = m_sums;
    std::array<double, lanes> squares = m_squares;
    const auto addBlock = [&](const double* block) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            sums[lane] += block[lane];
            squares[lane] += block[lane] * block[lane];
        }
    };
    const auto addPiece = [&](const double* piece, std::size_t firstLane, std::size_t length) {
        alignas(64) double block[lanes] = {};
        copyFew(piece, length, block + firstLane);
        addBlock(block);
    };
    std::size_t p = 0;
    if (const std::size_t lane = m_count % lanes; lane != 0) {
        p = std::min(n, lanes - lane);
        addPiece(values, lane, p);
    }
    for (; p + lanes <= n; p += lanes) {
        addBlock(values + p);
    }
    if (p < n) {
        addPiece(values + p, 0, n - p);
    }
    m_count += n;
    m_sums = sums;
    m_squares = squares;
}

double FieldMoments::mean() const {
    return std::accumulate(m_sums.begin(), m_sums.end(), 0.0) / static_cast<double>(m_count);
}

double FieldMoments::variance() const {
    const double mu = mean();
    return std::accumulate(m_squares.begin(), m_squares.end(), 0.0) / static_cast<double>(m_count) - mu * mu;
}

// Deliberate: a negative mean is added, not removed, and the threshold still refers to it. Adding -0.0 leaves
// every value as it is. The root of a variance that rounding made negative is not a number, and then no value
// is below it.
SigmaFilter::SigmaFilter(const FieldMoments& moments, double sigmas)
    : m_mean(moments.mean())
    , m_shift(m_mean < 0.0 ? m_mean : -0.0)
    , m_threshold(std::sqrt(moments.variance()) * sigmas) {}

SELVANE_MULTIVERSION bool SigmaFilter::apply(const double* __restrict in, std::size_t n,
                                             double* __restrict out) const {
    const SigmaFilter filter = *this; // a copy that no store can change
    std::uint64_t bits = 0;
    for (std::size_t p = 0; p < n; ++p) {
        out[p] = filter(in[p]);
        std::uint64_t value = 0;
        std::memcpy(&value, out + p, sizeof value);
        bits |= value << 1U; // without the sign, for -0 is zero too
    }
    return bits != 0;
}

} // namespace fccf
