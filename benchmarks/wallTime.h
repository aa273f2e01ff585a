// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_WALLTIME_H
#define SELVANE_BENCHMARKS_WALLTIME_H

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

/// Seconds of wall time since `start`.
inline double secondsOf(const std::chrono::steady_clock::time_point& start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// The middle one of at least one value, the upper of two.
inline double medianOf(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

#endif
