// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_DENSITYROW_H
#define SELVANE_CROSSCORRELATION_DENSITYROW_H

#include <cstddef>
#include <vector>

#include "CrossCorrelation/AtomGaussian.h"

/// Which derivatives an evaluation of the density goes up to.
enum class DensityOrder { Gradient, Hessian };

/// The columns of a DensityTable along one row of nodes in z, each column contiguous, filled atom by atom.
///
/// With f the Gaussian at a node at distance d from the atom, J the atom's 3 x D Jacobian and
/// y = J^T d / sigma^2, an atom adds f, then f y_r, then f (y_r y_s - (J^T J)_rs / sigma^2) for r <= s.
class DensityRow {
public:
    /// @param length nodes in the row
    DensityRow(std::size_t nDof, double invSigma2, DensityOrder order, std::size_t length);

    void clear();

    /// Adds an atom where it reaches into the row.
    /// @param i, j     the row among those that the atom reaches, counted from its lowest
    /// @param place    node of the row where the atom's nodes begin
    /// @param height   what the product of the factors is multiplied by
    /// @param jacobian 3 x D, row by row
    void add(const AtomGaussian& gaussian, std::size_t i, std::size_t j, std::size_t place, double height,
             const double* jacobian);

    const double* column(std::size_t q) const { return m_values.data() + q * m_stride; }

    /// Appends the columns of one node, as a row of a DensityTable.
    void appendNode(std::size_t k, std::vector<double>& rows) const {
        for (std::size_t q = 0; q < m_columns; ++q) {
            rows.push_back(m_values[q * m_stride + k]);
        }
    }

private:
    std::size_t m_nDof;
    double m_invSigma2;
    std::size_t m_columns;
    std::size_t m_stride;
    bool m_withHessian;
    std::vector<double> m_values;
    std::vector<double> m_f;    ///< the Gaussian at the atom's nodes, filled up with zeros
    std::vector<double> m_dz;   ///< distances along z, likewise
    std::vector<double> m_y;    ///< y at the atom's nodes, one degree of freedom after another
    std::vector<double> m_gram; ///< J^T J / sigma^2, upper triangle
};

#endif
