// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTORHEXAUST_H
#define SELVANE_APP_VANTORHEXAUST_H

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "CrossCorrelation/DensityTable.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/SigmaFilter.h"
#include "app/Checkpoint.h"
#include "app/Vantor.h"

class CrossCorrelationOracle;
class ElectronDensity;
class RotationScan;
class ScanMap;
class ThirdOrderCrossCorrelation;
struct ScanPattern;

/// The exhaustive search: every rotation of the sampling, every translation at once, and for the poses that
/// stay in the end a local quadratic model of the score.
///
/// During the scan worker i writes only its own rotation, scan step and bounded set; the pattern that all
/// share is immutable. The sets are merged once the workers have been joined. The derivatives of the poses
/// are taken when they are refined, since hardly any candidate of the scan lives to see that.
///
/// With the option multistep each worker holds an oracle and a padded buffer of the map in place of the scan
/// step, and moves its own model to the best nearby state at every rotation before the correlations are
/// taken. Derivatives then belong to that state and are taken at once.
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

    /// A worker's part of a checkpoint.
    /// @param done  rotations of its range that the worker has done
    std::string encodeWorker(unsigned long threadId, unsigned long done) const;

    /// With the switch resume, fills the workers' sets from the checkpoint, or ends the run if that can't be.
    /// Follows zeroPadd().
    /// @return per worker, the rotations of its range that are done already
    std::vector<unsigned long> resumeScan();

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
    double estimateScanBytes() const override;
    double estimateAddressSpace() const override;

    std::unique_ptr<ThirdOrderCrossCorrelation> m_ccf; ///< of the serial path; null in every run
    std::vector<LimitedSizeSet<HexaustFlexibleFitConformation>> m_localTopConformations;
    std::vector<HexaustFlexibleFitConformation> m_topConformations;

private:
    void checkWorkerCount() const;
    void evaluatePattern(RotationScan& scan);
    void completePose(HexaustFlexibleFitConformation& pose);
    fccf::SigmaFilter filterOf(const std::array<double, 3>& angles) const;
    std::shared_ptr<const ElectronDensity> modelDensity() const;
    void dumpPattern(const ElectronDensity& density);
    cVector3 modelRotationCenter() const;
    bool isMultistep() const;
    std::shared_ptr<CrossCorrelationOracle> makeOracle(double* target) const;
    void initLocalOracle(unsigned long threadId);
    void releaseOracles();
    using Filters = std::map<std::array<double, 3>, fccf::SigmaFilter>;
    void keepFilters(const std::vector<Filters>& filters);
    void tellNoPoses() const;

    std::unique_ptr<const ScanMap> m_scanMap;                            ///< without multistep
    std::vector<std::unique_ptr<RotationScan>> m_local_ccf;              ///< without multistep
    std::vector<std::shared_ptr<CrossCorrelationOracle>> m_localOracles; ///< with multistep
    std::vector<std::vector<HexaustFlexibleFitConformation>>
        m_localConformations; ///< only its length is read
    std::shared_ptr<const ScanPattern> m_pattern;
    std::once_flag m_patternMade;
    std::shared_ptr<const ElectronDensity> m_patternDensity; ///< outlives the scan
    Filters m_filters;                                       ///< of the poses' rotations, by their angles
    DensityTable m_derivatives; ///< of the pattern, made by the first pose refined
    std::once_flag m_derivativesMade;
};

#endif
