// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ExhaustiveSearch.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <iterator>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "IO/cInfo.h"
#include "IO/reportText.h"
#include "Math/structure.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/cAtomGrid.h"
#include "Search/ConformationCluster.h"
#include "Search/ScanShare.h"
#include "Search/elasticModes.h"

namespace {

using Candidate = HexaustFlexibleFitConformation;

/// A report that nobody sees.
cInfo& silentReport() {
    static cInfo info = [] {
        cInfo made(1);
        made.m_silent = true;
        return made;
    }();
    return info;
}

SearchMap checked(SearchMap map) {
    if (map.values.empty() || map.values.size() != map.grid.getTotalSize()) {
        throw std::invalid_argument("a map of " + std::to_string(map.grid.getTotalSize()) + " nodes has " +
                                    std::to_string(map.values.size()) + " values");
    }
    if (!std::all_of(map.values.begin(), map.values.end(),
                     [](double value) { return std::isfinite(value); })) {
        throw std::invalid_argument("a map has values that are not finite numbers");
    }
    return map;
}

SearchModel checked(SearchModel model) {
    if (model.atoms.empty() || model.masses.size() != model.atoms.size()) {
        throw std::invalid_argument("a model of " + std::to_string(model.atoms.size()) + " atoms has " +
                                    std::to_string(model.masses.size()) + " masses");
    }
    for (std::size_t a = 0; a < model.atoms.size(); ++a) {
        model.atoms[a].m_index = static_cast<int>(a); // by which springs know their ends
    }
    return model;
}

FitSettings resolved(FitSettings settings, const SearchMap& map,
                     const std::vector<std::array<double, 3>>& positions) {
    settings.resolve(map.grid);
    settings.resolve(positions);
    settings.check();
    return settings;
}

SearchGrids layGrids(const SearchMap& map, const std::vector<std::array<double, 3>>& positions,
                     const FitSettings& settings) {
    SearchGrids grids{laySearchGrid(map.grid, positions, settings.sigma.value()), nullptr, cGrid()};
    padSearchGrids(grids, map.grid, settings.padding, silentReport());
    return grids;
}

std::shared_ptr<NormalModeEngine> modesOf(SearchModel& model,
                                          const std::vector<std::array<double, 3>>& positions,
                                          const FitSettings& settings) {
    if (settings.modes == 0) {
        return makeModes(nullptr, positions, model.masses, model.blockIds, 0, silentReport());
    }
    const int count = static_cast<int>(model.atoms.size());
    cAtomGrid cells;
    cells.initPointer(model.atoms.data(), count, nullptr, settings.cutoff);
    std::vector<cPDBAtom*> lonely;
    cells.detectDisconnectedAtoms(model.atoms.data(), count, &lonely);
    if (!lonely.empty()) {
        throw std::invalid_argument("atom " + std::to_string(lonely.front()->m_serial) +
                                    " has no other atom within the cut-off of the elastic network");
    }
    const auto network = makeNetwork(model.atoms, model.masses, cells, settings.stiffness, silentReport());
    return makeModes(network, positions, model.masses, model.blockIds, settings.modes, silentReport());
}

cVector3 centerOf(const std::vector<std::array<double, 3>>& positions) {
    const std::array<double, 3> center = getCenter(positions);
    return cVector3(center[0], center[1], center[2]);
}

/// Threads that share a count of tasks, an observer, and the first exception of any of them.
class Team {
public:
    explicit Team(SearchObserver& observer) : m_observer(observer) {}

    /// Runs work(0), ..., work(size - 1), each on its own thread, and waits for all.
    /// @throws what the first of them threw
    template <class Work>
    void run(std::size_t size, Work&& work) {
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < size; ++i) {
            try {
                threads.emplace_back([&, i] {
                    const ReportSilence silence;
                    attempt([&] { work(i); });
                });
            } catch (const std::system_error&) {
                attempt([&] { work(i); }); // no thread to be had: here, then
            }
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

    /// To be called behind each task.
    /// @throws SearchCancelled
    void taskDone() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_observer.progress(++m_done);
        if (m_stopping || m_observer.isCancelled()) {
            throw SearchCancelled();
        }
    }

private:
    template <class Work>
    void attempt(Work&& work) {
        try {
            work();
        } catch (...) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
            if (!m_failure) {
                m_failure = std::current_exception();
            }
        }
    }

    SearchObserver& m_observer;
    std::mutex m_mutex;
    std::size_t m_done = 0;
    bool m_stopping = false;
    std::exception_ptr m_failure;
};

SearchObserver& orNobody(SearchObserver* observer) {
    static SearchObserver nobody;
    return observer != nullptr ? *observer : nobody;
}

} // namespace

ExhaustiveSearch::ExhaustiveSearch(SearchMap map, SearchModel model, FitSettings settings)
    : m_map(checked(std::move(map)))
    , m_model(checked(std::move(model)))
    , m_positions(pdbAtoms2Positions(m_model.atoms))
    , m_settings(resolved(std::move(settings), m_map, m_positions))
    , m_grids(layGrids(m_map, m_positions, m_settings))
    , m_modes(modesOf(m_model, m_positions, m_settings))
    , m_trustRegion(TrustRegion::of(m_model.atoms,
                                    std::accumulate(m_model.masses.begin(), m_model.masses.end(), 0.0),
                                    m_map.grid.m_cellDim, m_settings))
    , m_trustRadius(m_trustRegion.radius())
    , m_frame(m_map.grid, m_grids.structure->m_box.m_min, centerOf(m_positions))
    , m_method(ScanMethod::choose(scene(), m_settings)) {}

ExhaustiveSearch::~ExhaustiveSearch() = default;

SearchScene ExhaustiveSearch::scene() const {
    return {&m_map.values, &m_map.grid,       &m_grids.padded,         m_grids.paddedStructure, &m_positions,
            m_modes,       *m_settings.sigma, m_settings.filterSigmas, &m_trustRadius};
}

std::vector<Rotation> ExhaustiveSearch::rotations() const {
    return scanRotations(m_settings.step.value());
}

std::vector<PoseRecord> ExhaustiveSearch::run(SearchObserver* observer) {
    const std::size_t workers = m_settings.workers;
    return finish(scan(rotations(), 0, workers, workers, observer), observer);
}

std::vector<CandidateSet> ExhaustiveSearch::scan(const std::vector<Rotation>& rotations, std::size_t first,
                                                 std::size_t here, std::size_t all,
                                                 SearchObserver* observer) {
    const ReportSilence silence;
    // Each scan begins with a method of its own, as the end of one takes the pattern along.
    m_method = ScanMethod::choose(scene(), m_settings);
    std::vector<std::vector<double>> buffers(here);
    std::vector<std::unique_ptr<ScanWorker>> workers;
    std::size_t total = 0;
    for (std::size_t i = 0; i < here; ++i) {
        if (m_method->usesBuffer()) {
            m_method->fillBuffer(buffers[i]);
        }
        workers.push_back(m_method->makeWorker(buffers[i]));
        m_method->makePattern(*workers.back());
        total += ScanShare::of(first + i, all, rotations.size()).count;
    }
    const std::size_t perWorker = m_method->setsPerWorker();
    std::vector<CandidateSet> sets(here * perWorker,
                                   CandidateSet(static_cast<std::size_t>(m_settings.capacity())));
    orNobody(observer).stageBegins("scan", total);
    Team team(orNobody(observer));
    team.run(here, [&](std::size_t i) {
        const ScanShare share = ScanShare::of(first + i, all, rotations.size());
        for (std::size_t k = share.first; k < share.first + share.count; ++k) {
            workers[i]->stepAll(rotations[k], &sets[i * perWorker]);
            team.taskDone();
        }
    });
    m_method->releaseWorkers(workers);
    return sets;
}

std::vector<Candidate> ExhaustiveSearch::bestOf(std::vector<CandidateSet> sets) {
    std::vector<Candidate> poses = mergeCandidates(sets);
    sets.clear();
    m_method->keepFor(poses);
    return m_settings.clustering ? clusterPoses(poses, m_positions, m_frame, m_settings) : poses;
}

std::vector<PoseRecord> ExhaustiveSearch::finish(std::vector<CandidateSet> sets, SearchObserver* observer) {
    const ReportSilence silence;
    if (m_settings.clustering) {
        orNobody(observer).stageBegins("clustering", 0);
    }
    std::vector<Candidate> poses;
    std::vector<std::size_t> scores; // which of them each pose is of
    for (std::size_t score = 0; score < m_method->setsPerWorker(); ++score) {
        std::vector<Candidate> best = bestOf(takeSetsOfScore(sets, m_method->setsPerWorker(), score));
        scores.insert(scores.end(), best.size(), score);
        std::move(best.begin(), best.end(), std::back_inserter(poses));
    }
    sets.clear();
    orNobody(observer).stageBegins("refinement", poses.size());
    std::atomic<std::size_t> next{0};
    Team team(orNobody(observer));
    team.run(m_settings.workers, [&](std::size_t) {
        for (std::size_t k = next++; k < poses.size(); k = next++) {
            m_method->refine(poses[k]);
            team.taskDone();
        }
    });
    std::vector<PoseRecord> records;
    for (std::size_t k = 0; k < poses.size(); ++k) {
        records.push_back(toPoseRecord(poses[k]));
        records.back().scoreKind = scores[k];
    }
    return records;
}

std::vector<double> ExhaustiveSearch::displacements(const PoseRecord& pose) const {
    if (pose.amplitudes.empty()) {
        return std::vector<double>(3 * m_positions.size(), 0.0);
    }
    const arma::Col<double> moved = m_modes->m_modes * arma::Col<double>(pose.amplitudes);
    return std::vector<double>(moved.begin(), moved.end());
}

double ExhaustiveSearch::bytesNeeded(std::size_t workers) const {
    return scanBytes(*m_method, m_settings, workers);
}
