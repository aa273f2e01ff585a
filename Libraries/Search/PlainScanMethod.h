// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_PLAINSCANMETHOD_H
#define SELVANE_SEARCH_PLAINSCANMETHOD_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "CrossCorrelation/DensityTable.h"
#include "CrossCorrelation/RotationScan.h"
#include "CrossCorrelation/ScanMap.h"
#include "Search/ScanMethod.h"

/// The overlap of the rotated map with a model that stays: one pattern serves all workers, and candidates
/// come without derivatives.
class PlainScanMethod : public ScanMethod {
public:
    using ScanMethod::ScanMethod;

    double bytesNeeded(std::size_t workers, double kept, double rotations) const override;
    std::size_t modelCount(std::size_t) const override { return 2; }
    std::unique_ptr<ScanWorker> makeWorker(std::vector<double>& buffer) override;
    bool usesBuffer() const override { return false; }
    std::shared_ptr<const ElectronDensity> makePattern(ScanWorker& worker) override;
    void releaseWorkers(std::vector<std::unique_ptr<ScanWorker>>& workers) override;
    void keepFor(const std::vector<HexaustFlexibleFitConformation>& poses) override;
    void complete(HexaustFlexibleFitConformation& pose) override;

private:
    fccf::SigmaFilter filterOf(const Rotation& angles) const;

    std::unique_ptr<const ScanMap> m_map;
    std::once_flag m_patternMade;
    std::shared_ptr<const ScanPattern> m_pattern;
    std::shared_ptr<const ElectronDensity> m_density;    ///< of the pattern; outlives it
    std::vector<RotationScan::Filters> m_workersFilters; ///< between the end of the workers and the merge
    RotationScan::Filters m_filters;                     ///< of the poses' rotations
    DensityTable m_derivatives;                          ///< of the density, made by the first pose completed
    std::once_flag m_derivativesMade;
};

#endif
