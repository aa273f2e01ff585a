// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_EXAMPLE_H
#define SELVANE_EXAMPLES_EXAMPLE_H

#include <cstdint>
#include <string>

#include "examples/Model.h"
#include "examples/density.h"

namespace example {

struct Options {
    /// Of the simulated map, in angstrom.
    double resolution = 10.0;
    /// Standard deviation of the noise in units of that of the noiseless map.
    double noise = 0.5;
    /// Distance of the map's nodes, in angstrom.
    double spacing = 2.7;
    std::uint64_t seed = 1;
};

/// A model, a map that shows it at another place and in another orientation, and the way from one to the
/// other.
struct Example {
    Model model;
    Model truth;
    Placement modelToTruth;
    Map map;
};

/// The same options give the same example, on every machine. The rotation is drawn at random from all
/// rotations, and the model's centroid in the map up to 12 angstrom a side from the map's centre.
/// @throws std::invalid_argument unless resolution and spacing are finite and above 0 and the noise finite
/// and not
///         below 0, or when the resolution is so fine that the nodes cannot show it (below twice the spacing)
Example makeExample(const Options& options);

/// Rotation and translation in words that a person and a script can read.
std::string truthText(const Example& example, const Options& options);

/// Writes model.pdb, map.ccp4, truth.pdb and truth.txt into a directory, which is made where it is missing.
/// @throws std::runtime_error when a file cannot be written completely
void writeExample(const std::string& directory, const Example& example, const Options& options);

} // namespace example

#endif
