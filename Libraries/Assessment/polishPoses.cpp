// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/polishPoses.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "Assessment/TaskPool.h"
#include "Assessment/poseOverlap.h"
#include "QCProt/RMSD.h"

namespace {

constexpr double coarseMerge = 0.1; // of the resolution
constexpr double fineMerge = 0.5;   // angstrom

/// A pose that starts have led to.
struct Place {
    Polished polished;
    std::size_t hits = 0;
    std::size_t start = 0;
};

std::vector<Place> climbAll(const std::vector<Place>& places, const PolishLevel& level,
                            const std::string& stage, std::size_t threads, SearchObserver& observer) {
    observer.stageBegins(stage, places.size());
    std::vector<Place> climbed = places;
    const ClimbLimits limits = ClimbLimits::forResolution(level.resolution);
    TaskPool(places.size(), observer).run(threads, [&](std::size_t n) {
        climbed[n].polished = climb(level.field, level.model, places[n].polished.motion, limits);
    });
    std::sort(climbed.begin(), climbed.end(), [](const Place& a, const Place& b) {
        return a.polished.value != b.polished.value ? a.polished.value > b.polished.value : a.start < b.start;
    });
    return climbed;
}

/// How far apart two poses put a model.
class PoseDistance {
public:
    explicit PoseDistance(const PolishModel& model) : m_middle(model.middle), m_moments(pointsOf(model)) {}

    /// RMSD of the model's points, angstrom.
    double operator()(const RigidMotion& a, const RigidMotion& b) const {
        const Flat p(a, m_middle), q(b, m_middle);
        return std::sqrt(std::max(0.0, m_moments.getMSDTwoTransforms(p.rotation.data(), q.rotation.data(),
                                                                     p.middle.data(), q.middle.data())));
    }

private:
    struct Flat {
        std::array<double, 9> rotation{};
        std::array<double, 3> middle{};

        Flat(const RigidMotion& motion, const cVector3& middleInFile) {
            motion.rotation.toArray(rotation.data());
            const cVector3 place = motion(middleInFile);
            middle = {place.x, place.y, place.z};
        }
    };

    static std::vector<std::array<double, 3>> pointsOf(const PolishModel& model) {
        std::vector<std::array<double, 3>> points;
        points.reserve(model.points.size());
        for (const cVector3& point : model.points) {
            points.push_back({point.x, point.y, point.z});
        }
        return points;
    }

    cVector3 m_middle;
    RMSD<std::array<double, 3>> m_moments;
};

/// The best of the poses that stand within a distance of it, for all of them.
/// @param sorted  best first
std::vector<Place> merged(const std::vector<Place>& sorted, const PoseDistance& distance, double within) {
    std::vector<Place> places;
    for (const Place& place : sorted) {
        const auto same = std::find_if(places.begin(), places.end(), [&](const Place& other) {
            return distance(other.polished.motion, place.polished.motion) <= within;
        });
        if (same == places.end()) {
            places.push_back(place);
            continue;
        }
        same->hits += place.hits;
        same->start = std::min(same->start, place.start);
    }
    return places;
}

double overlapOf(const PolishLevel& level, const RigidMotion& motion) {
    return poseOverlap(level.field, level.model, {motion.rotation, motion(level.model.middle)}).value;
}

} // namespace

std::vector<PolishedPlace> polishPoses(const std::vector<RigidMotion>& starts, const PolishLevel& coarse,
                                       const PolishLevel& fine, const PolishRequest& request,
                                       SearchObserver& observer) {
    std::vector<Place> places(starts.size());
    for (std::size_t n = 0; n < starts.size(); ++n) {
        places[n].polished.motion = starts[n];
        places[n].hits = 1;
        places[n].start = n;
    }
    const PoseDistance distance(fine.model);
    places = climbAll(places, coarse, "climbing at the scan's resolution", request.threads, observer);
    places = merged(places, distance, coarseMerge * coarse.resolution);
    places.resize(std::min(places.size(), request.keep));
    places = climbAll(places, fine, "climbing at the map's resolution", request.threads, observer);
    places = merged(places, distance, fineMerge);

    std::vector<PolishedPlace> result;
    result.reserve(places.size());
    for (const Place& place : places) {
        const Polished& top = place.polished;
        result.push_back({top.motion, top.value, top.value - overlapOf(fine, starts[place.start]), place.hits,
                          place.start, top.end});
    }
    return result;
}
