// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_POLISHEDPLACES_H
#define SELVANE_ASSESSMENT_POLISHEDPLACES_H

#include <cstddef>
#include <vector>

#include "Assessment/AssessedPose.h"
#include "Assessment/ScoringMap.h"
#include "Formats/AtomicModel.h"
#include "Math/RigidMotion.h"
#include "Search/SearchObserver.h"

/// A place that a scan found.
struct ScanPlace {
    RigidMotion motion; ///< from the file of the model to the frame of the map
    double score = 0.0;
};

struct PlacesRequest {
    double scanResolution = 0.0; ///< angstrom, not finer than the map's
    std::size_t keep = 50;       ///< places at most that are climbed at the map's own resolution
    std::size_t threads = 1;     ///< at least 1; the result is the same for any number
};

/// Climbs from the places of a scan to the maxima of the Laplacian-filtered overlap (see climb()): on a field
/// of the scan's resolution, with a point for each residue, and on one of the map's own, with all atoms.
/// Where both resolutions are about the same, one field serves. Places that come together are one (see
/// polishPoses()).
/// @return largest overlap first, with motion, scanScore, polishValue (in units of the largest), hits and end
/// @throws SearchCancelled when the observer asks for it
std::vector<AssessedPose> polishedPlaces(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                                         const std::vector<ScanPlace>& places, const PlacesRequest& request,
                                         SearchObserver& observer);

#endif
