// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "CrossCorrelation/AtomGaussian.h"
#include "CrossCorrelation/ElectronDensity.h"
#include "Math/cGrid.h"

namespace {

double sumOf(const std::vector<double>& values) {
    double sum = 0.0;
    for (const double value : values) {
        sum += value;
    }
    return sum;
}

} // namespace

/// Places the Gaussian of an atom at its present position.
void ElectronDensity::place(std::size_t atom, AtomGaussian& gaussian) const {
    const std::array<double, 3> low{m_grid->m_box.m_min.x, m_grid->m_box.m_min.y, m_grid->m_box.m_min.z};
    const std::array<double, 3> cell{m_grid->m_cellDim.x, m_grid->m_cellDim.y, m_grid->m_cellDim.z};
    const std::array<double, 3> position = atomPosition(atom);
    gaussian.reach = reachOf(atom);
    for (std::size_t a = 0; a < 3; ++a) {
        const std::size_t n = gaussian.reach.extent(a);
        gaussian.distances[a].resize(n);
        gaussian.factors[a].resize(n);
        for (std::size_t k = 0; k < n; ++k) {
            const double node = low[a] + (gaussian.reach.low[a] + static_cast<int>(k)) * cell[a];
            const double d = node - position[a];
            gaussian.distances[a][k] = d;
            gaussian.factors[a][k] = std::exp(-(d * d) / m_twoSigma2);
        }
    }
}

void ElectronDensity::initAtomContributionMap() {
    AtomGaussian gaussian;
    for (std::size_t atom = 0; atom < m_positions.size(); ++atom) {
        place(atom, gaussian);
        double sum = m_gaussianNorm;
        for (const auto& factors : gaussian.factors) {
            sum *= sumOf(factors);
        }
        // An atom that reaches no node gets an infinite weight, harmless because no node lists it.
        m_atomWeights[atom] = 1.0 / sum;
    }
}

arma::Col<double> ElectronDensity::evalRigidFlexGradYFunction(int atom,
                                                              const std::array<double, 3>& node) const {
    const auto a = static_cast<std::size_t>(atom);
    const std::array<double, 3> position = atomPosition(a);
    const double* jacobian = m_atomDofMatrix->data() + 3 * m_nDof * a;
    arma::Col<double> y(m_nDof);
    for (std::size_t k = 0; k < m_nDof; ++k) {
        double sum = 0.0;
        for (std::size_t c = 0; c < 3; ++c) {
            sum += jacobian[c * m_nDof + k] * (position[c] - node[c]);
        }
        y(k) = -m_invSigma2 * sum;
    }
    return y;
}

void ElectronDensity::checkValues(const std::vector<double>& values) const {
    if (values.size() != m_grid->getTotalSize()) {
        throw std::length_error("values size must be " + std::to_string(m_grid->getTotalSize()) + ".");
    }
}

void ElectronDensity::checkGradient(const std::vector<std::vector<double>>& gradient) const {
    if (gradient.size() != m_nDof) {
        throw std::length_error("gradient dimension must be " + std::to_string(m_nDof) + ".");
    }
}

namespace {

void checkGradientRow(const std::vector<std::vector<double>>& gradient, std::size_t k, std::size_t total) {
    if (gradient[k].size() != total) {
        throw std::length_error("gradient[" + std::to_string(k) + "] size must be " + std::to_string(total) +
                                ".");
    }
}

void checkHessianRow(const std::vector<std::vector<double>>& hessian, std::size_t r, std::size_t nDof,
                     std::size_t total) {
    for (std::size_t s = 0; s < nDof; ++s) {
        if (hessian[r * nDof + s].size() != total) {
            throw std::length_error("hessian[" + std::to_string(r) + ", " + std::to_string(s) +
                                    "] size must be " + std::to_string(total) + ".");
        }
    }
}

} // namespace

void ElectronDensity::addDensity(double* field) const {
    AtomGaussian gaussian;
    for (std::size_t atom = 0; atom < m_positions.size(); ++atom) {
        place(atom, gaussian);
        if (gaussian.reach.isEmpty()) {
            continue;
        }
        const double height = m_gaussianNorm * m_atomWeights[atom];
        const std::vector<double>& factors = gaussian.factors[2];
        const NodeBox& reach = gaussian.reach;
        for (int i = reach.low[0]; i <= reach.high[0]; ++i) {
            for (int j = reach.low[1]; j <= reach.high[1]; ++j) {
                const double rowHeight = gaussian.factors[0][static_cast<std::size_t>(i - reach.low[0])] *
                                         gaussian.factors[1][static_cast<std::size_t>(j - reach.low[1])] *
                                         height;
                double* row = field + m_grid->indexToFlatIndex(i, j, reach.low[2]);
                for (std::size_t k = 0; k < factors.size(); ++k) {
                    row[k] += rowHeight * factors[k];
                }
            }
        }
    }
}

void ElectronDensity::eval(std::vector<double>& values) const {
    checkValues(values);
    std::fill(values.begin(), values.end(), 0.0);
    addDensity(values.data());
}

void ElectronDensity::evalRigidFlex(std::vector<double>& values,
                                    std::vector<std::vector<double>>& gradient) const {
    checkValues(values);
    checkGradient(gradient);
    for (std::size_t k = 0; k < m_nDof; ++k) {
        checkGradientRow(gradient, k, values.size());
    }
    evalColumns(values, gradient, nullptr);
}

void ElectronDensity::evalRigidFlex(std::vector<double>& values, std::vector<std::vector<double>>& gradient,
                                    std::vector<std::vector<double>>& hessian) const {
    checkValues(values);
    checkGradient(gradient);
    if (hessian.size() != m_nDof * m_nDof) {
        throw std::length_error("hessian dimension must be " + std::to_string(m_nDof * m_nDof) + ".");
    }
    for (std::size_t r = 0; r < m_nDof; ++r) {
        checkGradientRow(gradient, r, values.size());
        checkHessianRow(hessian, r, m_nDof, values.size());
    }
    evalColumns(values, gradient, &hessian);
}
