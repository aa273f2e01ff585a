// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_PREPAREDMODEL_H
#define SELVANE_PREPARATION_PREPAREDMODEL_H

#include <vector>

#include "Formats/AtomicModel.h"
#include "Math/RigidMotion.h"

/// The atoms of a search about their own middle and along their own axes, so that a scan finds the same
/// places wherever and however turned the model stands in its file.
struct PreparedModel {
    std::vector<ModelAtom> atoms;  ///< with the mean of their positions at the origin, longest axis along x
    RigidMotion fromFile;          ///< that brought them there
    double radiusOfGyration = 0.0; ///< every atom the same, angstrom
    double reach = 0.0;            ///< of the atom farthest from the middle, angstrom
};

/// The axes are the eigenvectors of the second moments; which way each points follows from the sign of the
/// third moment along it. A model with an axis of symmetry has no axes of its own, and keeps to no others.
/// @throws std::invalid_argument without atoms
PreparedModel prepareModel(const std::vector<ModelAtom>& atoms);

#endif
