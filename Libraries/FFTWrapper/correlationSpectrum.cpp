// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/correlationSpectrum.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "Math/cGrid.h"
#include "Math/multiversion.h"
#include "Math/pi.h"

namespace dft {

namespace {

int axisLength(unsigned int n) {
    if (n > static_cast<unsigned int>(std::numeric_limits<int>::max())) {
        throw std::length_error("an axis of " + std::to_string(n) + " voxels is beyond the transform");
    }
    return static_cast<int>(n);
}

template <class Real>
SELVANE_MULTIVERSION void multiplyConjugatePairs(const Real (*f)[2], const Real (*g)[2], Real (*product)[2],
                                                 std::size_t size) {
    for (std::size_t p = 0; p < size; ++p) {
        const Real u = f[p][0];
        const Real v = f[p][1];
        const Real w = g[p][0];
        const Real z = g[p][1];
        product[p][0] = u * w + v * z;
        product[p][1] = u * z - v * w;
    }
}

SELVANE_MULTIVERSION
void divideAll(double* values, std::size_t n, double divisor) {
    for (std::size_t p = 0; p < n; ++p) {
        values[p] /= divisor;
    }
}

} // namespace

Dimensions::Dimensions(const cGrid& grid)
    : n_i(axisLength(grid.m_size[0]))
    , n_j(axisLength(grid.m_size[1]))
    , n_k(axisLength(grid.m_size[2]))
    , realSize(grid.getTotalSize()) {
    const std::uint64_t slice = std::uint64_t{grid.m_size[0]} * grid.m_size[1];
    if (slice > realSize || slice * grid.m_size[2] != realSize) {
        throw std::length_error("a grid of " + std::to_string(n_i) + " x " + std::to_string(n_j) + " x " +
                                std::to_string(n_k) + " voxels cannot count " + std::to_string(realSize));
    }
}

std::size_t Dimensions::complexSize() const {
    return static_cast<std::size_t>(n_i) * static_cast<std::size_t>(n_j) *
           static_cast<std::size_t>(n_k / 2 + 1);
}

void multiplyConjugate(const ComplexArray& f, const ComplexArray& g, ComplexArray& product) {
    requireSpectrumSize(g.size(), f.size());
    requireSpectrumSize(product.size(), f.size());
    multiplyConjugatePairs(f.data(), g.data(), product.data(), f.size());
}

void multiplyConjugate(const double (*f)[2], const double (*g)[2], double (*product)[2], std::size_t n) {
    multiplyConjugatePairs(f, g, product, n);
}

void multiplyConjugate(const float (*f)[2], const float (*g)[2], float (*product)[2], std::size_t n) {
    multiplyConjugatePairs(f, g, product, n);
}

void requireSpectrumSize(std::size_t size, std::size_t expected) {
    if (size != expected) {
        throw std::length_error("a spectrum of " + std::to_string(size) + " pairs where the grid has " +
                                std::to_string(expected));
    }
}

double correlationScale(std::size_t n) {
    // Deliberate: (2 pi)^3 belongs to the scale that scores and thresholds count on.
    return static_cast<double>(8 * n) * pi * pi * pi;
}

void divideByCorrelationScale(double* values, std::size_t n) {
    divideAll(values, n, correlationScale(n));
}

void divideByCount(double* values, std::size_t n) {
    divideAll(values, n, static_cast<double>(n));
}

} // namespace dft
