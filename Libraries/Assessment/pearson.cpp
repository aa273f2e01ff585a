// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/pearson.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

double meanOf(const std::vector<float>& values) {
    double sum = 0.0;
    for (const float value : values) {
        sum += static_cast<double>(value);
    }
    return sum / static_cast<double>(values.size());
}

/// Whether a sum of squares about a mean comes from values that single precision cannot tell apart.
bool isRounding(double squares, const std::vector<float>& values) {
    constexpr double rounding = 1e-6; // of the largest magnitude; differences of a field have a few of 6e-8
    const auto [low, high] = std::minmax_element(values.begin(), values.end());
    const double largest = static_cast<double>(std::max(std::abs(*low), std::abs(*high)));
    const double least = rounding * largest;
    return !(squares > least * least * static_cast<double>(values.size()));
}

} // namespace

double pearson(const std::vector<float>& a, const std::vector<float>& b) {
    if (a.empty()) {
        return 0.0;
    }
    const double meanA = meanOf(a), meanB = meanOf(b);
    double products = 0.0, squaresA = 0.0, squaresB = 0.0;
    for (std::size_t n = 0; n < a.size(); ++n) {
        const double differenceA = static_cast<double>(a[n]) - meanA;
        const double differenceB = static_cast<double>(b[n]) - meanB;
        products += differenceA * differenceB;
        squaresA += differenceA * differenceA;
        squaresB += differenceB * differenceB;
    }
    if (isRounding(squaresA, a) || isRounding(squaresB, b)) {
        return 0.0;
    }
    return products / std::sqrt(squaresA * squaresB);
}
