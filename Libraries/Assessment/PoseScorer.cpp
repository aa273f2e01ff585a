// SPDX-License-Identifier: GPL-3.0-or-later
#include "Assessment/PoseScorer.h"

#include <array>
#include <cstddef>

#include "Assessment/ModelStamp.h"
#include "Assessment/pearson.h"

namespace {

constexpr double maskLevel = 0.1; // of the highest density of the model

/// The fields under the model, node by node.
struct Samples {
    std::vector<float> density, contrast;       ///< of the model
    std::vector<float> mapDensity, mapContrast; ///< of the map
};

/// The values of the map along a row of its lattice.
class MapRow {
public:
    MapRow(const ScoringMap& map, long i, long j)
        : m_map(map), m_size(static_cast<long>(map.density.size[2])) {
        const auto& size = map.density.size;
        m_isInside = i >= 0 && j >= 0 && i < static_cast<long>(size[0]) && j < static_cast<long>(size[1]);
        m_first =
            m_isInside ? map.density.index(static_cast<std::size_t>(i), static_cast<std::size_t>(j), 0) : 0;
    }

    void addTo(Samples& samples, long k) const {
        const bool isInside = m_isInside && k >= 0 && k < m_size;
        const std::size_t v = isInside ? m_first + static_cast<std::size_t>(k) : 0;
        samples.mapDensity.push_back(isInside ? m_map.density.values[v]
                                              : static_cast<float>(m_map.background));
        samples.mapContrast.push_back(isInside ? m_map.contrast.values[v] : 0.0F);
    }

private:
    const ScoringMap& m_map;
    long m_size;
    bool m_isInside;
    std::size_t m_first;
};

Samples underModel(const ScoringMap& map, const ModelStamp& stamp) {
    Samples samples;
    const auto threshold = static_cast<float>(maskLevel * static_cast<double>(stamp.highest()));
    const std::array<std::size_t, 3> low = stamp.firstNode();
    const std::array<std::size_t, 3> end = stamp.endNode();
    for (std::size_t i = low[0]; i < end[0]; ++i) {
        for (std::size_t j = low[1]; j < end[1]; ++j) {
            const MapRow row(map, stamp.inMap(0, i), stamp.inMap(1, j));
            for (std::size_t k = low[2]; k < end[2]; ++k) {
                const std::size_t v = stamp.index(i, j, k);
                if (stamp.values()[v] > threshold) {
                    samples.density.push_back(stamp.values()[v]);
                    samples.contrast.push_back(stamp.negativeLaplacian(v));
                    row.addTo(samples, stamp.inMap(2, k));
                }
            }
        }
    }
    return samples;
}

} // namespace

PoseScorer::PoseScorer(const ScoringMap& map, const std::vector<ModelAtom>& atoms) : m_map(&map) {
    for (const ModelAtom& atom : atoms) {
        m_positions.push_back(atom.position);
        m_weights.push_back(atom.mass);
    }
}

PoseScores PoseScorer::operator()(const RigidMotion& motion) const {
    PoseScores scores;
    if (m_positions.empty()) {
        return scores;
    }
    std::vector<cVector3> moved;
    moved.reserve(m_positions.size());
    double sum = 0.0;
    std::size_t inside = 0, outside = 0;
    for (const cVector3& position : m_positions) {
        moved.push_back(motion(position));
        const double density = m_map->densityAt(moved.back());
        sum += density;
        inside += density > m_map->level ? 1 : 0;
        outside += m_map->isWithin(moved.back()) ? 0 : 1;
    }
    const auto count = static_cast<double>(moved.size());
    scores.inside = static_cast<double>(inside) / count;
    scores.outside = static_cast<double>(outside) / count;
    if (m_map->deviation > 0.0) {
        scores.meanDensity = (sum / count - m_map->mean) / m_map->deviation;
    }
    const ModelStamp stamp(moved, m_weights, {m_map->density.origin, m_map->voxel(), m_map->sigma});
    const Samples samples = underModel(*m_map, stamp);
    scores.localCorrelation = pearson(samples.contrast, samples.mapContrast);
    scores.correlation = pearson(samples.density, samples.mapDensity);
    return scores;
}
