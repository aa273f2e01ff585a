// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_POSESCORER_H
#define SELVANE_ASSESSMENT_POSESCORER_H

#include <vector>

#include "Assessment/ScoringMap.h"
#include "Formats/AtomicModel.h"
#include "Math/RigidMotion.h"

/// How a place of a model agrees with the map at the map's own resolution. A correlation without scatter in
/// one of its fields is 0.
struct PoseScores {
    double localCorrelation = 0.0; ///< of the negative Laplacians, under the model, from -1 to 1
    double correlation = 0.0;      ///< of the densities, under the model
    double meanDensity = 0.0;      ///< of the map at the atoms, in deviations of the whole map above its mean
    double inside = 0.0;           ///< fraction of the atoms where the density is above the level
    double outside = 0.0;          ///< fraction of the atoms beyond the faces of the whole map
};

/// Judges places of a model in a map.
///
/// On the nodes v of the map's lattice, which goes on beyond its faces, the model at x_a = R y_a + t is
///   D(v) = sum_a w_a exp(-|v - x_a|^2 / (2 sigma^2)),  P = -Laplacian D,
/// w_a the masses; each Gaussian is cut at four sigmas along each axis. P is made by the same differences of
/// sixth order as the map's contrast C: at a third of the resolution they are a few percent low, for both
/// alike, so that a model in its own density correlates to 1, which the exact Laplacian would not. Under the
/// model, the n nodes m with D(v) > 0.1 max D, and with means taken over m,
///   localCorrelation = sum_m (P - <P>) (C - <C>) / sqrt(sum_m (P - <P>)^2 sum_m (C - <C>)^2),
/// C being 0 beyond the map's box; correlation is the same of D and the density.
///
/// Calls may be made by several threads at once.
class PoseScorer {
public:
    /// @param map  not owned, must outlive this
    PoseScorer(const ScoringMap& map, const std::vector<ModelAtom>& atoms);

    /// @param motion  from the model's file to the frame of the map
    PoseScores operator()(const RigidMotion& motion) const;

private:
    const ScoringMap* m_map;
    std::vector<cVector3> m_positions; ///< in the file
    std::vector<double> m_weights;
};

#endif
