// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/polishedPlaces.h"

#include <optional>

#include "Assessment/PolishModel.h"
#include "Assessment/makePolishField.h"
#include "Assessment/polishPoses.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/coarsen.h"

namespace {

/// Below this ratio of both resolutions a climb on the finer field carries about as far as one on the
/// coarser.
constexpr double sameResolution = 1.15;

/// The map's contrast at another resolution, blurred by an atom's Gaussian.
SplineField fieldAt(const ScoringMap& map, double resolution) {
    constexpr double voxelsPerResolution = 3.0;
    const DensityMap coarse =
        coarsen(map.density, {map.resolution, resolution, resolution / voxelsPerResolution, {}, nullptr});
    return makePolishField(negativeLaplacian(coarse), gaussianOf(resolution));
}

AssessedPose poseOf(const PolishedPlace& place, const std::vector<ScanPlace>& places, double unit) {
    AssessedPose pose;
    pose.motion = place.motion;
    pose.scanScore = places[place.start].score;
    pose.polishValue = place.value / unit;
    pose.polishGain = place.gain / unit;
    pose.end = place.end;
    pose.hits = place.hits;
    return pose;
}

} // namespace

std::vector<AssessedPose> polishedPlaces(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                                         const std::vector<ScanPlace>& places, const PlacesRequest& request,
                                         SearchObserver& observer) {
    const double scanResolution = request.scanResolution;
    const PolishModel beads = beadsOf(atoms), all = atomsOf(atoms);
    const SplineField own = makePolishField(map.contrast, map.sigma);
    std::optional<SplineField> scan;
    if (scanResolution > sameResolution * map.resolution) {
        scan.emplace(fieldAt(map, scanResolution));
    }
    std::vector<RigidMotion> starts;
    for (const ScanPlace& place : places) {
        starts.push_back(place.motion);
    }
    const PolishLevel coarse{scan ? *scan : own, beads, scan ? scanResolution : map.resolution};
    const std::vector<PolishedPlace> polished =
        polishPoses(starts, coarse, {own, all, map.resolution}, {request.keep, request.threads}, observer);
    const double largest = polished.empty() ? 0.0 : polished.front().value;
    std::vector<AssessedPose> poses;
    for (const PolishedPlace& place : polished) {
        poses.push_back(poseOf(place, places, largest > 0.0 ? largest : 1.0));
    }
    return poses;
}
