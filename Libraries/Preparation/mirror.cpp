// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/mirror.h"

#include <algorithm>
#include <cstddef>

DensityMap mirror(DensityMap map) {
    const auto plane = static_cast<std::ptrdiff_t>(map.size[1] * map.size[2]);
    for (std::size_t i = 0; i < map.size[0] / 2; ++i) {
        const auto here = map.values.begin() + static_cast<std::ptrdiff_t>(i) * plane;
        const auto there = map.values.begin() + static_cast<std::ptrdiff_t>(map.size[0] - 1 - i) * plane;
        std::swap_ranges(here, here + plane, there);
    }
    return map;
}
