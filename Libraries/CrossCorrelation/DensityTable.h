// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_DENSITYTABLE_H
#define SELVANE_CROSSCORRELATION_DENSITYTABLE_H

#include <cstddef>
#include <cstdint>
#include <vector>

/// The simulated density and its derivatives at the nodes where some atom contributes; everywhere else all of
/// them are exactly zero.
///
/// One row per node, ascending in the flat grid index. With D degrees of freedom a row holds
///   rho, g[0] .. g[D-1], H[0][0], H[0][1] .. H[0][D-1], H[1][1] .. H[D-1][D-1]:
/// second derivatives are symmetric, so the upper triangle, row by row, is all. A table without second
/// derivatives ends with the gradient.
struct DensityTable {
    std::size_t nDof = 0;
    bool hasHessian = true;
    std::vector<std::uint32_t> nodes; ///< flat grid indices, ascending
    std::vector<double> rows;         ///< nodes.size() * columns(), row after row

    /// Numbers in a row: 1 + D + D (D + 1) / 2, or 1 + D without second derivatives.
    std::size_t columns() const { return 1 + derivativeColumns(nDof, hasHessian); }

    /// Numbers in a row without the density.
    static std::size_t derivativeColumns(std::size_t nDof, bool withHessian) {
        return nDof + (withHessian ? nDof * (nDof + 1) / 2 : 0);
    }

    /// Column of the first derivative by degree of freedom i.
    static std::size_t gradientColumn(std::size_t i) { return 1 + i; }

    /// Column of the second derivative by i and j, in either order.
    std::size_t hessianColumn(std::size_t i, std::size_t j) const {
        const std::size_t low = i < j ? i : j;
        const std::size_t high = i < j ? j : i;
        return 1 + nDof + low * nDof - low * (low + 1) / 2 + high;
    }

    const double* row(std::size_t n) const { return rows.data() + n * columns(); }
};

#endif
