// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_RIGIDBLOCK_H
#define SELVANE_NMAENGINE_RIGIDBLOCK_H

#include <array>
#include <cstddef>
#include <vector>

#include <armadillo>

/// Mass properties of a group of atoms that moves as one body.
struct RigidBlock {
    double mass = 0.0;
    std::array<double, 3> center{};                     ///< centre of mass; not numbers without atoms
    arma::Mat<double> invSqrtInertia = arma::eye(3, 3); ///< inverse square root of the inertia tensor

    /// What an atom contributes to the three mass-weighted rotation columns of the block:
    /// element (j, i) is component j of sqrt(mass) (row i of invSqrtInertia) x (position - center).
    arma::Mat<double> rotationColumns(const std::array<double, 3>& position, double atomMass) const;
};

/// The blocks 0 .. nBlocks - 1 of atoms with the given block indices; sums run over ascending atoms.
///
/// The inverse root is taken on the eigenvalues of the inertia tensor: 0 in place of 1/sqrt(e) where e is
/// below 1e-9 of the largest, since a body on a line doesn't turn about it; the identity for a body without
/// extent.
std::vector<RigidBlock> makeRigidBlocks(const std::vector<std::array<double, 3>>& positions,
                                        const std::vector<double>& masses, const std::vector<int>& blockIds,
                                        std::size_t nBlocks);

#endif
