// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/ElectronDensity.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include "CrossCorrelation/fccf.h"
#include "CrossCorrelation/gaussianCut.h"
#include "Math/cGrid.h"
#include "Math/cVector3.h"
#include "Math/structure.h"
#include "NMAEngine/NormalModeEngine.h"

namespace {

/// Truncates toward zero; far outside the range of int, and for a coordinate that isn't a number, the result
/// is an index off every grid.
int truncateToIndex(double value) {
    constexpr double limit = 1.0e9;
    if (!(std::abs(value) < limit)) {
        return value < 0.0 ? -static_cast<int>(limit) : static_cast<int>(limit);
    }
    return static_cast<int>(value);
}

int floorToHalfWidth(double value) {
    constexpr double limit = 1.0e6;
    return value < limit ? static_cast<int>(std::floor(value)) : static_cast<int>(limit);
}

} // namespace

ElectronDensity::ElectronDensity(const std::array<double, 3>* positions, double sigma, unsigned long nAtoms,
                                 std::shared_ptr<const cGrid> grid, const NormalModeEngine& engine,
                                 const arma::Col<double>& eta, double epsilon)
    : m_positions(positions, positions + nAtoms)
    , m_displacements(nAtoms, {0.0, 0.0, 0.0})
    , m_nModes(engine.m_nModes)
    , m_nDof(engine.m_nModes + 6)
    , m_sigma(sigma)
    , m_invSigma2(1.0 / (sigma * sigma))
    , m_twoSigma2((sigma + sigma) * sigma)
    , m_gaussianNorm(1.0 / gaussianCut::normalization(sigma))
    , m_atomWeights(nAtoms, 0.0)
    , m_cutoffDiameter(0.0)
    , m_grid(std::move(grid)) {
    const double squaredRadius = -2.0 * sigma * sigma * std::log(epsilon / m_gaussianNorm);
    if (!(squaredRadius >= 0.0)) {
        throw std::invalid_argument("ElectronDensity: sigma " + std::to_string(sigma) +
                                    " leaves no density above the cut; it must be positive and below 74");
    }
    const double radius = std::sqrt(squaredRadius);
    m_cutoffDiameter = radius + radius;

    auto jacobians = std::make_shared<std::vector<double>>(3 * m_nDof * nAtoms, 0.0);
    for (std::size_t atom = 0; atom < nAtoms && m_nModes > 0; ++atom) {
        const arma::Mat<double> modes = engine.getModesMatrix(static_cast<int>(atom));
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t m = 0; m < m_nModes; ++m) {
                (*jacobians)[(3 * atom + c) * m_nDof + 6 + m] = modes(c, m);
            }
        }
    }
    m_atomDofMatrix = std::move(jacobians);
    setRotationCenter(getCenter(positions, nAtoms));

    arma::Col<double> q(eta.n_elem + 6, arma::fill::zeros);
    if (eta.n_elem > 0) {
        q.tail(eta.n_elem) = eta;
    }
    moveAtoms(q);
    initAtomContributionMap();
}

// Deliberate: the atoms stay where they are until the next move.
void ElectronDensity::setRotationCenter(const std::array<double, 3>& center) {
    auto jacobians = std::make_shared<std::vector<double>>(*m_atomDofMatrix);
    for (std::size_t atom = 0; atom < m_positions.size(); ++atom) {
        double* jacobian = jacobians->data() + 3 * m_nDof * atom;
        const arma::Mat<double> rigid = fccf::getRigidDofMatrix(m_positions[atom], center);
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t k = 0; k < 6; ++k) {
                jacobian[c * m_nDof + k] = rigid(c, k);
            }
        }
    }
    m_atomDofMatrix = std::move(jacobians);
}

void ElectronDensity::setRotationCenter(const cVector3& center) {
    setRotationCenter(std::array<double, 3>{center.x, center.y, center.z});
}

void ElectronDensity::setTweenDof(const std::array<double, 3>& translation,
                                  const std::array<double, 3>& rotation, const arma::Col<double>& eta) {
    arma::Col<double> q(eta.n_elem + 6);
    for (std::size_t c = 0; c < 3; ++c) {
        q(c) = translation[c];
        q(3 + c) = rotation[c];
    }
    for (arma::uword m = 0; m < eta.n_elem; ++m) {
        q(6 + m) = eta(m);
    }
    moveAtoms(q);
    initAtomContributionMap();
}

void ElectronDensity::moveAtoms(const arma::Col<double>& q) {
    if (q.n_elem != m_nDof) {
        throw std::logic_error("matrix multiplication: incompatible matrix dimensions: 3x" +
                               std::to_string(m_nDof) + " and " + std::to_string(q.n_elem) + "x1");
    }
    for (std::size_t atom = 0; atom < m_positions.size(); ++atom) {
        const double* jacobian = m_atomDofMatrix->data() + 3 * m_nDof * atom;
        for (std::size_t c = 0; c < 3; ++c) {
            double moved = 0.0;
            for (std::size_t k = 0; k < m_nDof; ++k) {
                moved += jacobian[c * m_nDof + k] * q(k);
            }
            m_displacements[atom][c] = moved;
        }
    }
}

std::array<double, 3> ElectronDensity::atomPosition(std::size_t atom) const {
    const auto& p = m_positions[atom];
    const auto& u = m_displacements[atom];
    return {p[0] + u[0], p[1] + u[1], p[2] + u[2]};
}

NodeBox ElectronDensity::reachOf(std::size_t atom) const {
    const std::array<double, 3> low{m_grid->m_box.m_min.x, m_grid->m_box.m_min.y, m_grid->m_box.m_min.z};
    const std::array<double, 3> cell{m_grid->m_cellDim.x, m_grid->m_cellDim.y, m_grid->m_cellDim.z};
    const std::array<double, 3> position = atomPosition(atom);
    NodeBox reach;
    for (std::size_t a = 0; a < 3; ++a) {
        const int halfWidth = floorToHalfWidth(m_cutoffDiameter / (cell[a] + cell[a]));
        // Deliberate: truncated, so that it is the first node from 1.5 cells before it on. It decides by the
        // last bit: in this order.
        const int nearest = truncateToIndex((position[a] - low[a]) / cell[a] + 0.5);
        reach.low[a] = std::max(0, nearest - halfWidth);
        reach.high[a] = std::min(static_cast<int>(m_grid->m_size[a]) - 1, nearest + halfWidth);
    }
    return reach;
}

NodeBox ElectronDensity::reachedBox() const {
    NodeBox box;
    for (std::size_t atom = 0; atom < m_positions.size(); ++atom) {
        const NodeBox reach = reachOf(atom);
        if (reach.isEmpty()) {
            continue;
        }
        const bool first = box.isEmpty();
        for (std::size_t a = 0; a < 3; ++a) {
            box.low[a] = first ? reach.low[a] : std::min(box.low[a], reach.low[a]);
            box.high[a] = first ? reach.high[a] : std::max(box.high[a], reach.high[a]);
        }
    }
    return box;
}
