// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sampler/nearRotations.h"

#include <algorithm>
#include <cmath>

#include "Math/pi.h"
#include "Sampler/rotationAngles.h"

// By the sine of half the angle, which the Frobenius norm of the difference tells: small angles keep their
// digits, which the trace would lose.
double degreesBetween(const cMatrix33& a, const cMatrix33& b) {
    double squares = 0.0;
    for (int k = 0; k < 9; ++k) {
        const double difference = a(k / 3, k % 3) - b(k / 3, k % 3);
        squares += difference * difference;
    }
    const double halfSine = std::sqrt(squares / 8.0);
    return 2.0 * std::asin(std::min(1.0, halfSine)) * 180.0 / pi;
}

std::vector<std::array<double, 3>> rotationsNear(const std::vector<std::array<double, 3>>& rotations,
                                                 const cMatrix33& middle, double degrees) {
    std::vector<std::array<double, 3>> near = {rotationAngles(middle)};
    for (const std::array<double, 3>& angles : rotations) {
        const cMatrix33 rotation = cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
        if (degrees > 0.0 && degreesBetween(rotation, middle) <= degrees) {
            near.push_back(angles);
        }
    }
    return near;
}
