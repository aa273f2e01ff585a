// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_QCPROT_TESTS_POINTSETS_H
#define SELVANE_QCPROT_TESTS_POINTSETS_H

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <vector>

#include <armadillo>

#include "Math/structure.h"

using Points = std::vector<std::array<double, 3>>;

/// Rotation by `angle` about `axis` (Rodrigues 1840).
inline arma::Mat<double> rotationAbout(arma::Col<double> axis, double angle) {
    axis = arma::normalise(axis);
    arma::Mat<double> skew;
    computeCrossProductMatrix({axis[0], axis[1], axis[2]}, skew);
    return arma::eye(3, 3) + std::sin(angle) * skew + (1.0 - std::cos(angle)) * skew * skew;
}

inline arma::Mat<double> randomRotation(std::mt19937& random) {
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> angle(-3.0, 3.0);
    return rotationAbout({normal(random), normal(random), normal(random)}, angle(random));
}

/// Points of a normal distribution with these deviations along x, y, z.
inline Points randomPoints(std::mt19937& random, std::size_t count, std::array<double, 3> spread) {
    std::normal_distribution<double> normal;
    Points points(count);
    for (auto& point : points) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            point[axis] = spread[axis] * normal(random);
        }
    }
    return points;
}

/// m * point + shift for each point.
inline Points transformed(const Points& points, const arma::Mat<double>& m, const arma::Col<double>& shift) {
    Points result;
    for (const auto& point : points) {
        const arma::Col<double> moved = m * arma::Col<double>{point[0], point[1], point[2]} + shift;
        result.push_back({moved[0], moved[1], moved[2]});
    }
    return result;
}

/// The elements in row-major order.
inline std::array<double, 9> rowMajor(const arma::Mat<double>& m) {
    std::array<double, 9> elements{};
    for (arma::uword row = 0; row < 3; ++row) {
        for (arma::uword column = 0; column < 3; ++column) {
            elements[3 * row + column] = m(row, column);
        }
    }
    return elements;
}

#endif
