// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/DensityRow.h"

#include <algorithm>

#include "CrossCorrelation/DensityTable.h"
#include "Math/multiversion.h"

namespace {

/// Nodes handled together. Lengths are filled up to a multiple with nodes of weight zero.
constexpr std::size_t lanes = 4;

std::size_t roundUp(std::size_t n) {
    return (n + lanes - 1) / lanes * lanes;
}

SELVANE_MULTIVERSION
void addValues(const double* f, std::size_t n, double* out) {
    for (std::size_t b = 0; b < n; b += lanes) {
        for (std::size_t k = b; k < b + lanes; ++k) {
            out[k] += f[k];
        }
    }
}

/// y = J^T d / sigma^2 at the nodes (dx, dy, dz[k]), and out_r += f y_r.
SELVANE_MULTIVERSION
void addFirstDerivatives(const double* jacobian, std::size_t nDof, double invSigma2, double dx, double dy,
                         const double* dz, const double* f, std::size_t n, double* y, double* out,
                         std::size_t stride) {
    for (std::size_t r = 0; r < nDof; ++r, y += n, out += stride) {
        const double constant = (jacobian[r] * dx + jacobian[nDof + r] * dy) * invSigma2;
        const double slope = jacobian[2 * nDof + r] * invSigma2;
        for (std::size_t b = 0; b < n; b += lanes) {
            for (std::size_t k = b; k < b + lanes; ++k) {
                y[k] = constant + slope * dz[k];
                out[k] += f[k] * y[k];
            }
        }
    }
}

SELVANE_MULTIVERSION
void setGram(const double* jacobian, std::size_t nDof, double invSigma2, double* gram) {
    const double* j0 = jacobian;
    const double* j1 = j0 + nDof;
    const double* j2 = j1 + nDof;
    for (std::size_t r = 0; r < nDof; ++r) {
        for (std::size_t s = r; s < nDof; ++s) {
            *gram++ = invSigma2 * (j0[r] * j0[s] + j1[r] * j1[s] + j2[r] * j2[s]);
        }
    }
}

SELVANE_MULTIVERSION
void addSecondDerivatives(const double* f, const double* y, const double* gram, std::size_t nDof,
                          std::size_t n, double* out, std::size_t stride) {
    for (std::size_t r = 0; r < nDof; ++r) {
        const double* yr = y + r * n;
        for (std::size_t s = r; s < nDof; ++s, out += stride) {
            const double* ys = y + s * n;
            const double g = *gram++;
            for (std::size_t b = 0; b < n; b += lanes) {
                for (std::size_t k = b; k < b + lanes; ++k) {
                    out[k] += f[k] * (yr[k] * ys[k] - g);
                }
            }
        }
    }
}

} // namespace

DensityRow::DensityRow(std::size_t nDof, double invSigma2, DensityOrder order, std::size_t length)
    : m_nDof(nDof)
    , m_invSigma2(invSigma2)
    , m_columns(1 + DensityTable::derivativeColumns(nDof, order == DensityOrder::Hessian))
    , m_stride(length + lanes - 1)
    , m_withHessian(order == DensityOrder::Hessian)
    , m_values(m_columns * m_stride, 0.0)
    , m_gram(m_columns) {}

void DensityRow::clear() {
    std::fill(m_values.begin(), m_values.end(), 0.0);
}

void DensityRow::add(const AtomGaussian& gaussian, std::size_t i, std::size_t j, std::size_t place,
                     double height, const double* jacobian) {
    const std::vector<double>& factors = gaussian.factors[2];
    const std::size_t n = roundUp(factors.size());
    m_f.assign(n, 0.0);
    m_dz.assign(n, 0.0);
    m_y.resize(m_nDof * n);
    const double rowHeight = gaussian.factors[0][i] * gaussian.factors[1][j] * height;
    for (std::size_t k = 0; k < factors.size(); ++k) {
        m_f[k] = rowHeight * factors[k];
        m_dz[k] = gaussian.distances[2][k];
    }
    double* out = m_values.data() + place;
    addValues(m_f.data(), n, out);
    addFirstDerivatives(jacobian, m_nDof, m_invSigma2, gaussian.distances[0][i], gaussian.distances[1][j],
                        m_dz.data(), m_f.data(), n, m_y.data(), out + m_stride, m_stride);
    if (m_withHessian) {
        setGram(jacobian, m_nDof, m_invSigma2, m_gram.data());
        addSecondDerivatives(m_f.data(), m_y.data(), m_gram.data(), m_nDof, n, out + (1 + m_nDof) * m_stride,
                             m_stride);
    }
}
