// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_HEXAUSTFLEXIBLEFITCONFORMATION_H
#define SELVANE_CROSSCORRELATION_HEXAUSTFLEXIBLEFITCONFORMATION_H

#include <armadillo>

#include "CrossCorrelation/FlexibleFitConformation.h"

/// A candidate of the exhaustive scan, with the local model of the correlation at its grid node: gradient and
/// Hessian with respect to the degrees-of-freedom vector x, taken at the increments that the candidate
/// carries.
class HexaustFlexibleFitConformation : public FlexibleFitConformation {
public:
    using FlexibleFitConformation::FlexibleFitConformation;

    /// Maximises the local quadratic model within the ball |d| <= radius, adds the step to the increments and
    /// sets the flex score to the model's value there.
    /// @param radius  bound of the step's 2-norm over all of x, whatever the units of its parts
    /// @return false if the Hessian is not negative definite; then only the flex score changes, to the rigid
    /// score
    /// @throws std::length_error if gradient and Hessian are not n and n x n with n >= 6
    bool solveConvexSubProblem(double radius);

    arma::Mat<double> m_hessian;  ///< n x n, empty until filled
    arma::Col<double> m_gradient; ///< n, empty until filled
};

#endif // SELVANE_CROSSCORRELATION_HEXAUSTFLEXIBLEFITCONFORMATION_H
