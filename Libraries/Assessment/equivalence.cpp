// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/equivalence.h"

#include <algorithm>
#include <array>

#include "Assessment/ModelStamp.h"
#include "Assessment/pearson.h"

namespace equivalence {

namespace {

constexpr double nearModel = 0.01;      // of the highest density of the model
constexpr std::size_t mostNodes = 2000; // a correlation of so many is known to a few hundredths

/// Every n-th, for as small an n as leaves no more than there is room for.
std::vector<cVector3> thinned(const std::vector<cVector3>& nodes) {
    const std::size_t stride = (nodes.size() + mostNodes - 1) / mostNodes;
    std::vector<cVector3> kept;
    for (std::size_t n = 0; n < nodes.size(); n += stride) {
        kept.push_back(nodes[n]);
    }
    return kept;
}

/// A place that is equivalent to none before it.
struct Leader {
    std::size_t index;
    RigidMotion back; ///< from the place to the model's file
    std::vector<cVector3> nodes;
};

} // namespace

double resolutionFor(double mapResolution, double radiusOfGyration) {
    constexpr double coarser = 1.75;
    constexpr double perRadius = 0.8; // at which a turn of the model still shows
    return std::max(mapResolution, std::min(coarser * mapResolution, perRadius * radiusOfGyration));
}

std::vector<cVector3> nodesAround(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                                  const RigidMotion& place) {
    std::vector<cVector3> nodes;
    if (atoms.empty()) {
        return nodes;
    }
    std::vector<cVector3> positions;
    std::vector<double> weights;
    for (const ModelAtom& atom : atoms) {
        positions.push_back(place(atom.position));
        weights.push_back(atom.mass);
    }
    const ModelStamp stamp(positions, weights, {map.density.origin, map.voxel(), map.sigma});
    const auto threshold = static_cast<float>(nearModel * static_cast<double>(stamp.highest()));
    const std::array<std::size_t, 3> low = stamp.firstNode(), end = stamp.endNode();
    for (std::size_t i = low[0]; i < end[0]; ++i) {
        for (std::size_t j = low[1]; j < end[1]; ++j) {
            for (std::size_t k = low[2]; k < end[2]; ++k) {
                if (stamp.values()[stamp.index(i, j, k)] > threshold) {
                    nodes.push_back(stamp.place(i, j, k));
                }
            }
        }
    }
    return thinned(nodes);
}

double selfCorrelation(const ScoringMap& map, const std::vector<cVector3>& nodes, const RigidMotion& motion) {
    std::vector<float> here, there;
    for (const cVector3& node : nodes) {
        const cVector3 image = motion(node);
        if (map.isWithin(node) && map.isWithin(image)) {
            here.push_back(static_cast<float>(map.contrastAt(node)));
            there.push_back(static_cast<float>(map.contrastAt(image)));
        }
    }
    return 2 * here.size() >= nodes.size() ? pearson(here, there) : 0.0;
}

std::vector<std::size_t> group(const ScoringMap& map, const std::vector<ModelAtom>& atoms,
                               const std::vector<RigidMotion>& places) {
    std::vector<std::size_t> groups;
    std::vector<Leader> leaders;
    for (std::size_t n = 0; n < places.size(); ++n) {
        const auto sees = [&](const Leader& leader) {
            return selfCorrelation(map, leader.nodes, chain(leader.back, places[n])) >= leastSelfCorrelation;
        };
        const auto leader = std::find_if(leaders.begin(), leaders.end(), sees);
        if (leader != leaders.end()) {
            groups.push_back(leader->index);
            continue;
        }
        groups.push_back(n);
        leaders.push_back({n, places[n].inverse(), nodesAround(map, atoms, places[n])});
    }
    return groups;
}

} // namespace equivalence
