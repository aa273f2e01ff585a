// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_INTERFACE_TWEENDOF_H
#define SELVANE_INTERFACE_TWEENDOF_H

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <tuple>

#include <armadillo>

/// Translation in angstrom, infinitesimal rotation in radians, mode amplitudes.
using TweenDof = std::tuple<std::array<double, 3>, std::array<double, 3>, arma::Col<double>>;

/// The degrees-of-freedom vector x in its parts: elements 0 to 2, 3 to 5, and 6 to nDof - 1.
/// @throws std::logic_error if x has fewer than nDof or fewer than six elements
inline TweenDof splitTweenDof(const arma::Col<double>& x, std::size_t nDof) {
    constexpr std::size_t rigid = 6;
    const std::size_t expected = nDof > rigid ? nDof : rigid;
    if (x.n_elem < expected) {
        throw std::logic_error("the degrees of freedom must be " + std::to_string(expected) + " and are " +
                               std::to_string(x.n_elem) + ".");
    }
    arma::Col<double> eta(expected - rigid);
    for (arma::uword m = 0; m < eta.n_elem; ++m) {
        eta(m) = x(rigid + m);
    }
    return {{x(0), x(1), x(2)}, {x(3), x(4), x(5)}, eta};
}

#endif
