// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_EXAMPLES_MODEL_H
#define SELVANE_EXAMPLES_MODEL_H

#include <string>
#include <vector>

#include "examples/geometry.h"

namespace example {

struct Atom {
    std::string name;
    char element = ' ';
    std::string residue;
    char chain = ' ';
    int residueNumber = 0;
    Vec3 position;
};

/// Atoms in the order of the file, chain after chain.
using Model = std::vector<Atom>;

/// Mean of the positions, every atom counting the same.
Vec3 centroid(const Model& model);

/// Root of the mean squared distance from the centroid, in angstrom.
double radiusOfGyration(const Model& model);

/// Root of the mean squared distance between atoms of the same index, without superposition, in angstrom.
/// @throws std::invalid_argument when the models differ in their number of atoms or have none
double rmsd(const Model& a, const Model& b);

/// A rigid placement: x' = rotation * x + translation.
struct Placement {
    Mat3 rotation;
    Vec3 translation;
};

Model placed(const Model& model, const Placement& placement);

/// The model with every coordinate rounded to the three decimals that a PDB file keeps.
Model roundedToFile(const Model& model);

} // namespace example

#endif
