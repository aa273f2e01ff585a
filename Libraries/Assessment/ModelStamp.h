// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_MODELSTAMP_H
#define SELVANE_ASSESSMENT_MODELSTAMP_H

#include <array>
#include <cstddef>
#include <vector>

#include "Math/cVector3.h"

/// A lattice of cubic voxels, endless, and the Gaussian that atoms are blurred with.
struct StampLattice {
    cVector3 origin = cVector3(0.0); ///< of node (0, 0, 0), angstrom
    double voxel = 1.0;              ///< angstrom
    double sigma = 1.0;              ///< angstrom
};

/// The density of atoms on the nodes of a lattice that they reach:
///   D(v) = sum_a w_a exp(-|v - x_a|^2 / (2 sigma^2)),
/// no Gaussian cut nearer than four sigmas along an axis, where it has fallen to 3e-4.
class ModelStamp {
public:
    /// @param positions  at least one, angstrom
    /// @param weights    one for each
    /// @throws std::length_error when the atoms lie so far apart that no field holds them
    ModelStamp(const std::vector<cVector3>& positions, const std::vector<double>& weights,
               const StampLattice& lattice);

    /// Of the box of nodes, z fastest; 0 in the rim that the differences reach into.
    const std::vector<float>& values() const { return m_values; }
    float highest() const { return m_highest; }

    /// The nodes within the rim: from the first up to, and without, the end.
    std::array<std::size_t, 3> firstNode() const { return {rim, rim, rim}; }
    std::array<std::size_t, 3> endNode() const { return {m_size[0] - rim, m_size[1] - rim, m_size[2] - rim}; }

    std::size_t index(std::size_t i, std::size_t j, std::size_t k) const {
        return (i * m_size[1] + j) * m_size[2] + k;
    }

    /// The number on the lattice of a node of the box, along one axis; it may be negative.
    long inMap(std::size_t axis, std::size_t node) const { return m_low[axis] + static_cast<long>(node); }

    /// Of a node of the box, angstrom.
    cVector3 place(std::size_t i, std::size_t j, std::size_t k) const;

    /// -Laplacian D at a node within the rim, by central differences of sixth order, per square angstrom.
    float negativeLaplacian(std::size_t index) const;

private:
    static constexpr std::size_t rim = 3;

    void layBox(const std::vector<cVector3>& positions);
    void add(const std::vector<cVector3>& positions, const std::vector<double>& weights);

    StampLattice m_lattice;
    std::size_t m_reach; ///< of an atom's Gaussian from its nearest node, in nodes
    std::array<long, 3> m_low{};
    std::array<std::size_t, 3> m_size{};
    std::vector<float> m_values;
    float m_highest = 0.0F;
};

#endif
