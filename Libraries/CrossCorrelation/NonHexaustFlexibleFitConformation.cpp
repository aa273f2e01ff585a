// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/NonHexaustFlexibleFitConformation.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>

#include "CrossCorrelation/fccf.h"
#include "Math/cGrid.h"

namespace {

[[noreturn]] void exitOnTargetOutsideField() {
    std::cerr << "iig >= shiftedValues.size()";
    std::exit(1);
}

/// Where each index of an axis of n nodes goes under the shift by `node`, taken as the nearer one of its two
/// directions and wrapped once.
std::vector<std::size_t> shiftedAxis(unsigned int n, int node) {
    const auto length = static_cast<std::int64_t>(n);
    const std::int64_t middle = node + length / 2;
    const std::int64_t shift = 0 <= middle && middle < length ? node : node - length;
    std::vector<std::size_t> targets;
    targets.reserve(n);
    for (std::int64_t a = 0; a < length; ++a) {
        std::int64_t target = a + shift;
        if (target >= length) {
            target -= length;
        } else if (target < 0) {
            target += length;
        }
        if (target < 0 || target >= length) {
            exitOnTargetOutsideField();
        }
        targets.push_back(static_cast<std::size_t>(target));
    }
    return targets;
}

} // namespace

std::vector<double> NonHexaustFlexibleFitConformation::shiftValues(const std::vector<double>& values) const {
    if (!m_grid) {
        throw std::logic_error("NonHexaustFlexibleFitConformation: a shift needs the correlation grid");
    }
    const std::vector<std::size_t> iTargets = shiftedAxis(m_grid->m_size[0], m_i);
    const std::vector<std::size_t> jTargets = shiftedAxis(m_grid->m_size[1], m_j);
    const std::vector<std::size_t> kTargets = shiftedAxis(m_grid->m_size[2], m_k);
    // Every node of the grid is a target, so a field that lacks one has a target outside it.
    if (values.size() < iTargets.size() * jTargets.size() * kTargets.size()) {
        exitOnTargetOutsideField();
    }
    std::vector<double> shiftedValues(values.size(), 0.0);
    std::size_t source = 0;
    for (const std::size_t i : iTargets) {
        for (const std::size_t j : jTargets) {
            const std::size_t row = (i * jTargets.size() + j) * kTargets.size();
            for (const std::size_t k : kTargets) {
                shiftedValues[row + k] = values[source++];
            }
        }
    }
    return shiftedValues;
}

bool NonHexaustFlexibleFitConformation::solveConvexSubProblem(
    const std::vector<double>& targetEdm, const std::vector<std::vector<double>>& gradPatternEdm,
    const std::vector<std::vector<double>>& hessPatternEdm, double radius) {
    const std::size_t n = gradPatternEdm.size();
    if (hessPatternEdm.size() != n * n) {
        throw std::length_error(std::to_string(n) + " gradient maps need " + std::to_string(n * n) +
                                " Hessian maps, not " + std::to_string(hessPatternEdm.size()));
    }
    // Deliberate: plain sums, which are not on the scale of the rigid score.
    const std::vector<double> shifted = shiftValues(targetEdm);
    arma::Col<double> gradient(n);
    arma::Mat<double> hessian(n, n);
    for (std::size_t i = 0; i < n; ++i) {
        gradient(i) = fccf::getIntegral(shifted, gradPatternEdm[i], false);
        for (std::size_t j = 0; j < n; ++j) {
            hessian(i, j) = fccf::getIntegral(shifted, hessPatternEdm[i * n + j], false);
        }
    }
    return maximizeLocalModel(gradient, hessian, radius);
}
