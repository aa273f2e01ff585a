// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/ModelStamp.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "Math/multiversion.h"

namespace {

constexpr double cutInSigmas = 4.0;
constexpr std::size_t lanes = 8;  // that a row of an atom is padded to, so that its loop has a fixed length
constexpr double mostNodes = 5e8; // 2 GB

/// Adds the products of three rows of factors to a box of nodes, at its corner `target`.
struct Block {
    std::size_t nodes;  ///< along x and y
    std::size_t padded; ///< along z, a multiple of the lanes
    std::size_t stepX, stepY;
    const float *x, *y, *z;
};

SELVANE_MULTIVERSION void addBlock(const Block& block, float* __restrict target) {
    for (std::size_t i = 0; i < block.nodes; ++i) {
        for (std::size_t j = 0; j < block.nodes; ++j) {
            const float height = block.x[i] * block.y[j];
            float* __restrict row = target + i * block.stepX + j * block.stepY;
            for (std::size_t k = 0; k < block.padded; k += lanes) {
                for (std::size_t lane = 0; lane < lanes; ++lane) {
                    row[k + lane] += height * block.z[k + lane];
                }
            }
        }
    }
}

/// The three rows of factors of one atom, and the nodes that they begin at.
///
/// With d the distance of the atom from its nearest node, the factor of the node k farther on is
///   exp(-(k h - d)^2 / (2 sigma^2)) = exp(-d^2 / (2 sigma^2)) exp(d h / sigma^2)^k exp(-(k h)^2 / (2
///   sigma^2)),
/// the last of which all atoms share: two exponentials an axis instead of one a node.
class AtomRows {
public:
    AtomRows(const StampLattice& lattice, std::size_t reach) : m_lattice(lattice), m_reach(reach) {
        const double sigma2 = lattice.sigma * lattice.sigma;
        for (std::size_t n = 0; n <= 2 * reach; ++n) {
            const double distance = (static_cast<double>(n) - static_cast<double>(reach)) * lattice.voxel;
            m_shared.push_back(std::exp(-distance * distance / (2.0 * sigma2)));
        }
        m_padded = (m_shared.size() + lanes - 1) / lanes * lanes;
        for (std::vector<float>& factors : m_factors) {
            factors.assign(m_padded, 0.0F);
        }
    }

    void place(const cVector3& position, double weight) {
        const double sigma2 = m_lattice.sigma * m_lattice.sigma;
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            const double place = (position[axis] - m_lattice.origin[axis]) / m_lattice.voxel;
            const double nearest = std::floor(place + 0.5);
            const double distance = (place - nearest) * m_lattice.voxel;
            const double slope = distance * m_lattice.voxel / sigma2;
            const double ratio = std::exp(slope);
            double factor = (axis == 0 ? weight : 1.0) * std::exp(-0.5 * distance * distance / sigma2 -
                                                                  static_cast<double>(m_reach) * slope);
            for (std::size_t k = 0; k < m_shared.size(); ++k, factor *= ratio) {
                m_factors[a][k] = static_cast<float>(factor * m_shared[k]);
            }
            m_first[a] = static_cast<long>(nearest) - static_cast<long>(m_reach);
        }
    }

    /// The number on the lattice of the first node along an axis.
    long first(std::size_t axis) const { return m_first[axis]; }

    Block block(std::size_t stepX, std::size_t stepY) const {
        return {m_shared.size(),     m_padded,           stepX, stepY, m_factors[0].data(),
                m_factors[1].data(), m_factors[2].data()};
    }

private:
    StampLattice m_lattice;
    std::size_t m_reach;
    std::size_t m_padded = 0;
    std::vector<double> m_shared;
    std::array<std::vector<float>, 3> m_factors;
    std::array<long, 3> m_first{};
};

} // namespace

ModelStamp::ModelStamp(const std::vector<cVector3>& positions, const std::vector<double>& weights,
                       const StampLattice& lattice)
    : m_lattice(lattice)
    , m_reach(static_cast<std::size_t>(std::floor(cutInSigmas * lattice.sigma / lattice.voxel + 0.5))) {
    layBox(positions);
    add(positions, weights);
    m_highest = *std::max_element(m_values.begin(), m_values.end());
}

void ModelStamp::layBox(const std::vector<cVector3>& positions) {
    double total = 1.0;
    for (int axis = 0; axis < 3; ++axis) {
        double low = positions.front()[axis], high = low;
        for (const cVector3& position : positions) {
            low = std::min(low, position[axis]);
            high = std::max(high, position[axis]);
        }
        const double first = std::floor((low - m_lattice.origin[axis]) / m_lattice.voxel + 0.5);
        const double last = std::floor((high - m_lattice.origin[axis]) / m_lattice.voxel + 0.5);
        const std::size_t room = m_reach + rim;
        total *= last - first + 1.0 + 2.0 * static_cast<double>(room + lanes);
        if (!(total < mostNodes)) {
            throw std::length_error("the atoms of the model lie too far apart for a field of its density");
        }
        const auto a = static_cast<std::size_t>(axis);
        m_low[a] = static_cast<long>(first) - static_cast<long>(room);
        m_size[a] = static_cast<std::size_t>(last - first) + 1 + 2 * room;
    }
    m_size[2] += lanes; // what a row is padded by
    m_values.assign(m_size[0] * m_size[1] * m_size[2], 0.0F);
}

void ModelStamp::add(const std::vector<cVector3>& positions, const std::vector<double>& weights) {
    AtomRows rows(m_lattice, m_reach);
    const auto inBox = [&](std::size_t axis) {
        return static_cast<std::size_t>(rows.first(axis) - m_low[axis]);
    };
    for (std::size_t a = 0; a < positions.size(); ++a) {
        rows.place(positions[a], weights[a]);
        addBlock(rows.block(m_size[1] * m_size[2], m_size[2]),
                 &m_values[index(inBox(0), inBox(1), inBox(2))]);
    }
}

cVector3 ModelStamp::place(std::size_t i, std::size_t j, std::size_t k) const {
    return m_lattice.origin + cVector3(static_cast<double>(inMap(0, i)), static_cast<double>(inMap(1, j)),
                                       static_cast<double>(inMap(2, k))) *
                                  m_lattice.voxel;
}

float ModelStamp::negativeLaplacian(std::size_t index) const {
    // f''(0) h^2 from f(0), f(+-h), f(+-2h), f(+-3h), as for a map.
    constexpr std::array<double, 4> coefficients = {-490.0 / 180.0, 270.0 / 180.0, -27.0 / 180.0,
                                                    2.0 / 180.0};
    const std::array<std::size_t, 3> strides = {m_size[1] * m_size[2], m_size[2], 1};
    double sum = 3.0 * coefficients[0] * static_cast<double>(m_values[index]);
    for (const std::size_t stride : strides) {
        for (std::size_t d = 1; d < coefficients.size(); ++d) {
            sum += coefficients[d] * (static_cast<double>(m_values[index - d * stride]) +
                                      static_cast<double>(m_values[index + d * stride]));
        }
    }
    return static_cast<float>(-sum / (m_lattice.voxel * m_lattice.voxel));
}
