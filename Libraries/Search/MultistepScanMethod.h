// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_MULTISTEPSCANMETHOD_H
#define SELVANE_SEARCH_MULTISTEPSCANMETHOD_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "Search/ScanMethod.h"

class CrossCorrelationOracle;

/// Before the scores of a rotation are taken, each worker moves a model of its own to where the soft maximum
/// of the correlation is best nearby, within the trust radius. Candidates carry that state and the
/// derivatives there.
class MultistepScanMethod : public ScanMethod {
public:
    using ScanMethod::ScanMethod;

    double bytesNeeded(std::size_t workers, double kept, double rotations) const override;
    std::size_t modelCount(std::size_t workers) const override { return 2 * workers; }
    std::unique_ptr<ScanWorker> makeWorker(std::vector<double>& buffer) override;
    bool usesBuffer() const override { return true; }
    std::shared_ptr<const ElectronDensity> makePattern(ScanWorker& worker) override;
    void complete(HexaustFlexibleFitConformation&) override {}

private:
    std::once_flag m_patternMade;
};

/// A worker of it.
class MultistepScanWorker : public ScanWorker {
public:
    /// @param scene   of the method
    /// @param buffer  as in ScanMethod::makeWorker; both must stay
    MultistepScanWorker(const SearchScene& scene, std::vector<double>& buffer);
    ~MultistepScanWorker() override;

    void rotate(const Rotation& angles) override;
    void score() override;
    void offer(CandidateSet& set) override;

    /// Moves the model to the best nearby state at the present rotation, by a trust-region solve from where
    /// it was read.
    void moveModel();

    /// Takes the model as it was read.
    void makePattern();
    std::shared_ptr<const ElectronDensity> density() const;

private:
    const SearchScene& m_scene;
    std::vector<double>& m_buffer;
    std::shared_ptr<CrossCorrelationOracle> m_oracle;
    Rotation m_angles{};
};

#endif
