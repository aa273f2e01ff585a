// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/PolishModel.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <utility>

namespace {

bool areOfOneResidue(const ModelAtom& a, const ModelAtom& b) {
    return a.residueNumber == b.residueNumber && a.insertionCode == b.insertionCode && a.chain == b.chain;
}

std::vector<double> weightsOf(const std::vector<ModelAtom>& atoms) {
    const bool haveMasses =
        std::all_of(atoms.begin(), atoms.end(), [](const ModelAtom& atom) { return atom.mass > 0.0; });
    std::vector<double> weights;
    weights.reserve(atoms.size());
    for (const ModelAtom& atom : atoms) {
        weights.push_back(haveMasses ? atom.mass : 1.0);
    }
    return weights;
}

/// @param points  in the frame of the file; moved to their middle
PolishModel aboutMiddle(std::vector<cVector3> points, std::vector<double> weights) {
    PolishModel model;
    cVector3 sum(0.0);
    for (std::size_t n = 0; n < points.size(); ++n) {
        sum += points[n] * weights[n];
        model.totalWeight += weights[n];
    }
    model.middle = sum / model.totalWeight;
    double squares = 0.0;
    for (std::size_t n = 0; n < points.size(); ++n) {
        points[n] -= model.middle;
        squares += weights[n] * points[n].norm2();
    }
    model.radiusOfGyration = std::sqrt(squares / model.totalWeight);
    model.points = std::move(points);
    model.weights = std::move(weights);
    return model;
}

void requireAtoms(const std::vector<ModelAtom>& atoms) {
    if (atoms.empty()) {
        throw std::invalid_argument("a model without atoms has no place");
    }
}

} // namespace

PolishModel atomsOf(const std::vector<ModelAtom>& atoms) {
    requireAtoms(atoms);
    std::vector<cVector3> points;
    points.reserve(atoms.size());
    for (const ModelAtom& atom : atoms) {
        points.push_back(atom.position);
    }
    return aboutMiddle(std::move(points), weightsOf(atoms));
}

PolishModel beadsOf(const std::vector<ModelAtom>& atoms) {
    requireAtoms(atoms);
    const std::vector<double> weightOfAtom = weightsOf(atoms);
    std::vector<cVector3> points;
    std::vector<double> weights;
    for (std::size_t n = 0; n < atoms.size(); ++n) {
        if (n == 0 || !areOfOneResidue(atoms[n - 1], atoms[n])) {
            points.emplace_back(0.0);
            weights.push_back(0.0);
        }
        points.back() += atoms[n].position * weightOfAtom[n];
        weights.back() += weightOfAtom[n];
    }
    for (std::size_t n = 0; n < points.size(); ++n) {
        points[n] /= weights[n];
    }
    return aboutMiddle(std::move(points), std::move(weights));
}
