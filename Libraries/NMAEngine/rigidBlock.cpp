// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/rigidBlock.h"

#include <cmath>
#include <stdexcept>
#include <string>

namespace {

using Position = std::array<double, 3>;
using Matrix = arma::Mat<double>;

constexpr double noExtent = 1e-11;      // trace of an inertia tensor, in Da A^2
constexpr double degenerateAxis = 1e-9; // of the largest moment of inertia

Position difference(const Position& a, const Position& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

void addInertia(Matrix& inertia, const Position& r, double mass) {
    inertia(0, 0) += mass * (r[1] * r[1] + r[2] * r[2]);
    inertia(1, 1) += mass * (r[0] * r[0] + r[2] * r[2]);
    inertia(2, 2) += mass * (r[0] * r[0] + r[1] * r[1]);
    inertia(1, 0) -= mass * r[0] * r[1];
    inertia(2, 0) -= mass * r[0] * r[2];
    inertia(2, 1) -= mass * r[1] * r[2];
}

Matrix inverseRoot(const Matrix& inertia, std::size_t block) {
    if (!(arma::trace(inertia) > noExtent)) {
        return arma::eye(3, 3);
    }
    arma::Col<double> moments;
    Matrix axes;
    if (!arma::eig_sym(moments, axes, arma::symmatl(inertia))) {
        throw std::runtime_error("no inertia axes of block " + std::to_string(block));
    }
    const double threshold = degenerateAxis * moments.max();
    moments.transform([&](double e) { return e < threshold ? 0.0 : 1.0 / std::sqrt(e); });
    return axes * arma::diagmat(moments) * axes.t();
}

} // namespace

arma::Mat<double> RigidBlock::rotationColumns(const std::array<double, 3>& position, double atomMass) const {
    const Position d = difference(position, center);
    const arma::Col<double> r = {d[0], d[1], d[2]};
    const double root = std::sqrt(atomMass);
    Matrix columns(3, 3);
    for (arma::uword i = 0; i < 3; ++i) {
        columns.col(i) = root * arma::cross(invSqrtInertia.row(i).t(), r);
    }
    return columns;
}

std::vector<RigidBlock> makeRigidBlocks(const std::vector<std::array<double, 3>>& positions,
                                        const std::vector<double>& masses, const std::vector<int>& blockIds,
                                        std::size_t nBlocks) {
    std::vector<RigidBlock> blocks(nBlocks);
    const auto blockOf = [&](std::size_t atom) { return static_cast<std::size_t>(blockIds[atom]); };
    for (std::size_t atom = 0; atom < blockIds.size(); ++atom) {
        RigidBlock& block = blocks[blockOf(atom)];
        block.mass += masses[atom];
        for (std::size_t c = 0; c < 3; ++c) {
            block.center[c] += masses[atom] * positions[atom][c];
        }
    }
    for (RigidBlock& block : blocks) {
        for (double& c : block.center) {
            c /= block.mass;
        }
    }

    std::vector<Matrix> inertia(nBlocks, Matrix(3, 3, arma::fill::zeros));
    for (std::size_t atom = 0; atom < blockIds.size(); ++atom) {
        addInertia(inertia[blockOf(atom)], difference(positions[atom], blocks[blockOf(atom)].center),
                   masses[atom]);
    }
    for (std::size_t block = 0; block < nBlocks; ++block) {
        blocks[block].invSqrtInertia = inverseRoot(inertia[block], block);
    }
    return blocks;
}
