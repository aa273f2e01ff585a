// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_NONHEXAUSTFLEXIBLEFITCONFORMATION_H
#define SELVANE_CROSSCORRELATION_NONHEXAUSTFLEXIBLEFITCONFORMATION_H

#include <vector>

#include "CrossCorrelation/FlexibleFitConformation.h"

/// A candidate of the value-only search: it carries no derivatives and builds them from maps when it is
/// solved.
class NonHexaustFlexibleFitConformation : public FlexibleFitConformation {
public:
    using FlexibleFitConformation::FlexibleFitConformation;

    /// Cyclic shift of a field by the candidate's node: the value of node (a, b, c) moves to (a + d_i, b +
    /// d_j, c + d_k), wrapped, with d_i = i while i + n_i / 2 is inside the grid and i - n_i beyond, and so
    /// on. Ends the process with status 1 if a target falls outside the field: with a node about a period or
    /// more off the grid, or a field shorter than the grid.
    /// @param values  one double per node in cGrid order
    /// @throws std::logic_error without a grid
    std::vector<double> shiftValues(const std::vector<double>& values) const;

    /// As HexaustFlexibleFitConformation::solveConvexSubProblem, with the derivatives as plain sums (without
    /// the factor (2 pi)^-3 of the correlation grids) of the shifted target times the derivative maps:
    ///   g_i = sum_v s[v] gradPatternEdm[i][v],  H_ij = sum_v s[v] hessPatternEdm[i n + j][v].
    /// @param targetEdm       one double per node
    /// @param gradPatternEdm  n maps, n >= 6
    /// @param hessPatternEdm  n * n maps, (i, j) at i * n + j
    /// @throws std::length_error if a map or a list of maps has another length
    bool solveConvexSubProblem(const std::vector<double>& targetEdm,
                               const std::vector<std::vector<double>>& gradPatternEdm,
                               const std::vector<std::vector<double>>& hessPatternEdm, double radius);
};

#endif // SELVANE_CROSSCORRELATION_NONHEXAUSTFLEXIBLEFITCONFORMATION_H
