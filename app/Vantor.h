// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTOR_H
#define SELVANE_APP_VANTOR_H

#include <array>
#include <atomic>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <armadillo>

#include "DensityReader/cDensityMapCCP4.h"
#include "IO/cInfo.h"
#include "Math/cGrid.h"
#include "Math/cMatrix33.h"
#include "PDB/cPDBAtom.h"
#include "Search/FitSettings.h"

class FittingWorkflow;
class NormalModeEngine;
class ResultFile;
class System;
class cAtomGrid;
class cSequentialTimer;
class MapFrame;
struct PoseRecord;
struct SearchGrids;

/// A fit: the input, the grids, the options, the report, and the stages that don't depend on the kind of
/// search.
///
/// main() calls the stages in a fixed order; each leaves its result in a member. Only what the parallel
/// stages write is kept per worker: a rotation and a padded copy of the map. Everything else is read-only
/// once its stage is over. A stage that finds its input unusable ends the run through fail().
class Vantor {
public:
    /// Parses the command line, makes the output directory. Prints nothing.
    /// @param width of the report's lines
    Vantor(int argc, char** argv, int width);

    /// Appends the record of the run to log.txt in the output directory, or tells that it cannot be written.
    virtual ~Vantor();
    Vantor(const Vantor&) = delete;
    Vantor& operator=(const Vantor&) = delete;

    /// Sizes the per-worker members.
    virtual void initThreaded() = 0;

    /// Number of poses written to a solution file.
    virtual unsigned long getNSolutions() = 0;

    /// Number of poses refined in a clustered run.
    virtual unsigned long getNClusteres() = 0;

    /// Makes the correlations: one per worker, or the single one of the serial path.
    virtual void initCrossCorrelation(bool perThread) = 0;
    virtual void threadedInitCrossCorrelation(unsigned long threadId) = 0;

    /// Moves pose number `solution` off the lattice by its local quadratic model.
    virtual void refineTopConformation(unsigned long threadId, unsigned long solution) = 0;
    virtual void clusterSolutions() = 0;
    virtual void computeCrossCorrelation() = 0;
    virtual void threadedComputeCrossCorrelation(unsigned long threadId) = 0;
    virtual void threadedGetTopConformationsOpt(unsigned long threadId) = 0;
    virtual void mergeConformationOpt() = 0;

    /// Grid translation of a pose in reverse order: element 0 is along z, element 2 along x.
    virtual std::array<double, 3> getConformationTau(unsigned long solution) const = 0;

    /// Angles of a pose in reverse order: (gamma, beta, alpha).
    virtual std::array<double, 3> getConformationAngle(unsigned long solution) const = 0;

    /// The increments of a pose's translation, of the pose itself: they last and change as it does.
    virtual const std::array<double, 3>& getConformationDTau(unsigned long solution) const = 0;
    virtual cMatrix33 getConformationRotation(unsigned long solution) const = 0;

    /// The small rotation of a pose as a vector (dalpha, dbeta, dgamma), in radians.
    virtual arma::Col<double> getConformationIRotation(unsigned long solution) const = 0;
    virtual std::shared_ptr<const cGrid> getConformationGrid(unsigned long solution) const = 0;
    virtual arma::Col<double> getConformationEta(unsigned long solution) const = 0;
    virtual double getConformationScore(unsigned long solution) const = 0;
    virtual double getConformationFlexScore(unsigned long solution) const = 0;

    unsigned long getNThread() const { return m_nThread; }
    cInfo& info() { return m_info; }
    const FitSettings& settings() const { return m_settings; }

    /// Share of the refined poses whose local problem wasn't concave, in percent of `tasks`.
    double nonConvexPercentage(unsigned long tasks) const;

    /// Says so if the refinement has left all of the `tasks` poses where they were, and why.
    void tellUnmovedPoses(unsigned long tasks) const;

    /// Whether some result file could not be written completely, or had no room to begin with.
    bool hasIncompleteFiles() const { return m_incompleteFiles; }

    /// Whether some result file is not there, for whatever reason.
    bool hasMissingFiles() const { return m_missingFiles; }

    void loadEdm();
    void loadPdb();
    void buildHessian();
    /// Computes the modes and sizes m_eta.
    void performNMA();
    void computeStructureEdm(cSequentialTimer& timer);
    void zeroPadd();
    /// Fills the worker's own padded copy of the map.
    virtual void threadedZeroPadd(unsigned long threadId);

    /// The rotations of the scan, each as the three angles of cMatrix33::rotationXYZ; the identity among
    /// them.
    std::vector<std::array<double, 3>> getEulerAngles();

    /// Takes up a rotation of the map, here into the worker's padded buffer.
    virtual void threadedSetEulerAngles(const std::array<double, 3>& angles, unsigned long threadId);

    /// The same for the serial path.
    void setEulerAngles(const std::array<double, 3>& angles);

    /// Sets the trust radius of the local solves from cell, rotation step and maxrmsd, and clears the count
    /// of non-concave problems.
    void initThreadedRefineTopConformations();

    /// Tries whether the output directory admits files, and tells at once if not: the results come hours
    /// later.
    void tryOutputDirectory() const;

    /// From now on the files of saveTopSolution() stay hidden until placeSolutions().
    void holdSolutions();

    /// Writes the poses as one MODEL each to odir/name.pdb, and the input as odir/original.pdb and
    /// odir/edm.map.
    void saveTopSolution(const std::string& name);

    /// Puts the files of saveTopSolution() in place, all of them or none: of two runs in one directory no
    /// file of one stands beside a file of the other. If one is missing, the others stay out only where
    /// earlier ones stand.
    void placeSolutions();

    /// Refines the input model as it stands in the map, in all degrees of freedom and without any scan, and
    /// writes it to odir/Refined-<name of the input>. A library operation: no stage of a run calls it.
    ///
    /// It follows loadEdm(), loadPdb(), buildHessian(), performNMA() and, for the radius,
    /// initThreadedRefineTopConformations(), without which the model stays where it is. It filters
    /// m_edmValues in place and replaces m_structureGrid.
    ///
    /// The mean product of map and simulated density is raised by BfgsTrustRegionSolver, until the squared
    /// gradient has come down to 1e-11 of itself. Three limits to know:
    /// - Node (0, 0, 0) of the map is taken to stand at m_cellDim, which is true with start words (1, 1, 1).
    ///   In any other map the result lies off by (1 - start) cells along each axis, if model and map overlap
    ///   at all.
    /// - A mean over voxels depends on the map's scale and size. Where the squared gradient is 1e-11 or less
    ///   to start with, the solver stops after one step: minus the gradient, so too short to matter.
    /// - A product grows as atoms crowd into dense places, so that modes tend to contract a model. The radius
    ///   bounds single steps and not their sum.
    void refineInputPDB(cSequentialTimer& timer);

protected:
    /// Bytes that the estimated run needs beyond what is held already; for the check before the buffers are
    /// made.
    virtual double estimateScanBytes() = 0;
    /// The same in address space, what the threads and the refinement take up among it.
    virtual double estimateAddressSpace() = 0;
    /// Number of rotations of the sampling, before the identity is added.
    double rotationCount() const;
    void fillPaddedMap(std::vector<double>& target) const;
    void noteMovedPose() { m_hasMovedPoses.store(true, std::memory_order_relaxed); }
    /// Where poses stand. Follows computeStructureEdm().
    MapFrame mapFrame() const;
    void countNonConvex() { m_nonConvexCount.fetch_add(1, std::memory_order_relaxed); }
    /// Lets `write` fill a file that appears under its name only when complete. Both failures are told on the
    /// standard error stream and make hasMissingFiles(). One after the opening, or for want of room, leaves
    /// the earlier file and makes hasIncompleteFiles().
    /// @return whether the file could be opened
    bool writeResult(const std::string& path, const std::function<bool(std::FILE*)>& write);
    /// The file, open; null if that can't be, which is told.
    std::unique_ptr<ResultFile> openResult(const std::string& path);

    double m_sigma = 0.0;
    std::vector<double> m_edmValues;
    std::vector<cPDBAtom> m_atoms;
    std::vector<int> m_blockIds;
    std::vector<double> m_masses;
    double m_totalMass = 0.0;
    std::vector<std::array<double, 3>> m_positions;
    std::vector<double> m_paddedEdmValues; ///< filled by the serial path only
    std::shared_ptr<System> m_system;      ///< null in a run without modes
    std::shared_ptr<NormalModeEngine> m_nma;
    cDensityMapCCP4 m_edm;
    std::shared_ptr<cGrid> m_structureGrid;
    std::shared_ptr<cGrid> m_paddedStructureGrid;
    cGrid m_paddedGrid;
    std::array<double, 3> m_eulerAngles{0.0, 0.0, 0.0};
    arma::Col<double> m_eta;
    std::vector<std::array<double, 3>> m_localEulerAngles;
    std::vector<std::vector<double>> m_localEdmValues;
    double m_trustNorm[4] = {0.0, 0.0, 0.0, 0.0}; ///< radius, and its translation, rotation and mode shares
    std::atomic<unsigned long> m_nonConvexCount{0};
    std::atomic<bool> m_hasMovedPoses{false};
    unsigned long m_nThread = 0;
    std::unique_ptr<FittingWorkflow> m_workflow; ///< the command line, for the log alone
    FitSettings m_settings;
    cInfo m_info;

private:
    void checkMap() const;
    void tellFrameShift() const;
    void checkModel() const;
    void checkTrustRadius() const;
    void checkLonelyAtoms();
    void checkSprings(const cAtomGrid& grid);
    void tellCoincidentAtoms() const;
    void tellTooManyModes() const;
    void checkResources();
    void tellCutModel(const SearchGrids& grids) const;
    void tellLongScan() const;
    void tellCoarseStep() const;
    struct SolutionFile;
    PoseRecord poseRecord(unsigned long solution) const;
    void writeRemarks(std::FILE* file, unsigned long solution, const PoseRecord& pose,
                      const cVector3& shift) const;
    bool writePoses(std::FILE* file);
    bool writePose(SolutionFile& output, unsigned long solution) const;
    void writeInputCopies();
    void writeRefinedInput(const arma::Col<double>& x, const cVector3& center);

    void tellIncomplete(const std::string& path);
    bool wouldMixRuns() const;

    std::vector<std::unique_ptr<ResultFile>> m_solutions; ///< complete, not yet in place
    std::vector<std::string> m_missingSolutions;          ///< paths of those that are not complete
    bool m_holdsSolutions = false;
    bool m_incompleteFiles = false;
    bool m_missingFiles = false;
};

#endif
