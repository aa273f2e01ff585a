// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_LOCALSCAN_H
#define SELVANE_CROSSCORRELATION_LOCALSCAN_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include <armadillo>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/LocalCorrelator.h"
#include "CrossCorrelation/MapRotator.h"
#include "CrossCorrelation/ScanMap.h"

/// What a local scan looks for.
struct LocalPattern {
    std::vector<double> weights; ///< P' of LocalScan, a value per node: 0 off the mask
    std::vector<double> mask;    ///< m of LocalScan, 0 or 1 per node
};

/// The density of a model where it is above a part of its maximum, the mask, and there its negative Laplacian
/// less its mean, scaled to norm 1. A Laplacian that is constant in the mask gives weights of 0, a density
/// that is nowhere above 0 an empty mask.
/// @param density  a value per node of the grid, beyond whose faces it goes on cyclically as the correlation
///                 does
/// @param level    of the mask, as a part of the maximum
/// @throws std::length_error for a density of another size
LocalPattern makeLocalPattern(const std::vector<double>& density, const cGrid& grid, double level);

/// The negative Laplacian, per square angstrom, by central differences of sixth order, of a field that is
/// cyclic in the grid.
/// @throws std::length_error for a field of another size
std::vector<double> cyclicNegativeLaplacian(const std::vector<double>& field, const cGrid& grid);

/// The step of a scan by the local correlation of Laplacian-filtered fields, beside RotationScan, for a model
/// that stays and a map that turns. The map comes filtered; the model's density is filtered here. Either
/// field then tells of edges rather than of mass, and the correlation within the model's mask asks for
/// nothing of what stands around it, so that one chain of many is found.
///
/// Scores are those of LocalCorrelator on the rotated map, divided by the map's norm about its mean before
/// the rotation: the local score and the overlap, both of which count in no unit and grow with the fit up to
/// about
/// 1. A map of one value has none, so all are 0. Values below the mean count like those above, so the map
/// goes through no fccf::SigmaFilter.
///
/// Used by one thread at a time.
/// @tparam Real  double or float, of the fields that are transformed. Float takes half the memory and wants a
///               map of ScanMap::Singles::Rounded. Scores then have the errors that LocalCorrelator tells,
///               with u = 2^-24 (24 + log2 N) for the samples of the map, too.
template <class Real>
class BasicLocalScan {
public:
    using Spectra = BasicLocalSpectra<Real>;
    using Set = LimitedSizeSet<HexaustFlexibleFitConformation>;

    /// The mask of a model ends where its density falls to this part of its maximum.
    static constexpr double maskLevel = 0.1;

    /// @param map    not owned, must stay
    /// @param grid   of the correlation, no smaller than the map's on any axis; shared by the candidates
    /// @param floor  of LocalCorrelator
    /// @throws std::length_error if the map is larger than the grid or hasn't a value per node;
    ///         std::invalid_argument as LocalCorrelator
    BasicLocalScan(const ScanMap& map, std::shared_ptr<const cGrid> grid, double floor);

    /// Spectra for all scans on the same grid. What this one correlated before is lost.
    std::shared_ptr<const Spectra> makePattern(const ElectronDensity& density);

    /// Takes up a rotation of the map, angles in radians.
    void rotate(const std::array<double, 3>& eulerAngles);

    /// Correlates the map, as rotated last, with the pattern at every translation.
    /// @throws std::logic_error unless the map was rotated since it was correlated last
    void correlate(const Spectra& pattern);

    /// Offers every voxel whose local score is above ElectronDensity::EPSILON to one set, and every one whose
    /// overlap is to another, in flat order, once. Candidates come without derivatives.
    /// @param byOverlap  may be null
    /// @param modes      amplitudes of a candidate, all 0
    /// @throws std::logic_error unless the map was correlated since its candidates were offered last
    void offer(Set& byScore, Set* byOverlap, std::size_t modes);

    /// max V of the rotation offered last, as LocalCorrelator has it.
    double largestVariance() const { return m_correlator.largestVariance(); }

private:
    enum class State { Empty, Rotated, Correlated };

    std::shared_ptr<const cGrid> m_grid;
    MapRotator m_rotator;
    BasicLocalCorrelator<Real> m_correlator;
    double m_factor; ///< 1 over the norm of the map
    State m_state = State::Empty;
    std::array<double, 3> m_eulerAngles{};
};

extern template class BasicLocalScan<double>;
extern template class BasicLocalScan<float>;

using LocalScan = BasicLocalScan<double>;
using SingleLocalScan = BasicLocalScan<float>;

#endif
