// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/ScanMap.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

bool isExactlySingle(double value) {
    return std::abs(value) <= std::numeric_limits<float>::max() &&
           static_cast<double>(static_cast<float>(value)) == value;
}

/// In the range (-1, 1).
std::vector<float> roundedSingles(const std::vector<double>& values) {
    double largest = 0.0;
    for (const double value : values) {
        largest = std::max(largest, std::abs(value));
    }
    int exponent = 0;
    std::frexp(largest, &exponent);
    std::vector<float> singles(values.size());
    std::transform(values.begin(), values.end(), singles.begin(),
                   [exponent](double value) { return static_cast<float>(std::ldexp(value, -exponent)); });
    return singles;
}

} // namespace

ScanMap::ScanMap(const std::vector<double>& values, const cGrid& grid, Singles singles)
    : m_values(values), m_grid(grid) {
    if (singles == Singles::Rounded) {
        m_singles = roundedSingles(values);
    } else if (std::all_of(values.begin(), values.end(), isExactlySingle)) {
        m_singles.assign(values.begin(), values.end());
    }
}
