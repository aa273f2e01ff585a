// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_STEPINBALL_H
#define SELVANE_ASSESSMENT_STEPINBALL_H

#include <array>

/// A step of six unknowns and what a quadratic model expects of it.
struct BallStep {
    std::array<double, 6> step{};
    double length = 0.0;
    double gain = 0.0; ///< g.p + p'H p / 2, not below 0
};

/// The step p with |p| <= radius that makes g.p + p'H p / 2 largest (J. J. More, D. C. Sorensen, 1983), from
/// the eigenvectors of H. Where the largest curvature has no part of the gradient, which leaves the sign of
/// the way open, one is chosen. A direction in which nothing changes is not gone.
/// @param hessian  symmetric, finite, as the gradient is
/// @param radius   above 0
BallStep stepInBall(const std::array<double, 6>& gradient,
                    const std::array<std::array<double, 6>, 6>& hessian, double radius);

#endif
