// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_DENSITY_H
#define SELVANE_EXAMPLES_DENSITY_H

#include <array>
#include <cstddef>
#include <vector>

#include "examples/Model.h"
#include "examples/Random.h"

namespace example {

/// The nodes of a map: node (i, j, k) stands at ((start + (i, j, k)) * spacing) angstrom.
struct Lattice {
    std::array<int, 3> extents;
    std::array<int, 3> start;
    double spacing;

    Vec3 position(int i, int j, int k) const;
    /// Middle between the first and the last node.
    Vec3 center() const;
    std::size_t nodes() const;
    /// x runs fastest, as in the file.
    std::size_t flatIndex(int i, int j, int k) const;
};

/// A field on a lattice.
struct Map {
    Lattice lattice;
    std::vector<float> values;
};

/// Width s in angstrom of the Gaussian that stands for a resolution: s = resolution / (pi sqrt 2), by which
/// the amplitude of a Fourier term of that spacing has fallen to 1/e.
double gaussianWidth(double resolution);

/// sum over all atoms of exp(-|x - p|^2 / (2 s^2)) at every node x, the same for every element. A Gaussian
/// ends cut widths from its atom along each axis, where it has fallen below 2e-8.
std::vector<double> simulatedDensity(const Model& model, const Lattice& lattice, double resolution);

constexpr double cut = 6.0;

/// Population standard deviation.
double standardDeviation(const std::vector<double>& values);

/// Adds to each value, in order, a normal random number of standard deviation `noise` times that of the
/// values.
void addNoise(std::vector<double>& values, double noise, Random& random);

} // namespace example

#endif
