// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ATOMGAUSSIAN_H
#define SELVANE_CROSSCORRELATION_ATOMGAUSSIAN_H

#include <array>
#include <vector>

#include "CrossCorrelation/NodeBox.h"

/// One atom over the nodes that it reaches: per axis the distances from the atom to the nodes and the factors
/// exp(-distance^2 / (2 sigma^2)), whose product over the axes is the Gaussian at a node.
struct AtomGaussian {
    NodeBox reach;
    std::array<std::vector<double>, 3> distances;
    std::array<std::vector<double>, 3> factors;
};

#endif
