// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/fccf.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace fccf {

namespace {

struct Moments {
    double mean;
    double variance; ///< may come out slightly negative by rounding
};

Moments computeMoments(const std::vector<double>& values) {
    double sum = 0.0;
    double sumOfSquares = 0.0;
    for (const double v : values) {
        sum += v;
        sumOfSquares += v * v;
    }
    const auto length = static_cast<double>(values.size());
    const double mean = sum / length;
    return {mean, sumOfSquares / length - mean * mean};
}

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

void filterValues(std::vector<double>& values, double sigmas) {
    const auto [mean, variance] = computeMoments(values);
    if (mean < 0.0) {
        // Deliberate: a negative mean is added, not removed, and the threshold below still refers to it.
        for (double& v : values) {
            v += mean;
        }
    }
    // The root of a variance that rounding made negative is not a number, and then no value is below it.
    const double threshold = std::sqrt(variance) * sigmas;
    for (double& v : values) {
        v = threshold > v - mean ? 0.0 : v;
    }
}

double bound(double value, double low, double high) {
    const double raised = value > low ? value : low;
    return high < raised ? high : raised;
}

std::vector<std::size_t> getRelevantPositions(const std::vector<double>& values, double sigmas) {
    const Moments moments = computeMoments(values);
    const double threshold = moments.variance * (sigmas * sigmas);
    std::vector<std::size_t> positions;
    for (std::size_t p = 0; p < values.size(); ++p) {
        const double deviation = values[p] - moments.mean;
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
