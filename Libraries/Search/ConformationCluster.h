// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_CONFORMATIONCLUSTER_H
#define SELVANE_SEARCH_CONFORMATIONCLUSTER_H

#include <array>
#include <functional>
#include <iterator>
#include <limits>
#include <map>
#include <utility>
#include <vector>

#include "Math/cGrid.h"
#include "Math/cMatrix33.h"
#include "Math/cVector3.h"
#include "QCProt/RMSD.h"
#include "Search/FitSettings.h"
#include "Search/MapFrame.h"
#include "Search/PoseRecord.h"

/// Representatives of a list of poses: offered best first, a pose is kept if no kept one lies nearer than a
/// threshold. The distance of two poses is the root mean square displacement of the model's atoms between
/// their rigid placements, from the model's moments alone.
///
/// A placement is the rotation R of a pose, row-major, and its translation t in the frame of the model, in
/// angstrom. It puts the atom x at R x + p as MapFrame has it, with the increments in t: where the solution
/// files have it, but for small rotations, modes, and increments of the translation that decide the period.
/// @tparam T  a candidate pose, as FlexibleFitConformation, whose rigid score is a number
template <typename T>
class ConformationCluster : public RMSD<std::array<double, 3>> {
public:
    using Placement = std::pair<std::array<double, 9>, std::array<double, 3>>;

    /// @param positions  of the model's atoms
    /// @param threshold  in angstrom
    ConformationCluster(const std::vector<std::array<double, 3>>& positions, const MapFrame& frame,
                        double threshold);

    /// Offers a pose and drops the worst ones beyond `capacity`. A kept pose nearer than the threshold
    /// refuses it if better, and is dropped if not.
    void insertToMap(const T& candidate, unsigned long capacity);

    /// Whether two placements lie nearer than the threshold.
    /// @param gridA, gridB  padded grids of the scans that found them
    bool isInSameCluster(const Placement& a, const cGrid& gridA, const Placement& b,
                         const cGrid& gridB) const;

    /// Copies of the kept poses, best first.
    std::vector<T> toStdVector() const;

private:
    using Clusters = std::multimap<T, Placement, std::greater<T>>;

    Placement makePlacement(const T& candidate) const;
    std::array<double, 3> translationInMap(const Placement& placement, const cGrid& grid) const;
    void resolveNeighbours(typename Clusters::iterator inserted);

    double m_squaredThreshold;
    Clusters m_clusters; ///< the kept poses, best first
    MapFrame m_frame;
};

/// At most settings.clusters of some poses, best first, that are further from each other than the threshold.
/// @param settings  resolved for the model
template <typename T>
std::vector<T> clusterPoses(const std::vector<T>& poses, const std::vector<std::array<double, 3>>& positions,
                            const MapFrame& frame, const FitSettings& settings) {
    ConformationCluster<T> clusters(positions, frame, settings.clusterThreshold.value());
    for (const T& pose : poses) {
        clusters.insertToMap(pose, static_cast<unsigned long>(settings.clusters));
    }
    return clusters.toStdVector();
}

template <typename T>
ConformationCluster<T>::ConformationCluster(const std::vector<std::array<double, 3>>& positions,
                                            const MapFrame& frame, double threshold)
    : RMSD<std::array<double, 3>>(positions), m_squaredThreshold(threshold * threshold), m_frame(frame) {}

template <typename T>
void ConformationCluster<T>::insertToMap(const T& candidate, unsigned long capacity) {
    // Deliberate: a full map turns away only scores at or below this, the least positive number times the
    // count; a pose that is worse than all kept ones goes through the walk and falls off the end.
    const double least = static_cast<double>(m_clusters.size()) * std::numeric_limits<double>::denorm_min();
    if (m_clusters.size() < capacity || candidate.m_rigidScore > least) {
        resolveNeighbours(m_clusters.emplace(candidate, makePlacement(candidate)));
    }
    while (m_clusters.size() > capacity) {
        m_clusters.erase(std::prev(m_clusters.end()));
    }
}

/// Of each kept pose and the new one, if near each other, drops the worse; of equal ones the kept one.
template <typename T>
void ConformationCluster<T>::resolveNeighbours(typename Clusters::iterator inserted) {
    for (auto kept = m_clusters.begin(); kept != m_clusters.end(); ++kept) {
        if (kept == inserted ||
            !isInSameCluster(kept->second, *kept->first.m_grid, inserted->second, *inserted->first.m_grid)) {
            continue;
        }
        if (inserted->first < kept->first) {
            m_clusters.erase(inserted);
            return;
        }
        m_clusters.erase(kept);
        // Deliberate: the walk goes on behind the first element, so that what has become the first one is not
        // tested (again).
        kept = m_clusters.begin();
    }
}

template <typename T>
typename ConformationCluster<T>::Placement ConformationCluster<T>::makePlacement(const T& candidate) const {
    const PoseRecord pose = toPoseRecord(candidate);
    const cVector3 tau = pose.tau + m_frame.offset() + pose.dTau;
    Placement placement;
    pose.rotation().toArray(placement.first.data());
    placement.second = {tau.x, tau.y, tau.z};
    return placement;
}

template <typename T>
bool ConformationCluster<T>::isInSameCluster(const Placement& a, const cGrid& gridA, const Placement& b,
                                             const cGrid& gridB) const {
    const std::array<double, 3> pa = translationInMap(a, gridA);
    const std::array<double, 3> pb = translationInMap(b, gridB);
    return this->getMSDTwoTransforms(a.first.data(), b.first.data(), pa.data(), pb.data()) <
           m_squaredThreshold;
}

template <typename T>
std::array<double, 3> ConformationCluster<T>::translationInMap(const Placement& placement,
                                                               const cGrid& grid) const {
    cMatrix33 rotation;
    rotation.fromArray(placement.first.data());
    const auto& t = placement.second;
    const cVector3 shift = m_frame.shiftOf(cVector3(t[0], t[1], t[2]), rotation, grid.getPeriod());
    const cVector3 p = m_frame.translationOf(shift, rotation);
    return {p.x, p.y, p.z};
}

template <typename T>
std::vector<T> ConformationCluster<T>::toStdVector() const {
    std::vector<T> poses;
    poses.reserve(m_clusters.size());
    for (const auto& [pose, placement] : m_clusters) {
        poses.push_back(pose);
    }
    return poses;
}

#endif
