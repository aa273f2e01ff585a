// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_LOCALSCANMETHOD_H
#define SELVANE_SEARCH_LOCALSCANMETHOD_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "CrossCorrelation/DensityTable.h"
#include "CrossCorrelation/LocalCorrelator.h"
#include "CrossCorrelation/ScanMap.h"
#include "Search/ScanMethod.h"

/// The local correlation of the rotated map, which comes filtered by a Laplacian, with the filtered density
/// of a model that stays. A worker has two sets: that of the local score and that of the overlap, for where
/// one of them is misled the other need not be. The filter of the scene is not asked for.
/// @tparam Real  of BasicLocalScan: float takes half the memory of double, and its candidates are those of
///               double in the same order, but where two scores differ by no more than rounding
template <class Real>
class BasicLocalScanMethod : public ScanMethod {
public:
    /// @param floor  of LocalCorrelator
    BasicLocalScanMethod(SearchScene scene, double floor) : ScanMethod(std::move(scene)), m_floor(floor) {}

    double bytesNeeded(std::size_t workers, double kept, double rotations) const override;
    std::size_t setsPerWorker() const override { return 2; }
    std::size_t modelCount(std::size_t) const override { return 2; }
    std::unique_ptr<ScanWorker> makeWorker(std::vector<double>& buffer) override;
    bool usesBuffer() const override { return false; }
    std::shared_ptr<const ElectronDensity> makePattern(ScanWorker& worker) override;
    void releaseWorkers(std::vector<std::unique_ptr<ScanWorker>>& workers) override;
    void complete(HexaustFlexibleFitConformation& pose) override;
    bool refine(HexaustFlexibleFitConformation& pose) override;

private:
    double m_floor;
    std::unique_ptr<const ScanMap> m_map;
    std::once_flag m_patternMade;
    std::shared_ptr<const BasicLocalSpectra<Real>> m_pattern;
    std::shared_ptr<const ElectronDensity> m_density; ///< of the pattern; outlives it
    DensityTable m_derivatives;                       ///< of the density, made by the first pose completed
    std::once_flag m_derivativesMade;
};

extern template class BasicLocalScanMethod<double>;
extern template class BasicLocalScanMethod<float>;

using LocalScanMethod = BasicLocalScanMethod<double>;
using SingleLocalScanMethod = BasicLocalScanMethod<float>;

#endif
