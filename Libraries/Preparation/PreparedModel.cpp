// SPDX-License-Identifier: GPL-3.0-or-later
#include "Preparation/PreparedModel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <Eigen/Eigenvalues>

namespace {

cVector3 meanOf(const std::vector<ModelAtom>& atoms) {
    cVector3 sum(0.0);
    for (const ModelAtom& atom : atoms) {
        sum += atom.position;
    }
    return sum * (1.0 / static_cast<double>(atoms.size()));
}

/// The direction of the two ends of an axis in which the atoms lie farther out.
cVector3 directed(const cVector3& axis, const std::vector<ModelAtom>& atoms, const cVector3& centre) {
    double thirdMoment = 0.0;
    for (const ModelAtom& atom : atoms) {
        const double along = axis | (atom.position - centre);
        thirdMoment += along * along * along;
    }
    return thirdMoment < 0.0 ? axis * -1.0 : axis;
}

/// Rows are the axes, the longest first; right-handed.
cMatrix33 axesOf(const std::vector<ModelAtom>& atoms, const cVector3& centre) {
    Eigen::Matrix3d moments = Eigen::Matrix3d::Zero();
    for (const ModelAtom& atom : atoms) {
        const cVector3 d = atom.position - centre;
        const Eigen::Vector3d v(d.x, d.y, d.z);
        moments += v * v.transpose();
    }
    const Eigen::Matrix3d vectors = Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d>(moments).eigenvectors();
    const auto axis = [&](int column) {
        return directed(cVector3(vectors(0, column), vectors(1, column), vectors(2, column)), atoms, centre);
    };
    const cVector3 longest = axis(2), second = axis(1);
    return cMatrix33(longest, second, longest ^ second).getTranspose();
}

} // namespace

PreparedModel prepareModel(const std::vector<ModelAtom>& atoms) {
    if (atoms.empty()) {
        throw std::invalid_argument("a model without atoms cannot be searched for");
    }
    const cVector3 centre = meanOf(atoms);
    const cMatrix33 axes = axesOf(atoms, centre);
    PreparedModel prepared;
    prepared.fromFile = {axes, axes * centre * -1.0};
    prepared.atoms = atoms;
    double squares = 0.0;
    double farthest = 0.0;
    for (ModelAtom& atom : prepared.atoms) {
        atom.position = axes * (atom.position - centre);
        squares += atom.position.norm2();
        farthest = std::max(farthest, atom.position.norm2());
    }
    prepared.radiusOfGyration = std::sqrt(squares / static_cast<double>(atoms.size()));
    prepared.reach = std::sqrt(farthest);
    return prepared;
}
