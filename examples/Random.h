// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_RANDOM_H
#define SELVANE_EXAMPLES_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <random>

#include "examples/geometry.h"

namespace example {

/// Random numbers that are the same on every machine: the engine's sequence is fixed by the language, and the
/// distributions, which the language leaves open, are written here.
class Random {
public:
    explicit Random(std::uint64_t seed);

    /// Uniform in [0, 1), a multiple of 2^-53.
    double uniform();
    /// Uniform in [low, high).
    double uniform(double low, double high);
    /// Uniform in 0 .. count - 1; count must not be 0.
    std::size_t index(std::size_t count);
    /// Mean 0, variance 1: the sum of twelve uniform numbers less 6, normal within 6 standard deviations. It
    /// needs additions only, so that no mathematics library can change a bit of it.
    double normal();
    /// Uniformly distributed rotation (Shoemake, 1992).
    Mat3 rotation();
    /// Uniformly distributed unit vector.
    Vec3 direction();

private:
    std::mt19937_64 m_engine;
};

} // namespace example

#endif
