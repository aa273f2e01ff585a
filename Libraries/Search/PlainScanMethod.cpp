// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/PlainScanMethod.h"

#include <algorithm>
#include <cstddef>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/MapRotator.h"
#include "CrossCorrelation/RotatedNodes.h"

namespace {

class PlainScanWorker : public ScanWorker {
public:
    PlainScanWorker(const SearchScene& scene, const ScanMap& map,
                    const std::shared_ptr<const ScanPattern>& pattern)
        : m_scan(map, scene.paddedStructure, scene.filterSigmas), m_pattern(pattern) {}

    void rotate(const Rotation& angles) override { m_scan.rotate(angles); }
    void score() override { m_scan.correlate(*m_pattern); }
    void offer(CandidateSet& set) override { m_scan.offer(set); }

    RotationScan& scan() { return m_scan; }

private:
    RotationScan m_scan;
    const std::shared_ptr<const ScanPattern>& m_pattern; ///< the method's, made after this
};

} // namespace

/// A spectrum per worker; shared the pattern's and the map in single precision. Besides, before the scan, the
/// model's density as a field, and a copy of it where it is written. A worker keeps the filters of no more
/// rotations than twice its set has places.
double PlainScanMethod::bytesNeeded(std::size_t workers, double kept, double rotations) const {
    const double padded = 8.0 * static_cast<double>(scene().padded->getTotalSize());
    const double map = 8.0 * static_cast<double>(scene().map->getTotalSize());
    constexpr double bytesPerFilter = 96.0; // a node of the worker's list
    const auto count = static_cast<double>(workers);
    return (count + 3.0) * padded + 0.5 * map + bytesPerFilter * std::min(2.0 * kept, rotations) * count;
}

std::unique_ptr<ScanWorker> PlainScanMethod::makeWorker(std::vector<double>&) {
    if (!m_map) {
        m_map = std::make_unique<ScanMap>(*scene().mapValues, *scene().map);
    }
    return std::make_unique<PlainScanWorker>(scene(), *m_map, m_pattern);
}

std::shared_ptr<const ElectronDensity> PlainScanMethod::makePattern(ScanWorker& worker) {
    std::shared_ptr<const ElectronDensity> density;
    std::call_once(m_patternMade, [&] {
        density = scene().modelDensity();
        m_density = density;
        m_pattern = static_cast<PlainScanWorker&>(worker).scan().makePattern(density);
    });
    return density;
}

void PlainScanMethod::releaseWorkers(std::vector<std::unique_ptr<ScanWorker>>& workers) {
    for (const auto& worker : workers) {
        if (worker) {
            m_workersFilters.push_back(static_cast<PlainScanWorker&>(*worker).scan().takeFilters());
        }
    }
    workers.clear();
    m_pattern.reset();
    m_map.reset();
}

void PlainScanMethod::keepFor(const std::vector<HexaustFlexibleFitConformation>& poses) {
    for (const auto& pose : poses) {
        for (const RotationScan::Filters& filters : m_workersFilters) {
            const auto known = filters.find({pose.m_alpha, pose.m_beta, pose.m_gamma});
            if (known != filters.end()) {
                m_filters.insert(*known);
            }
        }
    }
    m_workersFilters.clear();
}

void PlainScanMethod::complete(HexaustFlexibleFitConformation& pose) {
    if (!pose.m_gradient.is_empty()) {
        return;
    }
    std::call_once(m_derivativesMade, [&] {
        // Who merges the sets of others need not have scanned.
        m_derivatives = (m_density ? m_density : scene().modelDensity())->tabulate();
    });
    const Rotation angles{pose.m_alpha, pose.m_beta, pose.m_gamma};
    completeCandidate(m_derivatives, RotatedNodes(*scene().mapValues, *scene().map, angles, filterOf(angles)),
                      pose);
}

/// A filter that the scan left behind spares rotating the whole map once more.
fccf::SigmaFilter PlainScanMethod::filterOf(const Rotation& angles) const {
    const auto known = m_filters.find(angles);
    if (known != m_filters.end()) {
        return known->second;
    }
    return MapRotator(*scene().mapValues, *scene().map, scene().filterSigmas).filterOf(angles);
}
