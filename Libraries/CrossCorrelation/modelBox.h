// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_MODELBOX_H
#define SELVANE_CROSSCORRELATION_MODELBOX_H

#include <array>
#include <vector>

#include <armadillo>

#include "Math/cBBox.h"

/// The box of the positions, widened by scale times the radius at which the Gaussian of an atom falls to
/// epsilon.
/// @param sigma  in angstrom
/// @throws std::invalid_argument without positions
cBBox modelBox(const std::vector<std::array<double, 3>>& positions, double sigma, double epsilon,
               double scale);

/// The same from one column x, y, z of atom 0, then atom 1, and so on.
cBBox modelBox(const arma::Col<double>& coordinates, double sigma, double epsilon, double scale);

#endif
