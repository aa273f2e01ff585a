// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_PREPAREDMODEL_H
#define SELVANE_PREPARATION_PREPAREDMODEL_H

#include <vector>

#include "Formats/AtomicModel.h"
#include "Math/cVector3.h"

/// The atoms of a search about their own middle.
struct PreparedModel {
    std::vector<ModelAtom> atoms;    ///< with the mean of their positions at the origin
    cVector3 centre = cVector3(0.0); ///< that mean in the frame of the file
    double radiusOfGyration = 0.0;   ///< every atom the same, angstrom
    double reach = 0.0;              ///< of the atom farthest from the middle, angstrom
};

/// @throws std::invalid_argument without atoms
PreparedModel prepareModel(const std::vector<ModelAtom>& atoms);

#endif
