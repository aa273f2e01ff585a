// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_TESTS_LOCALREFERENCE_H
#define SELVANE_CROSSCORRELATION_TESTS_LOCALREFERENCE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "FFTWrapper/RealCorssCorelationEngine.h"
#include "Math/cGrid.h"
#include "Math/pi.h"

/// The local correlation by its formulas, for tests to hold the fast road against.
namespace localreference {

struct Result {
    std::vector<double> overlap, variance, score; ///< a value per shift, flat
    double largestSquares = 0.0;                  ///< sum under the mask; by engine alone
};

/// overlap / sqrt(max(V, floor max V)); 0 where there is no V.
inline void fillScores(Result& result, double floor) {
    const double most = *std::max_element(result.variance.begin(), result.variance.end());
    result.score.assign(result.overlap.size(), 0.0);
    for (std::size_t s = 0; s < result.score.size() && most > 0.0; ++s) {
        result.score[s] = result.overlap[s] / std::sqrt(std::max(result.variance[s], floor * most));
    }
}

/// Shift by shift, the deviation under the mask about its own mean: no transform, and no difference of sums
/// of squares.
inline Result directly(const cGrid& grid, const std::vector<double>& target,
                       const std::vector<double>& weights, const std::vector<double>& mask, double floor) {
    const std::size_t nx = grid.m_size[0], ny = grid.m_size[1], nz = grid.m_size[2];
    const std::size_t nodes = target.size();
    Result result{std::vector<double>(nodes, 0.0), std::vector<double>(nodes, 0.0), {}, 0.0};
    for (std::size_t s = 0; s < nodes; ++s) {
        const std::size_t si = s / (ny * nz), sj = s / nz % ny, sk = s % nz;
        std::vector<double> covered;
        for (std::size_t i = 0; i < nx; ++i) {
            for (std::size_t j = 0; j < ny; ++j) {
                for (std::size_t k = 0; k < nz; ++k) {
                    const double value = target[(i * ny + j) * nz + k];
                    const std::size_t at = ((i + si) % nx * ny + (j + sj) % ny) * nz + (k + sk) % nz;
                    result.overlap[s] += weights[at] * value;
                    if (mask[at] != 0.0) {
                        covered.push_back(value);
                    }
                }
            }
        }
        double mean = 0.0;
        for (const double value : covered) {
            mean += value / static_cast<double>(covered.size());
        }
        for (const double value : covered) {
            result.variance[s] += (value - mean) * (value - mean);
        }
    }
    fillScores(result, floor);
    return result;
}

/// By the correlation engine on whole fields, one after the other.
inline Result byEngine(const cGrid& grid, std::vector<double> target, std::vector<double> weights,
                       std::vector<double> mask, double floor) {
    const auto correlation = [&grid](std::vector<double>& f, std::vector<double>& g) {
        std::vector<double> sums(f.size());
        dft::RealCorssCorelationEngine(grid, f.data(), g.data(), sums.data()).execute(true, true);
        for (double& sum : sums) {
            sum *= 8.0 * pi * pi * pi;
        }
        return sums;
    };
    double count = 0.0;
    for (const double value : mask) {
        count += value;
    }
    std::vector<double> square(target);
    for (double& value : square) {
        value *= value;
    }
    Result result{correlation(target, weights), correlation(square, mask), {}, 0.0};
    result.largestSquares = *std::max_element(result.variance.begin(), result.variance.end());
    const std::vector<double> sums = correlation(target, mask);
    for (std::size_t s = 0; s < sums.size(); ++s) {
        result.variance[s] = std::max(0.0, result.variance[s] - sums[s] * sums[s] / count);
    }
    fillScores(result, floor);
    return result;
}

/// What single precision may be off by, as LocalCorrelator tells.
struct SingleErrors {
    double overlap = 0.0, variance = 0.0, score = 0.0;
};

inline double normOf(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) {
        sum += value * value;
    }
    return std::sqrt(sum);
}

/// @param exact  by engine
inline SingleErrors singleErrors(const Result& exact, const std::vector<double>& target,
                                 const std::vector<double>& mask, double floor) {
    const double unit = 0x1p-24 * std::max(4.0, std::log2(static_cast<double>(target.size())));
    std::vector<double> square(target);
    for (double& value : square) {
        value *= value;
    }
    const double norm = normOf(target);
    const double least = floor * *std::max_element(exact.variance.begin(), exact.variance.end());
    double mostScore = 0.0;
    for (const double score : exact.score) {
        mostScore = std::max(mostScore, std::abs(score));
    }
    SingleErrors errors;
    errors.overlap = unit * norm;
    errors.variance = unit * (normOf(mask) * normOf(square) + 2.0 * std::sqrt(exact.largestSquares) * norm);
    errors.score = errors.overlap / std::sqrt(least) + mostScore * errors.variance / least;
    return errors;
}

} // namespace localreference

#endif
