// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/ScanMap.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace {

bool isExactlySingle(double value) {
    return std::abs(value) <= std::numeric_limits<float>::max() &&
           static_cast<double>(static_cast<float>(value)) == value;
}

} // namespace

ScanMap::ScanMap(const std::vector<double>& values, const cGrid& grid) : m_values(values), m_grid(grid) {
    if (values.size() != grid.getTotalSize()) {
        throw std::length_error("ScanMap: " + std::to_string(values.size()) + " values on a grid of " +
                                std::to_string(grid.getTotalSize()) + " nodes");
    }
    if (std::all_of(values.begin(), values.end(), isExactlySingle)) {
        m_singles.assign(values.begin(), values.end());
    }
}
