// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTORHEXAUST_H
#define SELVANE_APP_VANTORHEXAUST_H

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "Search/CheckpointFile.h"
#include "Search/ScanMethod.h"
#include "app/Vantor.h"

class ElectronDensity;
class RecoverableScan;
class ThirdOrderCrossCorrelation;

/// The exhaustive search: every rotation of the sampling, every translation at once, and for the poses that
/// stay in the end a local quadratic model of the score.
///
/// Stages over the library of the search: a ScanMethod, plain or of multistep, and per worker a ScanWorker
/// and a bounded set, which nobody else touches during the scan. The sets are merged once the workers have
/// been joined.
class VantorHexaust : public Vantor {
public:
    VantorHexaust(int argc, char** argv, int width);
    ~VantorHexaust() override;

    void initThreaded() override;
    unsigned long getNSolutions() override;
    unsigned long getNClusteres() override;
    void initCrossCorrelation(bool perThread) override;
    void threadedZeroPadd(unsigned long threadId) override;
    void threadedInitCrossCorrelation(unsigned long threadId) override;
    void refineTopConformation(unsigned long threadId, unsigned long solution) override;
    void clusterSolutions() override;
    void computeCrossCorrelation() override;
    void threadedSetEulerAngles(const std::array<double, 3>& angles, unsigned long threadId) override;
    void threadedComputeCrossCorrelation(unsigned long threadId) override;
    void threadedGetTopConformationsOpt(unsigned long threadId) override;
    void mergeConformationOpt() override;

    /// Moves the worker's model to where the soft maximum of this rotation's correlation is best nearby: a
    /// trust-region solve from x = 0 with the radius of initThreadedRefineTopConformations().
    /// @throws std::domain_error if the worker has no oracle
    void initTweenDof(unsigned long threadId);

    /// Where a checkpoint of the scan lies.
    std::string getCheckpointPath() const;

    /// What a checkpoint of this scan belongs to. Follows zeroPadd().
    checkpoint::Identity checkpointIdentity() const;

    /// Gives the workers' sets to the checkpoints; with the switch resume, filled from one, or the run ends
    /// if that can't be. Follows zeroPadd().
    void resumeScan(RecoverableScan& recovery);

    std::array<double, 3> getConformationTau(unsigned long solution) const override;
    std::array<double, 3> getConformationAngle(unsigned long solution) const override;
    const std::array<double, 3>& getConformationDTau(unsigned long solution) const override;
    cMatrix33 getConformationRotation(unsigned long solution) const override;
    arma::Col<double> getConformationIRotation(unsigned long solution) const override;
    std::shared_ptr<const cGrid> getConformationGrid(unsigned long solution) const override;
    arma::Col<double> getConformationEta(unsigned long solution) const override;
    double getConformationScore(unsigned long solution) const override;
    double getConformationFlexScore(unsigned long solution) const override;

protected:
    double estimateScanBytes() override;
    double estimateAddressSpace() override;

    std::unique_ptr<ThirdOrderCrossCorrelation> m_ccf; ///< of the serial path; null in every run
    std::vector<LimitedSizeSet<HexaustFlexibleFitConformation>> m_localTopConformations;
    std::vector<HexaustFlexibleFitConformation> m_topConformations;

private:
    void checkWorkerCount() const;
    ScanMethod& method();
    void dumpPattern(const ElectronDensity& density);
    void tellNoPoses() const;

    std::unique_ptr<ScanMethod> m_method; ///< once the grids are laid
    std::vector<std::unique_ptr<ScanWorker>> m_workers;
    std::vector<std::vector<HexaustFlexibleFitConformation>>
        m_localConformations; ///< only its length is read
};

#endif
