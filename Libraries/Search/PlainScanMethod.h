// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_PLAINSCANMETHOD_H
#define SELVANE_SEARCH_PLAINSCANMETHOD_H

#include <memory>
#include <mutex>
#include <vector>

#include "CrossCorrelation/RotationScan.h"
#include "CrossCorrelation/ScanMap.h"
#include "Search/ScanMethod.h"

/// The overlap of the rotated map with a model that stays: one pattern serves all workers, and candidates
/// come without derivatives.
class PlainScanMethod : public ScanMethod {
public:
    using ScanMethod::ScanMethod;

    double bytesNeeded(std::size_t workers) const override;
    std::unique_ptr<ScanWorker> makeWorker(std::vector<double>& buffer) override;
    bool usesBuffer() const override { return false; }
    std::shared_ptr<const ElectronDensity> makePattern(ScanWorker& worker) override;

private:
    std::unique_ptr<const ScanMap> m_map;
    std::once_flag m_patternMade;
    std::shared_ptr<const ScanPattern> m_pattern;
};

#endif
