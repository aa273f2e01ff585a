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

} // namespace

ScanMap::ScanMap(const std::vector<double>& values, const cGrid& grid) : m_values(values), m_grid(grid) {
    if (std::all_of(values.begin(), values.end(), isExactlySingle)) {
        m_singles.assign(values.begin(), values.end());
    }
}
