// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_EXHAUSTIVESEARCH_H
#define SELVANE_SEARCH_EXHAUSTIVESEARCH_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "Math/cGrid.h"
#include "PDB/cPDBAtom.h"
#include "Search/FitSettings.h"
#include "Search/MapFrame.h"
#include "Search/PoseRecord.h"
#include "Search/ScanMethod.h"
#include "Search/SearchObserver.h"
#include "Search/TrustRegion.h"

/// A map to search in: a value per node, z fastest, and where the nodes stand.
struct SearchMap {
    std::vector<double> values;
    cGrid grid;
};

/// A model to search for, as loadFromPDB() gives it.
struct SearchModel {
    std::vector<cPDBAtom> atoms;
    std::vector<double> masses; ///< dalton, one per atom
    std::vector<int> blockIds;  ///< rigid block of each atom; read with modes only
};

/// The whole search in one object: every rotation of a list, every translation at once, the best poses
/// merged, clustered if asked, and moved off the lattice. It reads no files, prints nothing and ends no
/// process; any number of them can be made, one after another or side by side.
///
///     ExhaustiveSearch search(map, model, settings);
///     const std::vector<PoseRecord> poses = search.run();
///     const PoseMove best = search.frame().place(poses.front());
///
/// A process that does a share of a larger search calls scan() for its workers, and one of them finish() with
/// the sets of all, in the order of the workers.
class ExhaustiveSearch {
public:
    /// Lays the grids and computes the modes, if the settings ask for some.
    /// @throws SettingError, std::invalid_argument for a map or a model that no search can be made with,
    ///         std::length_error for grids beyond 2^31 nodes
    ExhaustiveSearch(SearchMap map, SearchModel model, FitSettings settings);
    ExhaustiveSearch(const ExhaustiveSearch&) = delete;
    ExhaustiveSearch& operator=(const ExhaustiveSearch&) = delete;
    ~ExhaustiveSearch();

    /// The rotations of the sampling for the step of the settings.
    std::vector<Rotation> rotations() const;

    /// All of it, over rotations() and on settings.workers threads.
    /// @return the poses, refined, best score of the scan first; with FitSettings::score Local those of the
    ///         local score and behind them those of the overlap, each best first and as many as the settings
    ///         ask for, so that a pose may be in both
    /// @throws SearchCancelled, and what a worker throws
    std::vector<PoseRecord> run(SearchObserver* observer = nullptr);

    /// Scores the shares of some workers among all, each on a thread of its own.
    /// @param first, here  the workers of this call: first, ..., first + here - 1
    /// @param all          workers that the list is dealt to
    /// @return their sets, in order; ScanMethod::setsPerWorker() of each, which is 1 but for local scores
    /// @throws as run()
    std::vector<CandidateSet> scan(const std::vector<Rotation>& rotations, std::size_t first,
                                   std::size_t here, std::size_t all, SearchObserver* observer = nullptr);

    /// Merges the sets of all workers, clusters and refines.
    std::vector<PoseRecord> finish(std::vector<CandidateSet> sets, SearchObserver* observer = nullptr);

    /// What a pose means.
    const MapFrame& frame() const { return m_frame; }
    /// As given, with what depends on the input filled in.
    const FitSettings& settings() const { return m_settings; }
    /// Displacements of the atoms by the modes of a pose, x, y, z atom by atom; zeros without modes.
    std::vector<double> displacements(const PoseRecord& pose) const;
    /// Bytes that a scan of so many workers takes beyond the inputs.
    double bytesNeeded(std::size_t workers) const;

private:
    SearchScene scene() const;
    std::vector<HexaustFlexibleFitConformation> bestOf(std::vector<CandidateSet> sets);

    SearchMap m_map;
    SearchModel m_model;
    std::vector<std::array<double, 3>> m_positions;
    FitSettings m_settings;
    SearchGrids m_grids;
    std::shared_ptr<NormalModeEngine> m_modes;
    TrustRegion m_trustRegion;
    double m_trustRadius;
    MapFrame m_frame;
    std::unique_ptr<ScanMethod> m_method;
};

#endif
