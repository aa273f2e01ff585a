// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/PlainScanMethod.h"

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
/// model's density as a field, and a copy of it where it is written.
double PlainScanMethod::bytesNeeded(std::size_t workers) const {
    const double padded = 8.0 * static_cast<double>(scene().padded->getTotalSize());
    const double map = 8.0 * static_cast<double>(scene().map->getTotalSize());
    return (static_cast<double>(workers) + 3.0) * padded + 0.5 * map;
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
        m_pattern = static_cast<PlainScanWorker&>(worker).scan().makePattern(density);
    });
    return density;
}
