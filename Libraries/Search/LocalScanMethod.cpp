// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/LocalScanMethod.h"

#include <algorithm>
#include <type_traits>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/LocalScan.h"
#include "CrossCorrelation/RotatedNodes.h"
#include "CrossCorrelation/RotationScan.h"
#include "NMAEngine/NormalModeEngine.h"

namespace {

template <class Real>
class LocalScanWorker : public ScanWorker {
public:
    LocalScanWorker(const SearchScene& scene, const ScanMap& map, double floor,
                    const std::shared_ptr<const BasicLocalSpectra<Real>>& pattern)
        : m_scan(map, scene.paddedStructure, floor), m_modes(scene.modes->m_nModes), m_pattern(pattern) {}

    void rotate(const Rotation& angles) override { m_scan.rotate(angles); }
    void score() override { m_scan.correlate(*m_pattern); }
    void offer(CandidateSet& set) override { m_scan.offer(set, nullptr, m_modes); }
    void offerAll(CandidateSet* sets) override { m_scan.offer(sets[0], &sets[1], m_modes); }

    BasicLocalScan<Real>& scan() { return m_scan; }

private:
    BasicLocalScan<Real> m_scan;
    std::size_t m_modes;
    const std::shared_ptr<const BasicLocalSpectra<Real>>& m_pattern; ///< the method's, made after this
};

} // namespace

/// Three spectra per worker; shared two of the pattern and the map in single precision. Before the scan the
/// model's density, its filtered form and its mask, and then the latter two beside the pattern's spectra.
template <class Real>
double BasicLocalScanMethod<Real>::bytesNeeded(std::size_t workers, double, double) const {
    const auto nodes = static_cast<double>(scene().padded->getTotalSize());
    const double field = nodes * sizeof(double);
    const double spectrum = nodes * sizeof(Real);
    const double pattern = std::max(3.0 * field, 2.0 * field + 2.0 * spectrum);
    const double map = static_cast<double>(scene().map->getTotalSize()) * sizeof(float);
    return 3.0 * static_cast<double>(workers) * spectrum + pattern + map;
}

template <class Real>
std::unique_ptr<ScanWorker> BasicLocalScanMethod<Real>::makeWorker(std::vector<double>&) {
    if (!m_map) {
        constexpr auto singles =
            std::is_same_v<Real, float> ? ScanMap::Singles::Rounded : ScanMap::Singles::IfExact;
        m_map = std::make_unique<ScanMap>(*scene().mapValues, *scene().map, singles);
    }
    return std::make_unique<LocalScanWorker<Real>>(scene(), *m_map, m_floor, m_pattern);
}

template <class Real>
std::shared_ptr<const ElectronDensity> BasicLocalScanMethod<Real>::makePattern(ScanWorker& worker) {
    std::shared_ptr<const ElectronDensity> density;
    std::call_once(m_patternMade, [&] {
        density = scene().modelDensity();
        m_density = density;
        m_pattern = static_cast<LocalScanWorker<Real>&>(worker).scan().makePattern(*density);
    });
    return density;
}

template <class Real>
void BasicLocalScanMethod<Real>::releaseWorkers(std::vector<std::unique_ptr<ScanWorker>>& workers) {
    workers.clear();
    m_pattern.reset();
    m_map.reset();
}

// The derivatives are those of the filtered map's overlap with the unfiltered density. To first order it has
// its maximum where the overlap of two filtered fields has it, for a Laplacian moves no centre, and it is the
// smoother one.
template <class Real>
void BasicLocalScanMethod<Real>::complete(HexaustFlexibleFitConformation& pose) {
    if (!pose.m_gradient.is_empty()) {
        return;
    }
    std::call_once(m_derivativesMade, [&] {
        // Who merges the sets of others need not have scanned.
        m_derivatives = (m_density ? m_density : scene().modelDensity())->tabulate();
    });
    const Rotation angles{pose.m_alpha, pose.m_beta, pose.m_gamma};
    const RotatedNodes map(*scene().mapValues, *scene().map, angles, fccf::SigmaFilter::ofNothing());
    completeCandidate(m_derivatives, map, pose);
}

/// The gain by that model is in units of another overlap, so that it cannot be added to the scan's score.
template <class Real>
bool BasicLocalScanMethod<Real>::refine(HexaustFlexibleFitConformation& pose) {
    const bool isConcave = ScanMethod::refine(pose);
    pose.m_flexScore = pose.m_rigidScore;
    return isConcave;
}

template class BasicLocalScanMethod<double>;
template class BasicLocalScanMethod<float>;
