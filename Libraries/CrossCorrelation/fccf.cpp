// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/fccf.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <string>

#include "Math/multiversion.h"

namespace fccf {

namespace {

void requireEqualLengths(const std::vector<double>& f, const std::vector<double>& g) {
    if (f.size() != g.size()) {
        throw std::length_error("f and g must have the same size");
    }
}

} // namespace

double getIntegral(const std::vector<double>& f, bool normalize) {
    double sum = 0.0;
    for (const double v : f) {
        sum += v;
    }
    return normalize ? sum / static_cast<double>(f.size()) : sum;
}

double getIntegral(const std::vector<double>& f, const std::vector<double>& g, bool normalize) {
    return getIntegral(f, g, 0, f.size(), normalize);
}

double getIntegral(const std::vector<double>& f, const std::vector<double>& g, std::size_t begin,
                   std::size_t end, bool normalize) {
    requireEqualLengths(f, g);
    if (end > f.size()) {
        throw std::out_of_range("the range ends at " + std::to_string(end) + ", the fields at " +
                                std::to_string(f.size()));
    }
    double sum = 0.0;
    for (std::size_t p = begin; p < end; ++p) {
        sum += f[p] * g[p];
    }
    return normalize ? sum / static_cast<double>(f.size()) : sum;
}

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
SELVANE_MULTIVERSION void MomentSums::add(const double* values, std::size_t n) {
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

double MomentSums::mean() const {
    return std::accumulate(m_sums.begin(), m_sums.end(), 0.0) / static_cast<double>(m_count);
}

double MomentSums::variance() const {
    const double mu = mean();
    return std::accumulate(m_squares.begin(), m_squares.end(), 0.0) / static_cast<double>(m_count) - mu * mu;
}

namespace {

MomentSums momentsOf(const std::vector<double>& values) {
    MomentSums moments;
    moments.add(values.data(), values.size());
    return moments;
}

} // namespace

// Deliberate: a negative mean is added, not removed, and the threshold still refers to it. Adding -0.0 leaves
// every value as it is. The root of a variance that rounding made negative is not a number, and then no value
// is below it.
SigmaFilter::SigmaFilter(const MomentSums& moments, double sigmas)
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

void filterValues(std::vector<double>& values, double sigmas) {
    const SigmaFilter filter(momentsOf(values), sigmas);
    for (double& v : values) {
        v = filter(v);
    }
}

double bound(double value, double low, double high) {
    const double raised = value > low ? value : low;
    return high < raised ? high : raised;
}

std::vector<std::size_t> getRelevantPositions(const std::vector<double>& values, double sigmas) {
    const MomentSums moments = momentsOf(values);
    const double mean = moments.mean();
    const double threshold = moments.variance() * (sigmas * sigmas);
    std::vector<std::size_t> positions;
    for (std::size_t p = 0; p < values.size(); ++p) {
        const double deviation = values[p] - mean;
        if (deviation * deviation > threshold) {
            positions.push_back(p);
        }
    }
    return positions;
}

arma::Mat<double> getTranslationDoffMatrix() {
    return arma::eye<arma::Mat<double>>(3, 3);
}

arma::Mat<double> getRotationDoffMatrix(const std::array<double, 3>& p, const std::array<double, 3>& c) {
    const double x = p[0] - c[0];
    const double y = p[1] - c[1];
    const double z = p[2] - c[2];
    return {{0.0, z, -y}, {-z, 0.0, x}, {y, -x, 0.0}};
}

arma::Mat<double> getRigidDofMatrix(const std::array<double, 3>& p, const std::array<double, 3>& c) {
    return arma::join_rows(getTranslationDoffMatrix(), getRotationDoffMatrix(p, c));
}

} // namespace fccf
