// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTORHEXAUST_H
#define SELVANE_APP_VANTORHEXAUST_H

#include <memory>
#include <mutex>
#include <vector>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "app/Vantor.h"

class CrossCorrelationOracle;
class ElectronDensity;
class ThirdOrderCrossCorrelation;

/// The exhaustive search: every rotation of the sampling, every translation at once, with the third-order
/// correlation.
///
/// During the scan worker i writes only its own rotation, map buffer, correlation and bounded set; the
/// pattern that all correlations share is immutable. The sets are merged once the workers have been joined.
///
/// With the option multistep each worker holds an oracle in place of the plain correlation, and moves its own
/// model to the best nearby state at every rotation before the correlations are taken.
class VantorHexaust : public Vantor {
public:
    VantorHexaust(int argc, char** argv, int width);
    ~VantorHexaust() override;

    void initThreaded() override;
    unsigned long getNSolutions() override;
    unsigned long getNClusteres() override;
    void initCrossCorrelation(bool perThread) override;
    void threadedInitCrossCorrelation(unsigned long threadId) override;
    void refineTopConformation(unsigned long threadId, unsigned long solution) override;
    void clusterSolutions() override;
    void computeCrossCorrelation() override;
    void threadedComputeCrossCorrelation(unsigned long threadId) override;
    void threadedGetTopConformationsOpt(unsigned long threadId) override;
    void mergeConformationOpt() override;

    /// Moves the worker's model to where the soft maximum of this rotation's correlation is best nearby: a
    /// trust-region solve from x = 0 with the radius of initThreadedRefineTopConformations().
    /// @throws std::domain_error if the worker has no oracle
    void initTweenDof(unsigned long threadId);

    std::array<double, 3> getConformationTau(unsigned long solution) const override;
    std::array<double, 3> getConformationAngle(unsigned long solution) const override;
    std::array<double, 3> getConformationDTau(unsigned long solution) const override;
    cMatrix33 getConformationRotation(unsigned long solution) const override;
    arma::Col<double> getConformationIRotation(unsigned long solution) const override;
    std::shared_ptr<const cGrid> getConformationGrid(unsigned long solution) const override;
    arma::Col<double> getConformationEta(unsigned long solution) const override;
    double getConformationScore(unsigned long solution) const override;
    double getConformationFlexScore(unsigned long solution) const override;

protected:
    double estimateScanBytes() const override;

    std::unique_ptr<ThirdOrderCrossCorrelation> m_ccf; ///< of the serial path; null in every run
    std::vector<HexaustFlexibleFitConformation> m_topConformations;

private:
    void checkWorkerCount() const;
    std::unique_ptr<ThirdOrderCrossCorrelation> makeCorrelation(double* target) const;
    void evaluatePattern(ThirdOrderCrossCorrelation& correlation);
    void dumpPattern(const ElectronDensity& density) const;
    cVector3 modelRotationCenter() const;
    bool isMultistep() const;
    ThirdOrderCrossCorrelation& localCorrelation(unsigned long threadId);
    std::shared_ptr<CrossCorrelationOracle> makeOracle(double* target) const;
    void initLocalOracle(unsigned long threadId);
    void releaseOracles();
    void tellNoPoses() const;

    std::vector<std::unique_ptr<ThirdOrderCrossCorrelation>> m_local_ccf;
    std::vector<std::shared_ptr<CrossCorrelationOracle>>
        m_localOracles; ///< with multistep, in place of those
    std::vector<std::vector<HexaustFlexibleFitConformation>>
        m_localConformations; ///< only its length is read
    std::vector<LimitedSizeSet<HexaustFlexibleFitConformation>> m_localTopConformations;
    std::shared_ptr<const struct CorrelationPattern> m_pattern;
    std::once_flag m_patternMade;
};

#endif
