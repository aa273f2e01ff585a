// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/MapRotator.h"
#include "CrossCorrelation/gaussianCut.h"
#include "Math/cGrid.h"

namespace {

void requireLarger(const cGrid& targetGrid, const cGrid& sourceGrid) {
    for (int axis = 0; axis < 3; ++axis) {
        if (targetGrid.m_size[axis] < sourceGrid.m_size[axis]) {
            throw std::length_error("zeroPadd: the target has fewer nodes than the source");
        }
    }
}

/// Copies the source's rows to the same (i, j, k) of the target.
void copyRows(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid, double* target) {
    for (unsigned int i = 0; i < sourceGrid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < sourceGrid.m_size[1]; ++j) {
            const int x = static_cast<int>(i);
            const int y = static_cast<int>(j);
            std::copy_n(source + sourceGrid.indexToFlatIndex(x, y, 0), sourceGrid.m_size[2],
                        target + targetGrid.indexToFlatIndex(x, y, 0));
        }
    }
}

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

void ElectronDensity::zeroPadd(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid,
                               double* target) {
    requireLarger(targetGrid, sourceGrid);
    std::fill_n(target, targetGrid.getTotalSize(), 0.0);
    copyRows(source, sourceGrid, targetGrid, target);
}

void ElectronDensity::zeroPadd(const std::vector<double>& source, const cGrid& sourceGrid,
                               const cGrid& targetGrid, std::vector<double>& target) {
    requireLarger(targetGrid, sourceGrid);
    target.resize(targetGrid.getTotalSize());
    copyRows(source.data(), sourceGrid, targetGrid, target.data());
}

void ElectronDensity::rotateNonZeroPadded(const std::vector<double>& source, const cGrid& sourceGrid,
                                          const std::array<double, 3>& eulerAngles, const cGrid& targetGrid,
                                          double* target, double threshold) {
    requireLarger(targetGrid, sourceGrid);
    const MapRotator rotator(source, sourceGrid, threshold);
    std::fill_n(target, targetGrid.getTotalSize(), 0.0);
    const auto rowAt = [&](unsigned int i, unsigned int j) {
        return target + targetGrid.indexToFlatIndex(static_cast<int>(i), static_cast<int>(j), 0);
    };
    const fccf::SigmaFilter filter = rotator.rotate(eulerAngles, rowAt);
    for (unsigned int i = 0; i < sourceGrid.m_size[0]; ++i) {
        for (unsigned int j = 0; j < sourceGrid.m_size[1]; ++j) {
            double* const row = rowAt(i, j);
            std::transform(row, row + sourceGrid.m_size[2], row, filter);
        }
    }
}

cBBox ElectronDensity::getBoundingBox(const std::vector<std::array<double, 3>>& positions, double sigma,
                                      double epsilon, double scale) {
    requirePositions(positions.size());
    return boundingBox(positions, positions.size(), sigma, epsilon, scale);
}

cBBox ElectronDensity::getBoundingBox(const arma::Col<double>& coordinates, double sigma, double epsilon,
                                      double scale) {
    requirePositions(coordinates.n_elem / 3);
    return boundingBox(coordinates, coordinates.n_elem / 3, sigma, epsilon, scale);
}
