// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_AXISFILTER_H
#define SELVANE_PREPARATION_AXISFILTER_H

#include <cstddef>
#include <vector>

/// A low pass along one axis: what passes of a spatial frequency k, in cycles per angstrom, is
///   G(k) H(k),  G(k) = exp(-2 pi^2 sigma^2 k^2),  H(k) = erfc((k - cutoff) / (sqrt(2) softness)) / 2.
struct LowPass {
    double sigma = 0.0;    ///< of a Gaussian that blurs on purpose, angstrom
    double cutoff = 0.0;   ///< where half of the amplitude is gone, 1/angstrom
    double softness = 0.0; ///< standard deviation of the edge, 1/angstrom

    /// The one that brings a map from a resolution to a coarser or equal one, on a lattice of `target` from
    /// one of `source`, without aliases in the band up to 1 / to.
    /// @param from, to        resolutions, angstrom
    /// @param source, target  node distances, angstrom
    static LowPass between(double from, double to, double source, double target);

    /// The fraction of a frequency that passes.
    double transfer(double frequency) const;

    /// The distance beyond which the kernel is nothing, angstrom.
    double reach() const;

    /// The kernel: integral over k of G H cos(2 pi k x), 1/angstrom.
    double kernel(double x) const;
};

/// Values of a filtered, resampled line: output j = sum over t of weights[j][t] input[first[j] + t]. Beyond
/// its ends a line goes on with its last value, so that a map cut out of a larger one gets no edge there. The
/// weights of an output add up to 1.
struct AxisFilter {
    std::vector<std::size_t> first;
    std::vector<std::vector<float>> weights;

    /// Of `count` nodes `source` apart to nodes `target` apart, the first upon the first and the last not
    /// beyond the last.
    AxisFilter(std::size_t count, double source, double target, const LowPass& lowPass);

    std::size_t size() const { return first.size(); }
};

#endif
