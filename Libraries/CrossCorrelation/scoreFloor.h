// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SCOREFLOOR_H
#define SELVANE_CROSSCORRELATION_SCOREFLOOR_H

/// The correlation that a voxel must exceed to be a candidate. A Gaussian of the model is cut at the same
/// number, ElectronDensity::EPSILON.
constexpr double scoreFloor = 0.0001;

#endif
