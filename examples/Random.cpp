// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/Random.h"

#include <cmath>

namespace example {
namespace {

constexpr double twoPi = 2.0 * 3.14159265358979323846;

} // namespace

Random::Random(std::uint64_t seed) : m_engine(seed) {}

double Random::uniform() {
    return static_cast<double>(m_engine() >> 11) * 0x1.0p-53;
}

double Random::uniform(double low, double high) {
    return low + (high - low) * uniform();
}

std::size_t Random::index(std::size_t count) {
    return static_cast<std::size_t>(uniform() * static_cast<double>(count));
}

double Random::normal() {
    double sum = -6.0;
    for (int i = 0; i < 12; ++i) {
        sum += uniform();
    }
    return sum;
}

Mat3 Random::rotation() {
    const double u = uniform();
    const double a = twoPi * uniform();
    const double b = twoPi * uniform();
    const double low = std::sqrt(1.0 - u);
    const double high = std::sqrt(u);
    return rotationFromQuaternion(high * std::cos(b), low * std::sin(a), low * std::cos(a),
                                  high * std::sin(b));
}

Vec3 Random::direction() {
    const double z = uniform(-1.0, 1.0);
    const double a = twoPi * uniform();
    const double r = std::sqrt(1.0 - z * z);
    return {r * std::cos(a), r * std::sin(a), z};
}

} // namespace example
