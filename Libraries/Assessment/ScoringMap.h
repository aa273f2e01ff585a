// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_SCORINGMAP_H
#define SELVANE_ASSESSMENT_SCORINGMAP_H

#include <array>
#include <optional>

#include "Formats/DensityMap.h"
#include "Math/cVector3.h"

struct ScoringRequest {
    double resolution = 0.0;          ///< of the map, not finer than two of its voxels, angstrom
    std::optional<double> level;      ///< density at or below counts as empty; none: chosen
    const DensityMap* mask = nullptr; ///< where it is not above 0.5 the map counts as empty
};

/// A map at its own resolution, on which places of a model are judged: cut to its content with a margin, on
/// cubic voxels of a third of the resolution. What lies in the box is kept as it is, specks included.
///
/// The lattice goes on beyond the box: there the density is the background and the contrast 0.
struct ScoringMap {
    DensityMap density;  ///< of the box
    DensityMap contrast; ///< its negative Laplacian, of the same nodes, per square angstrom
    double resolution = 0.0;
    double sigma = 0.0;      ///< standard deviation of an atom's Gaussian, angstrom
    double level = 0.0;      ///< in units of the map, given or chosen
    double background = 0.0; ///< mean of the box at or below the level; 0 of an emptied map
    double mean = 0.0;       ///< of the whole map as it was given, as viewers take it
    double deviation = 0.0;  ///< standard deviation of the same
    cVector3 lowest = cVector3(0.0), highest = cVector3(0.0); ///< first and last voxel of the whole map
    /// Faces of the whole map that its content reaches, as in a map cut out of a larger one: low x, high x,
    /// low y, high y, low z, high z.
    std::array<bool, 6> reached{};

    double voxel() const { return density.voxel.x; }

    /// Linear between the eight nodes around a point; beyond the box the background, and 0.
    double densityAt(const cVector3& x) const;
    double contrastAt(const cVector3& x) const;

    /// Whether a point lies between the first and the last voxel of the whole map.
    bool isWithin(const cVector3& x) const;
};

/// The content is searched for at half the resolution, which takes an eighth of the memory, so that only the
/// part of the map around it is filtered. A map without content is kept whole.
/// @throws std::invalid_argument for a mask of another frame
ScoringMap makeScoringMap(const DensityMap& map, const ScoringRequest& request);

#endif
