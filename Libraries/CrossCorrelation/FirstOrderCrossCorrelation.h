// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_FIRSTORDERCROSSCORRELATION_H
#define SELVANE_CROSSCORRELATION_FIRSTORDERCROSSCORRELATION_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "CrossCorrelation/AnyOrderCrossCorrelation.h"
#include "CrossCorrelation/NonHexaustFlexibleFitConformation.h"

/// The correlation grid alone, without derivatives: the cheapest way to a value.
class FirstOrderCrossCorrelation : public AnyOrderCrossCorrelation {
public:
    /// @param targetEdm   T, grid->getTotalSize() values, owned and rewritten by the caller; must not move
    /// @param initPattern whether to evaluate the pattern at x = 0 at once
    FirstOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                               const std::vector<std::array<double, 3>>& atoms, double sigma,
                               std::shared_ptr<const NormalModeEngine> nma, bool initPattern);

    /// Moves the centre that small rotations turn about; the pattern and its flag stay.
    void setRotationCenter(const cVector3& center);

    using AnyOrderCrossCorrelation::execute;

    /// Announces the correlation in the report and correlates with the pattern of the last execute(), even if
    /// it has changed since; a grid of zeros before the first.
    void execute(cInfo& info);

    /// One conformation per voxel in flat order, angles zero.
    std::vector<NonHexaustFlexibleFitConformation> getAllConformations() const;

    /// The best maxCount conformations above ElectronDensity::EPSILON, best first, angles zero.
    std::vector<NonHexaustFlexibleFitConformation> getAllConformations(std::size_t maxCount) const;

    /// Offers every voxel above ElectronDensity::EPSILON to the set, under the rotation (alpha, beta, gamma).
    void addConformations(LimitedSizeSet<NonHexaustFlexibleFitConformation>& set, double alpha, double beta,
                          double gamma) const;
};

#endif
