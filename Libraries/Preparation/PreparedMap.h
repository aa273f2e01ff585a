// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_PREPAREDMAP_H
#define SELVANE_PREPARATION_PREPAREDMAP_H

#include <optional>
#include <string>
#include <vector>

#include "Formats/DensityMap.h"
#include "Math/cGrid.h"
#include "Math/cVector3.h"
#include "Preparation/PreparedModel.h"
#include "Preparation/ScanChoice.h"

/// What the scan correlates the model's density with.
enum class MapField {
    Density,  ///< the density above the level
    Laplacian ///< its negative Laplacian, which has mean zero: edges count, a dense middle does not
};

/// Where the middle of the model is looked for.
struct Neighbourhood {
    cVector3 middle = cVector3(0.0); ///< in the frame of the map
    double distance = 0.0;           ///< from it, angstrom
};

struct MapRequest {
    std::optional<double> level;      ///< density at or below counts as empty; none: chosen
    const DensityMap* mask = nullptr; ///< where it is not above 0.5 the map counts as empty
    MapField field = MapField::Laplacian;
    std::optional<Neighbourhood> near; ///< none: the model is looked for in the whole map
};

/// A map made ready for a scan: brought to the scan's resolution and voxels, emptied below the level and
/// outside the mask, cut to its content and laid into a grid that holds every rotation of the content about
/// the middle, with room for the model around, so that no pose wraps around in a periodic correlation. Near a
/// place only what a model there can reach is kept.
struct PreparedMap {
    cGrid grid;                     ///< its low corner is the origin of the prepared frame
    std::vector<double> values;     ///< a value per node, z fastest, of standard deviation 1
    cVector3 inMap = cVector3(0.0); ///< where the prepared frame's origin stands in the map's frame
    double level = 0.0;             ///< in units of the map, given or chosen
    double contentRadius = 0.0;     ///< of the content about the middle of the grid, angstrom
    double farthestCentre = 0.0; ///< poses whose model's middle stands farther from the grid's are not wanted
    std::vector<std::string> remarks;

    /// The middle of the grid, about which rotations of the map turn; the model's middle is put there.
    cVector3 middle() const;
};

/// Whether a mask has the size of a map and the place and voxels as well, to a hundredth of a voxel.
bool isSameFrame(const DensityMap& map, const DensityMap& mask);

/// @throws std::invalid_argument, with the remedy, for a map without content above the level, a mask of
///         another frame, or a content or model for which the grid would be too large
PreparedMap prepareMap(const DensityMap& map, const PreparedModel& model, const ScanChoice& choice,
                       const MapRequest& request);

#endif
