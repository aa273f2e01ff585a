// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_SCANCHOICE_H
#define SELVANE_PREPARATION_SCANCHOICE_H

#include <optional>
#include <string>
#include <vector>

/// How finely a scan looks. docs/preparation.md gives the formulas with their reasons.
struct ScanChoice {
    double resolution = 0.0;    ///< that the map is brought to, angstrom; never finer than its own
    double mapResolution = 0.0; ///< that the map is taken to have, angstrom
    double voxel = 0.0;         ///< of the scan's lattice, angstrom
    double sigma = 0.0;         ///< standard deviation of an atom's Gaussian, angstrom
    double step = 0.0;          ///< the farthest that an orientation is from the nearest rotation, degrees
    std::vector<std::string> remarks; ///< a sentence each, for the user
};

/// What the choice depends on.
struct ScanNeeds {
    double resolution = 0.0;       ///< of the map, angstrom
    double mapVoxel = 0.0;         ///< the largest edge, angstrom
    double radiusOfGyration = 0.0; ///< of the model, angstrom
    std::optional<double> step;    ///< given by the user
    std::optional<double> scanResolution;
};

/// @throws std::invalid_argument, with the remedy, for a resolution, step or scan resolution that no scan can
///         be made with
ScanChoice chooseScan(const ScanNeeds& needs);

/// The standard deviation of the Gaussian that stands for a resolution, angstrom: 0.225 R, at which its
/// Fourier transform falls to 1/e at the spatial frequency 1/R.
double gaussianOf(double resolution);

#endif
