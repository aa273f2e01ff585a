// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_POLISHMODEL_H
#define SELVANE_ASSESSMENT_POLISHMODEL_H

#include <vector>

#include "Formats/AtomicModel.h"
#include "Math/cVector3.h"

/// Points with weights, about their middle, that stand for a model in an overlap.
struct PolishModel {
    std::vector<cVector3> points;    ///< from the middle, angstrom
    std::vector<double> weights;     ///< above 0
    cVector3 middle = cVector3(0.0); ///< the centre of mass, in the frame of the file
    double radiusOfGyration = 0.0;   ///< with the weights, angstrom
    double totalWeight = 0.0;
};

/// All atoms, weighted by their masses; equally if an atom has none.
/// @throws std::invalid_argument without atoms
PolishModel atomsOf(const std::vector<ModelAtom>& atoms);

/// One point for each residue, where its atoms have their centre of mass. A field whose details are coarser
/// than a residue hardly tells them from the atoms, and they cost an eighth. A residue is a run of atoms with
/// the same chain, number and insertion code.
/// @throws std::invalid_argument without atoms
PolishModel beadsOf(const std::vector<ModelAtom>& atoms);

#endif
