// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/density.h"

#include <algorithm>
#include <cmath>

namespace example {
namespace {

constexpr double pi = 3.14159265358979323846;

/// The factors of one atom's Gaussian along one axis, from node `first` on.
struct AxisProfile {
    int first;
    std::vector<double> factors;
};

AxisProfile profile(double coordinate, int start, int extent, double spacing, double width) {
    const double center = coordinate / spacing - start;
    const double reach = cut * width / spacing;
    const int first = std::max(0, static_cast<int>(std::ceil(center - reach)));
    const int last = std::min(extent - 1, static_cast<int>(std::floor(center + reach)));
    AxisProfile result{first, {}};
    for (int i = first; i <= last; ++i) {
        const double d = (start + i) * spacing - coordinate;
        result.factors.push_back(std::exp(-d * d / (2.0 * width * width)));
    }
    return result;
}

double mean(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) {
        sum += value;
    }
    return sum / static_cast<double>(values.size());
}

} // namespace

Vec3 Lattice::position(int i, int j, int k) const {
    return {(start[0] + i) * spacing, (start[1] + j) * spacing, (start[2] + k) * spacing};
}

Vec3 Lattice::center() const {
    return 0.5 * (position(0, 0, 0) + position(extents[0] - 1, extents[1] - 1, extents[2] - 1));
}

std::size_t Lattice::nodes() const {
    return static_cast<std::size_t>(extents[0]) * static_cast<std::size_t>(extents[1]) *
           static_cast<std::size_t>(extents[2]);
}

std::size_t Lattice::flatIndex(int i, int j, int k) const {
    const auto nx = static_cast<std::size_t>(extents[0]);
    const auto ny = static_cast<std::size_t>(extents[1]);
    return (static_cast<std::size_t>(k) * ny + static_cast<std::size_t>(j)) * nx +
           static_cast<std::size_t>(i);
}

double gaussianWidth(double resolution) {
    return resolution / (pi * std::sqrt(2.0));
}

std::vector<double> simulatedDensity(const Model& model, const Lattice& lattice, double resolution) {
    const double width = gaussianWidth(resolution);
    std::vector<double> values(lattice.nodes(), 0.0);
    for (const Atom& atom : model) {
        const Vec3& p = atom.position;
        const AxisProfile x = profile(p.x, lattice.start[0], lattice.extents[0], lattice.spacing, width);
        const AxisProfile y = profile(p.y, lattice.start[1], lattice.extents[1], lattice.spacing, width);
        const AxisProfile z = profile(p.z, lattice.start[2], lattice.extents[2], lattice.spacing, width);
        for (std::size_t k = 0; k < z.factors.size(); ++k) {
            for (std::size_t j = 0; j < y.factors.size(); ++j) {
                const double yz = y.factors[j] * z.factors[k];
                double* row = &values[lattice.flatIndex(0, y.first + static_cast<int>(j),
                                                        z.first + static_cast<int>(k))];
                for (std::size_t i = 0; i < x.factors.size(); ++i) {
                    row[static_cast<std::size_t>(x.first) + i] += x.factors[i] * yz;
                }
            }
        }
    }
    return values;
}

double standardDeviation(const std::vector<double>& values) {
    const double average = mean(values);
    double sum = 0.0;
    for (const double value : values) {
        sum += (value - average) * (value - average);
    }
    return std::sqrt(sum / static_cast<double>(values.size()));
}

void addNoise(std::vector<double>& values, double noise, Random& random) {
    const double deviation = noise * standardDeviation(values);
    for (double& value : values) {
        value += deviation * random.normal();
    }
}

} // namespace example
