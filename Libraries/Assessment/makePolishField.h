// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_MAKEPOLISHFIELD_H
#define SELVANE_ASSESSMENT_MAKEPOLISHFIELD_H

#include "Assessment/SplineField.h"
#include "Formats/DensityMap.h"

/// The field F = G * contrast of which the overlap with a model is the sum over its atoms,
///   S = sum over a of w_a F(x_a) = integral of contrast(x) sum over a of w_a G(x - x_a),
/// for G a Gaussian of integral 1. Beyond the faces the contrast counts as 0, and F ends with its lattice.
/// @param contrast  the negative Laplacian of a map, or another field with mean zero
/// @param sigma     standard deviation of an atom's Gaussian, angstrom, 0 or more
/// @throws std::invalid_argument as SplineField
SplineField makePolishField(const DensityMap& contrast, double sigma);

#endif
