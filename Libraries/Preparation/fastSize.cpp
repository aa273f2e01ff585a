// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/fastSize.h"

#include <algorithm>
#include <array>

std::size_t fastSize(std::size_t n) {
    constexpr std::array<std::size_t, 4> factors = {2, 3, 5, 7};
    const auto isFast = [&](std::size_t size) {
        for (const std::size_t factor : factors) {
            while (size % factor == 0) {
                size /= factor;
            }
        }
        return size == 1;
    };
    std::size_t size = std::max<std::size_t>(n, 1);
    while (!isFast(size)) {
        ++size;
    }
    return size;
}
