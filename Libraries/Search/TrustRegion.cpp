// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/TrustRegion.h"

#include <algorithm>
#include <cmath>

#include "Math/pi.h"
#include "Math/structure.h"
#include "Search/FitSettings.h"

double TrustRegion::radius() const {
    return std::sqrt(translation2 + rotation2 + modes2);
}

TrustRegion TrustRegion::of(const std::vector<cPDBAtom>& atoms, double mass, const cVector3& cellDim,
                            const FitSettings& settings) {
    double massOfTensor = 0.0;
    const cMatrix33 inertia = getInertiaTensor(atoms, massOfTensor);
    TrustRegion region;
    region.translation2 = cellDim.norm2();
    const double s = std::sin(settings.step.value() * pi / 180.0 * 0.5);
    region.uncapped2 = 4.0 / massOfTensor * s * s * (inertia(0, 0) + inertia(1, 1) + inertia(2, 2));
    region.rotation2 = region.uncapped2 > region.translation2 ? region.translation2 : region.uncapped2;
    region.modes2 = settings.maxRmsd * settings.maxRmsd * mass;
    return region;
}
