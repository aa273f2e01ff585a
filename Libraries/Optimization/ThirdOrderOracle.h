// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_THIRDORDERORACLE_H
#define SELVANE_OPTIMIZATION_THIRDORDERORACLE_H

#include "Optimization/SecondOrderOracle.h"

/// A function of n variables to be minimised, with its gradient and Hessian.
class ThirdOrderOracle : public SecondOrderOracle {
public:
    /// Fills gradient (n entries) and hessian (n x n) with the first and second derivatives at x.
    /// @return the value at x
    virtual double getFunctionGradiantAndHessian(const arma::Col<double>& x, arma::Col<double>& gradient,
                                                 arma::Mat<double>& hessian) = 0;

protected:
    ~ThirdOrderOracle() = default;
};

#endif
