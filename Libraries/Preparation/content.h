// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_CONTENT_H
#define SELVANE_PREPARATION_CONTENT_H

#include <cstddef>
#include <vector>

#include "Formats/DensityMap.h"
#include "Math/cVector3.h"

/// Where the particle of a map is.
struct Content {
    std::vector<char> inside;        ///< per voxel, whether it belongs to the content or lies close to it
    cVector3 middle = cVector3(0.0); ///< of a small sphere around it, in the frame of the map, angstrom
    double radius = 0.0;             ///< of that sphere, angstrom
    std::size_t voxels = 0;          ///< above the level and not dropped
    std::size_t dropped = 0;         ///< above the level, in specks too small to be a particle
    bool reachesFaces = false;
};

/// A level that parts a particle from what surrounds it, for a map without fine noise. The background is the
/// most frequent density; its noise is judged by the values below it, where no particle adds any. The level
/// lies four standard deviations of that noise above the background, and no lower than a tenth of the way to
/// the highest value.
/// @return not a number for a map whose values are all the same but for rounding
double chooseLevel(const DensityMap& map);

/// The connected parts of a map above a level, without specks that hold less than a hundredth of the largest
/// part, and what lies within `margin` of them.
/// @param margin  angstrom
Content findContent(const DensityMap& map, double level, double margin);

#endif
