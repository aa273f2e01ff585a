// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sampler/evenRotations.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "Math/pi.h"
#include "Sampler/rotationAngles.h"

namespace {

// Measured over sets of 30 to 14,000 rotations, with the farthest orientation sought by climbing.
constexpr double farthestTimesCubeRoot = 245.0; // degrees
constexpr std::size_t fewest = 30;              // below, the sets are less even than the bound

struct Quaternion {
    double x, y, z, w;
};

cMatrix33 matrixOf(const Quaternion& q) {
    return {
        1 - 2 * (q.y * q.y + q.z * q.z), 2 * (q.x * q.y - q.z * q.w),     2 * (q.x * q.z + q.y * q.w),
        2 * (q.x * q.y + q.z * q.w),     1 - 2 * (q.x * q.x + q.z * q.z), 2 * (q.y * q.z - q.x * q.w),
        2 * (q.x * q.z - q.y * q.w),     2 * (q.y * q.z + q.x * q.w),     1 - 2 * (q.x * q.x + q.y * q.y)};
}

} // namespace

std::size_t evenRotationCount(double step) {
    if (!(step >= evenRotationLimit && std::isfinite(step))) {
        throw std::invalid_argument("a step between rotations has to be a number of degrees, 0.5 or more");
    }
    const double count = std::ceil(std::pow(farthestTimesCubeRoot / step, 3.0));
    return std::max(fewest, static_cast<std::size_t>(count));
}

std::vector<std::array<double, 3>> evenRotations(double step) {
    const double phi = std::sqrt(2.0);
    constexpr double psi = 1.533751168755204288118041;
    const std::size_t count = evenRotationCount(step);
    std::vector<std::array<double, 3>> rotations;
    rotations.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double s = static_cast<double>(i) + 0.5;
        const double r2 = s / static_cast<double>(count);
        const double r = std::sqrt(r2);
        const double rest = std::sqrt(1.0 - r2);
        // Whole turns are dropped before they cost digits.
        const double a = 2.0 * pi * std::fmod(s / phi, 1.0);
        const double b = 2.0 * pi * std::fmod(s / psi, 1.0);
        rotations.push_back(rotationAngles(
            matrixOf({r * std::sin(a), r * std::cos(a), rest * std::sin(b), rest * std::cos(b)})));
    }
    return rotations;
}
