// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "examples/density.h"

namespace example {
namespace {

constexpr double resolution = 10.0;

Atom atomAt(const Vec3& position, char element) {
    Atom atom;
    atom.element = element;
    atom.position = position;
    return atom;
}

/// Atoms inside the lattice, at its edge and outside, and unequal axes that catch a swap.
const Lattice latticeOfMap{{9, 11, 7}, {-3, 5, 12}, 2.5};
const Model atoms = {atomAt({2.1, 24.7, 37.2}, 'C'), atomAt({-7.5, 12.5, 30.0}, 'N'),
                     atomAt({20.0, 30.0, 40.0}, 'O')};

TEST(GaussianWidth, FourierAmplitudeAtTheResolutionIsOneOverE) {
    const double s = gaussianWidth(resolution);
    const double pi = std::acos(-1.0);
    EXPECT_NEAR(std::exp(-2.0 * pi * pi * s * s / (resolution * resolution)), std::exp(-1.0), 1e-12);
}

TEST(SimulatedDensity, EqualsTheDirectSum) {
    const std::vector<double> values = simulatedDensity(atoms, latticeOfMap, resolution);
    const double s = gaussianWidth(resolution);
    for (int i = 0; i < 9; ++i) {
        for (int j = 0; j < 11; ++j) {
            for (int k = 0; k < 7; ++k) {
                const Vec3 node{2.5 * (i - 3), 2.5 * (j + 5), 2.5 * (k + 12)};
                double sum = 0.0;
                for (const Atom& atom : atoms) {
                    const Vec3 d = node - atom.position;
                    sum += std::exp(-dot(d, d) / (2.0 * s * s));
                }
                const auto flat = static_cast<std::size_t>(i + 9 * (j + 11 * k));
                // each atom may lack what lies beyond the cut
                EXPECT_NEAR(values[flat], sum, 3.0 * std::exp(-0.5 * cut * cut) + 1e-14);
            }
        }
    }
}

TEST(SimulatedDensity, DoesNotTellElementsApart) {
    const std::vector<double> carbon =
        simulatedDensity({atomAt({2.0, 25.0, 37.0}, 'C')}, latticeOfMap, resolution);
    const std::vector<double> oxygen =
        simulatedDensity({atomAt({2.0, 25.0, 37.0}, 'O')}, latticeOfMap, resolution);
    EXPECT_EQ(carbon, oxygen);
}

TEST(SimulatedDensity, AnAtomFarOutsideLeavesTheMapEmpty) {
    const std::vector<double> values =
        simulatedDensity({atomAt({-500.0, 25.0, 900.0}, 'C')}, latticeOfMap, resolution);
    EXPECT_EQ(values, std::vector<double>(latticeOfMap.nodes(), 0.0));
}

TEST(AddNoise, HasTheAskedStandardDeviation) {
    std::vector<double> values(20000, 0.0);
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = i % 2 == 0 ? 2.0 : -2.0;
    }
    std::vector<double> noisy = values;
    Random random(11);
    addNoise(noisy, 0.25, random);
    for (std::size_t i = 0; i < values.size(); ++i) {
        noisy[i] -= values[i];
    }
    EXPECT_NEAR(standardDeviation(noisy), 0.5, 0.0125); // five standard errors
}

} // namespace
} // namespace example
