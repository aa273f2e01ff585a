// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_OPTIMIZATION_TRUSTREGIONRULE_H
#define SELVANE_OPTIMIZATION_TRUSTREGIONRULE_H

#include <algorithm>
#include <limits>

/// How the trust-region minimisers judge a step by the ratio of actual to predicted reduction.
namespace trustRegion {

constexpr double acceptRatio = 0.25;      ///< below: rejected, and the radius shrinks
constexpr double growRatio = 0.75;        ///< above: the radius doubles
constexpr double shrinkFactor = 0.25;     ///< of the radius after a rejection
constexpr double collapsedRadius = 1e-11; ///< below: nothing is left to search

/// The radius after a rejection. An infinite one, which growth without a bound can reach, would stay as it is
/// for ever; the largest number takes its place.
inline double shrunk(double radius) {
    return std::min(radius, std::numeric_limits<double>::max()) * shrinkFactor;
}

} // namespace trustRegion

#endif
