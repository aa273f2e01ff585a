// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_COMPLEX_H
#define SELVANE_EXAMPLES_COMPLEX_H

#include <vector>

#include "examples/Model.h"
#include "examples/Random.h"

namespace example {

/// Chains A, B, ... of about so many residues each, all different, packed one after the other against those
/// before them; without symmetry.
/// @param residues  per chain, each at least 20; at most 26 chains
/// @throws std::invalid_argument for other numbers, std::runtime_error as buildChain()
Model buildComplex(const std::vector<int>& residues, Random& random);

/// The atoms of one chain.
Model chainOf(const Model& model, char chain);

} // namespace example

#endif
