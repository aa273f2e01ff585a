// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/FitSettings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "CrossCorrelation/scoreFloor.h"
#include "Math/cGrid.h"
#include "Math/pi.h"
#include "Math/structure.h"

namespace {

// The identity may be added and the progress bar counts one rotation ahead, both in an int.
constexpr double mostRotations = 2147483645.0;

struct Scale {
    const char* option;
    double value;
};

void requireAtLeastOne(const char* option, double count, const char* what) {
    if (!(count >= 1.0)) {
        throw SettingError(option, std::string("The number of ") + what + " has to be 1 or more");
    }
}

void checkCounts(const FitSettings& s) {
    requireAtLeastOne("nthread", static_cast<double>(s.workers), "threads");
    if (s.modes > static_cast<unsigned long>(std::numeric_limits<int>::max())) {
        throw SettingError("nmodes", "No model has more than 2147483647 modes");
    }
    requireAtLeastOne("nsolutions", s.solutions, "solutions");
    requireAtLeastOne("nclusters", s.clusters, "clusters");
    const std::int64_t kept = std::int64_t{s.solutions} * s.clusters;
    if (s.clustering && kept > std::numeric_limits<int>::max()) {
        throw SettingError("nclusters", "nsolutions times nclusters is " + std::to_string(kept) +
                                            ", more than 2147483647: lower one of them");
    }
}

void checkScales(const FitSettings& s) {
    for (const Scale& scale : {Scale{"cutoff", s.cutoff}, Scale{"stiffness", s.stiffness},
                               Scale{"maxrmsd", s.maxRmsd}, Scale{"sigma", s.sigma.value_or(0.0)},
                               Scale{"filtersigma", s.filterSigmas}, Scale{"dangle", s.step.value_or(0.0)},
                               Scale{"clusterThreshold", s.clusterThreshold.value_or(0.0)}}) {
        if (!std::isfinite(scale.value)) {
            throw SettingError(scale.option, "The value has to be a finite number");
        }
    }
    if (!std::isfinite(s.maxRmsd * s.maxRmsd)) {
        throw SettingError("maxrmsd", "The square of the value has to be a finite number");
    }
    for (const Scale& scale : {Scale{"cutoff", s.cutoff}, Scale{"stiffness", s.stiffness}}) {
        if (!(scale.value > 0.0)) {
            throw SettingError(scale.option, "The value has to be above 0");
        }
    }
    if (s.sigma && !(*s.sigma > 0.0 && risesAboveCut(*s.sigma))) {
        throw SettingError("sigma", "The width has to be above 0 and below about 73.9 Angstrom, where a "
                                    "Gaussian is too flat to be seen");
    }
}

void checkStep(const FitSettings& s) {
    if (!s.step) {
        return;
    }
    if (!(*s.step > 0.0)) {
        throw SettingError("dangle", "The step has to be above 0 degrees");
    }
    if (!(countRotations(*s.step) <= mostRotations)) {
        throw SettingError("dangle", "The step gives more than 2147483645 rotations: give a larger one");
    }
}

void checkScore(const FitSettings& s) {
    if (s.score != ScanScore::Local) {
        return;
    }
    if (s.multistep) {
        throw SettingError("score", "The multistep scan has no score but the overlap");
    }
    if (!(s.varianceFloor > 0.0 && s.varianceFloor <= 1.0)) {
        throw SettingError("score", "The floor of variances has to be above 0 and at most 1");
    }
}

} // namespace

void FitSettings::check() const {
    checkCounts(*this);
    checkScales(*this);
    checkStep(*this);
    checkScore(*this);
}

void FitSettings::resolve(const cGrid& map) {
    sigma = sigma.value_or(defaultSigma(map.m_cellDim));
    step = step.value_or(defaultStep(map.getSizes().data()));
}

void FitSettings::resolve(const std::vector<std::array<double, 3>>& positions) {
    if (!clusterThreshold) {
        clusterThreshold = getRadiusOfGyration(positions);
    }
}

int FitSettings::capacity() const {
    return clustering ? solutions * clusters : solutions;
}

double FitSettings::rotationCount() const {
    return countRotations(step.value());
}

double defaultSigma(const cVector3& cellDim) {
    return std::max({cellDim.x, cellDim.y, cellDim.z});
}

double defaultStep(const unsigned int* mapSize) {
    const double largest = *std::max_element(mapSize, mapSize + 3);
    return 360.0 / std::pow(largest * 4.0 * pi, 0.3333333333333333);
}

double countRotations(double step) {
    return std::ceil(129600.0 / (step * step * pi)) * std::ceil(360.0 / step);
}

bool risesAboveCut(double sigma) {
    const double peak = 1.0 / std::sqrt(8.0 * pi * pi * pi * sigma * sigma * sigma);
    return std::isfinite(peak) && peak > scoreFloor;
}
