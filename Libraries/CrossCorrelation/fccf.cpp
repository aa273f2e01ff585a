// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/fccf.h"

#include <stdexcept>
#include <string>

#include "CrossCorrelation/SigmaFilter.h"

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

FieldMoments momentsOf(const std::vector<double>& values) {
    FieldMoments moments;
    moments.add(values.data(), values.size());
    return moments;
}

} // namespace

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
    const FieldMoments moments = momentsOf(values);
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
