// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/FirstOrderCrossCorrelation.h"

#include <utility>

FirstOrderCrossCorrelation::FirstOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                                       const std::vector<std::array<double, 3>>& atoms,
                                                       double sigma,
                                                       std::shared_ptr<const NormalModeEngine> nma,
                                                       bool initPattern)
    : AnyOrderCrossCorrelation(targetEdm, std::move(grid), atoms, sigma, std::move(nma), Derivatives::None) {
    if (initPattern) {
        initPatternEdm();
    }
}

// Deliberate: unlike the third order, the flag of the pattern stays as it is.
void FirstOrderCrossCorrelation::setRotationCenter(const cVector3& center) {
    moveRotationCenter(center);
}

// Deliberate: a pattern that changed is not transformed here, and its flag stays.
void FirstOrderCrossCorrelation::execute(cInfo& info) {
    announce(info);
    executeWithOldPattern();
}

std::vector<NonHexaustFlexibleFitConformation> FirstOrderCrossCorrelation::getAllConformations() const {
    return allConformations<NonHexaustFlexibleFitConformation>([](const double*, const auto&) {});
}

std::vector<NonHexaustFlexibleFitConformation>
FirstOrderCrossCorrelation::getAllConformations(std::size_t maxCount) const {
    LimitedSizeSet<NonHexaustFlexibleFitConformation> set(maxCount);
    offerVoxels(set, 0.0, 0.0, 0.0);
    return set.toStdVector();
}

void FirstOrderCrossCorrelation::addConformations(LimitedSizeSet<NonHexaustFlexibleFitConformation>& set,
                                                  double alpha, double beta, double gamma) const {
    offerVoxels(set, alpha, beta, gamma);
}
