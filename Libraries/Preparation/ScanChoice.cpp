// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/ScanChoice.h"

#include <algorithm>

ScanChoice chooseScan(const ScanNeeds& needs) {
    const double resolution = needs.scanResolution.value_or(std::max(10.0, needs.resolution));
    return {resolution, needs.resolution, resolution / 3.0, gaussianOf(resolution), needs.step.value_or(18.0),
            {}};
}

double gaussianOf(double resolution) {
    constexpr double widthPerResolution = 0.225;
    return widthPerResolution * resolution;
}
