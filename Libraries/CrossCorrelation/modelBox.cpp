// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/modelBox.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

#include "CrossCorrelation/gaussianCut.h"

namespace {

/// The position of atom n in either form of coordinates.
std::array<double, 3> positionOf(const std::vector<std::array<double, 3>>& positions, std::size_t n) {
    return positions[n];
}

std::array<double, 3> positionOf(const arma::Col<double>& coordinates, std::size_t n) {
    return {coordinates(3 * n), coordinates(3 * n + 1), coordinates(3 * n + 2)};
}

template <class Coordinates>
cBBox boundingBox(const Coordinates& coordinates, std::size_t count, double sigma, double epsilon,
                  double scale) {
    const double z = gaussianCut::normalization(sigma);
    const double margin = scale * std::sqrt(-2.0 * sigma * sigma * std::log(z * epsilon));
    std::array<double, 3> low = positionOf(coordinates, 0);
    std::array<double, 3> high = low;
    for (std::size_t n = 1; n < count; ++n) {
        const std::array<double, 3> p = positionOf(coordinates, n);
        for (std::size_t c = 0; c < 3; ++c) {
            low[c] = std::min(low[c], p[c]);
            high[c] = std::max(high[c], p[c]);
        }
    }
    return cBBox(cVector3(low[0] - margin, low[1] - margin, low[2] - margin),
                 cVector3(high[0] + margin, high[1] + margin, high[2] + margin));
}

void requirePositions(std::size_t count) {
    if (count == 0) {
        throw std::invalid_argument("getBoundingBox: no positions");
    }
}

} // namespace

cBBox modelBox(const std::vector<std::array<double, 3>>& positions, double sigma, double epsilon,
               double scale) {
    requirePositions(positions.size());
    return boundingBox(positions, positions.size(), sigma, epsilon, scale);
}

cBBox modelBox(const arma::Col<double>& coordinates, double sigma, double epsilon, double scale) {
    requirePositions(coordinates.n_elem / 3);
    return boundingBox(coordinates, coordinates.n_elem / 3, sigma, epsilon, scale);
}
