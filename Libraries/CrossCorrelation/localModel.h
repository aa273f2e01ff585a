// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_LOCALMODEL_H
#define SELVANE_CROSSCORRELATION_LOCALMODEL_H

#include <cstddef>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"

/// Gives a candidate its gradient and Hessian.
/// @param row  nDof first derivatives, then the upper triangle of the second ones row by row
inline void setLocalModel(const double* row, std::size_t nDof, HexaustFlexibleFitConformation& candidate) {
    candidate.m_gradient = arma::Col<double>(row, nDof);
    candidate.m_hessian.set_size(nDof, nDof);
    const double* second = row + nDof;
    for (std::size_t i = 0; i < nDof; ++i) {
        for (std::size_t j = i; j < nDof; ++j) {
            candidate.m_hessian(i, j) = *second;
            candidate.m_hessian(j, i) = *second++;
        }
    }
}

#endif
