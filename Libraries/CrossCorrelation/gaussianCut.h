// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_GAUSSIANCUT_H
#define SELVANE_CROSSCORRELATION_GAUSSIANCUT_H

#include <cmath>

#include "Math/pi.h"

/// Where the Gaussian of an atom is cut off.
namespace gaussianCut {

/// Z = sqrt(8 pi^3 sigma^3). It cancels in the density, so it matters only for the cut.
// Deliberate: the power of sigma under the root is 3 and not 6, and the factors go in this order.
inline double normalization(double sigma) {
    const double twoPiSigma = sigma * 2.0 * pi;
    double product = (twoPiSigma + twoPiSigma) * pi * sigma;
    product += product;
    return std::sqrt(product * pi * sigma);
}

} // namespace gaussianCut

#endif
