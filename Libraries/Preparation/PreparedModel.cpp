// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/PreparedModel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

PreparedModel prepareModel(const std::vector<ModelAtom>& atoms) {
    if (atoms.empty()) {
        throw std::invalid_argument("a model without atoms cannot be searched for");
    }
    PreparedModel prepared;
    prepared.atoms = atoms;
    for (const ModelAtom& atom : atoms) {
        prepared.centre += atom.position;
    }
    prepared.centre *= 1.0 / static_cast<double>(atoms.size());
    double squares = 0.0;
    double farthest = 0.0;
    for (ModelAtom& atom : prepared.atoms) {
        atom.position -= prepared.centre;
        squares += atom.position.norm2();
        farthest = std::max(farthest, atom.position.norm2());
    }
    prepared.radiusOfGyration = std::sqrt(squares / static_cast<double>(atoms.size()));
    prepared.reach = std::sqrt(farthest);
    return prepared;
}
