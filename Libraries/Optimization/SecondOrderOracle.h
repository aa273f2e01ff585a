// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_SECONDORDERORACLE_H
#define SELVANE_OPTIMIZATION_SECONDORDERORACLE_H

#include <armadillo>

/// A function of n variables to be minimised, with its gradient.
///
/// Not destroyed through this interface: make shared pointers from the concrete class.
class SecondOrderOracle {
public:
    /// @return the value at x
    virtual double getFunctionValue(const arma::Col<double>& x) = 0;

    /// Fills gradient (n entries) with the first derivatives at x.
    /// @return the value at x
    virtual double getFunctionGradient(const arma::Col<double>& x, arma::Col<double>& gradient) = 0;

protected:
    ~SecondOrderOracle() = default;
};

#endif
