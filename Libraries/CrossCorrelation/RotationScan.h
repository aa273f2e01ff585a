// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ROTATIONSCAN_H
#define SELVANE_CROSSCORRELATION_ROTATIONSCAN_H

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "CrossCorrelation/DensityTable.h"
#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/MapRotator.h"
#include "CrossCorrelation/RotatedNodes.h"
#include "CrossCorrelation/ScanMap.h"
#include "FFTWrapper/StagedCorrelator.h"

/// What a scan correlates the map with: a model that stays where it is. Immutable and shared by all workers.
struct ScanPattern {
    std::shared_ptr<const ElectronDensity> density;
    dft::ComplexArray spectrum; ///< of the density, by StagedCorrelator::spectrumOf()
};

/// The step of a scan, for a model that stays and a map that turns: rotates the map, correlates it with the
/// model at every translation, and offers the best voxels to a set. Each of its three calls sweeps the grid
/// once or twice, and neither the padded target nor the correlation is ever stored; the rotated map waits in
/// the memory of its own spectrum.
///
/// The scores are those of ThirdOrderCrossCorrelation on the padded map, to rounding:
///   c[s] = (2 pi)^-3 * sum over v of T(v) P(v + s).
/// Candidates come without derivatives; completeCandidate() adds them to those that are wanted in the end.
///
/// Used by one thread at a time.
class RotationScan {
public:
    /// @param map   not owned, must stay
    /// @param grid  of the correlation, no smaller than the map's on any axis; shared by the candidates
    /// @param filterSigmas  of the fccf::SigmaFilter that each rotated map goes through
    /// @throws std::length_error if the map is larger than the grid or hasn't a value per node
    RotationScan(const ScanMap& map, std::shared_ptr<const cGrid> grid, double filterSigmas);

    /// A pattern for all scans on the same grid. What this one correlated before is lost.
    std::shared_ptr<const ScanPattern> makePattern(std::shared_ptr<const ElectronDensity> density);

    /// Takes up a rotation of the map, angles in radians.
    void rotate(const std::array<double, 3>& eulerAngles);

    /// Correlates the map, as rotated last, with the pattern at every translation.
    /// @throws std::logic_error unless the map was rotated since it was correlated last
    void correlate(const ScanPattern& pattern);

    /// Offers every voxel of the correlation that scores above ElectronDensity::EPSILON, in flat order.
    /// @throws std::logic_error if the map was rotated since it was correlated last
    void offer(LimitedSizeSet<HexaustFlexibleFitConformation>& set);

    /// Filters of rotations, by the angles.
    using Filters = std::map<std::array<double, 3>, fccf::SigmaFilter>;

    /// Those of the rotations that the set has a candidate of, as far as this scan offered it. The number of
    /// others that had one before is bounded by the set's limit.
    const Filters& filters() const { return m_filters; }
    Filters takeFilters() { return std::exchange(m_filters, {}); }

private:
    enum class State { Empty, Rotated, Correlated };

    void keepFilter(const LimitedSizeSet<HexaustFlexibleFitConformation>& set);

    std::shared_ptr<const cGrid> m_grid;
    std::size_t m_rowSize; ///< of the map
    MapRotator m_rotator;
    dft::StagedCorrelator m_correlator;
    State m_state = State::Empty;
    std::array<double, 3> m_eulerAngles{};
    fccf::SigmaFilter m_filter{{}, 0.0};
    Filters m_filters;
    arma::Col<double> m_eta; ///< zeros, an amplitude per mode of the pattern
};

/// Gives a candidate of a scan the gradient and the Hessian of its score.
/// @param table  of the pattern's density on the grid of the correlation, with second derivatives
/// @param map    at the candidate's rotation
void completeCandidate(const DensityTable& table, const RotatedNodes& map,
                       HexaustFlexibleFitConformation& candidate);

#endif
