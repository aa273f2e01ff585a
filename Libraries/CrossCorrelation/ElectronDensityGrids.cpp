// SPDX-License-Identifier: GPL-3.0-or-later
// The static operations on grids, which are at home elsewhere.
#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/modelBox.h"
#include "CrossCorrelation/padField.h"
#include "CrossCorrelation/rotateMap.h"

void ElectronDensity::zeroPadd(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid,
                               double* target) {
    padField(source, sourceGrid, targetGrid, target);
}

void ElectronDensity::zeroPadd(const std::vector<double>& source, const cGrid& sourceGrid,
                               const cGrid& targetGrid, std::vector<double>& target) {
    padField(source, sourceGrid, targetGrid, target);
}

void ElectronDensity::rotateNonZeroPadded(const std::vector<double>& source, const cGrid& sourceGrid,
                                          const std::array<double, 3>& eulerAngles, const cGrid& targetGrid,
                                          double* target, double threshold) {
    rotateMap(source, sourceGrid, eulerAngles, targetGrid, target, threshold);
}

cBBox ElectronDensity::getBoundingBox(const std::vector<std::array<double, 3>>& positions, double sigma,
                                      double epsilon, double scale) {
    return modelBox(positions, sigma, epsilon, scale);
}

cBBox ElectronDensity::getBoundingBox(const arma::Col<double>& coordinates, double sigma, double epsilon,
                                      double scale) {
    return modelBox(coordinates, sigma, epsilon, scale);
}
