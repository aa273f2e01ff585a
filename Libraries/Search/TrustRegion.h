// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_TRUSTREGION_H
#define SELVANE_SEARCH_TRUSTREGION_H

#include <vector>

class cPDBAtom;
class cVector3;
struct FitSettings;

/// The ball in which a local solve looks for the best pose, with angstrom, radian and amplitude counted
/// alike:
///   r^2 = |d|^2 + min(|d|^2, (4 / M) sin^2(step / 2) trace I) + M maxRmsd^2
/// for the cell d of the map, the mass M and the inertia tensor I of the model.
struct TrustRegion {
    double translation2 = 0.0; ///< |d|^2
    double uncapped2 = 0.0;    ///< of the rotation
    double rotation2 = 0.0;    ///< no more than translation2
    double modes2 = 0.0;

    double radius() const;

    /// @param mass      of all atoms, by which amplitudes are weighted
    /// @param settings  resolved for the map
    static TrustRegion of(const std::vector<cPDBAtom>& atoms, double mass, const cVector3& cellDim,
                          const FitSettings& settings);
};

#endif
