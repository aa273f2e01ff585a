// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

#include "CrossCorrelation/ElectronDensity.h"
#include "Math/cGrid.h"

/// Calls visit(flat index, row) for every reached node, with the row laid out as in DensityTable; its Hessian
/// part stays zero unless asked for.
template <class Visit>
void ElectronDensity::forEachNode(bool withHessian, Visit&& visit) const {
    std::vector<double> row(1 + m_nDof + m_nDof * (m_nDof + 1) / 2);
    std::vector<double> y(m_nDof);
    for (std::size_t n = 0; n < m_contacts.nodeCount(); ++n) {
        const std::array<double, 3> position = nodePosition(m_contacts.node(n));
        std::fill(row.begin(), row.end(), 0.0);
        for (const auto* atom = m_contacts.atomsBegin(n); atom != m_contacts.atomsEnd(n); ++atom) {
            accumulateContact(*atom, position, withHessian, row, y);
        }
        visit(m_contacts.node(n), row);
    }
}

void ElectronDensity::accumulateContact(std::size_t atom, const std::array<double, 3>& node, bool withHessian,
                                        std::vector<double>& row, std::vector<double>& y) const {
    const std::array<double, 3> position = atomPosition(atom);
    const std::array<double, 3> d{node[0] - position[0], node[1] - position[1], node[2] - position[2]};
    const double f = std::exp(-(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]) / m_twoSigma2) * m_gaussianNorm *
                     m_atomWeights[atom];
    const double* jacobian = m_atomDofMatrix.data() + 3 * m_nDof * atom;
    row[0] += f;
    double* gradient = row.data() + 1;
    for (std::size_t k = 0; k < m_nDof; ++k) {
        y[k] = (jacobian[k] * d[0] + jacobian[m_nDof + k] * d[1] + jacobian[2 * m_nDof + k] * d[2]) *
               m_invSigma2;
        gradient[k] += f * y[k];
    }
    if (!withHessian) {
        return;
    }
    double* hessian = gradient + m_nDof;
    const double* gram = m_atomDofGram.data() + m_nDof * (m_nDof + 1) / 2 * atom;
    for (std::size_t r = 0; r < m_nDof; ++r) {
        for (std::size_t s = r; s < m_nDof; ++s) {
            *hessian++ += f * (y[r] * y[s] - *gram++);
        }
    }
}

arma::Col<double> ElectronDensity::evalRigidFlexGradYFunction(int atom,
                                                              const std::array<double, 3>& node) const {
    const auto a = static_cast<std::size_t>(atom);
    const std::array<double, 3> position = atomPosition(a);
    const double* jacobian = m_atomDofMatrix.data() + 3 * m_nDof * a;
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

void clear(std::vector<std::vector<double>>& fields) {
    for (auto& field : fields) {
        std::fill(field.begin(), field.end(), 0.0);
    }
}

} // namespace

void ElectronDensity::eval(std::vector<double>& values) const {
    checkValues(values);
    std::fill(values.begin(), values.end(), 0.0);
    for (std::size_t n = 0; n < m_contacts.nodeCount(); ++n) {
        const std::array<double, 3> node = nodePosition(m_contacts.node(n));
        double rho = 0.0;
        for (const auto* atom = m_contacts.atomsBegin(n); atom != m_contacts.atomsEnd(n); ++atom) {
            const std::array<double, 3> position = atomPosition(*atom);
            const std::array<double, 3> d{node[0] - position[0], node[1] - position[1],
                                          node[2] - position[2]};
            rho += std::exp(-(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]) / m_twoSigma2) * m_gaussianNorm *
                   m_atomWeights[*atom];
        }
        values[m_contacts.node(n)] = rho;
    }
}

void ElectronDensity::evalRigidFlex(std::vector<double>& values,
                                    std::vector<std::vector<double>>& gradient) const {
    checkValues(values);
    checkGradient(gradient);
    for (std::size_t k = 0; k < m_nDof; ++k) {
        checkGradientRow(gradient, k, values.size());
    }
    std::fill(values.begin(), values.end(), 0.0);
    clear(gradient);
    forEachNode(false, [&](std::uint32_t node, const std::vector<double>& row) {
        values[node] = row[0];
        for (std::size_t k = 0; k < m_nDof; ++k) {
            gradient[k][node] = row[1 + k];
        }
    });
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
    std::fill(values.begin(), values.end(), 0.0);
    clear(gradient);
    clear(hessian);
    forEachNode(true, [&](std::uint32_t node, const std::vector<double>& row) {
        values[node] = row[0];
        const double* second = row.data() + 1 + m_nDof;
        for (std::size_t r = 0; r < m_nDof; ++r) {
            gradient[r][node] = row[1 + r];
            for (std::size_t s = r; s < m_nDof; ++s) {
                hessian[r * m_nDof + s][node] = *second;
                hessian[s * m_nDof + r][node] = *second++;
            }
        }
    });
}

DensityTable ElectronDensity::tabulate() const {
    DensityTable table;
    table.nDof = m_nDof;
    table.nodes.reserve(m_contacts.nodeCount());
    table.rows.reserve(m_contacts.nodeCount() * table.columns());
    forEachNode(true, [&](std::uint32_t node, const std::vector<double>& row) {
        table.nodes.push_back(node);
        table.rows.insert(table.rows.end(), row.begin(), row.end());
    });
    return table;
}
