// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ScanShare.h"

#include <algorithm>
#include <cmath>

// Deliberate: the share is formed in double.
ScanShare ScanShare::of(std::size_t worker, std::size_t workers, std::size_t rotations) {
    const double share =
        std::ceil(static_cast<double>(rotations) / static_cast<double>(std::max<std::size_t>(workers, 1)));
    const auto chunk = static_cast<std::size_t>(share);
    const std::size_t first = worker * chunk;
    const std::size_t end = std::min(first + chunk, rotations);
    return {first, end > first ? end - first : 0, worker};
}
