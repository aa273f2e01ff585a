// SPDX-License-Identifier: GPL-3.0-or-later
// What does one rotation of the scan cost, in units of a pair of transforms on the same grid?
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/RotationScan.h"
#include "Math/cGrid.h"
#include "Math/pi.h"
#include "Sampler/cAngularSampler.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"

namespace {

constexpr std::size_t atoms = 3000;
constexpr std::size_t solutions = 1000;
constexpr double stepInDegrees = 90.0;
constexpr double filterSigmas = 0.0;

using Poses = LimitedSizeSet<HexaustFlexibleFitConformation>;

/// Times of one part of the work on this thread's CPU clock, of which the median is reported: the machine may
/// be shared.
class Times {
public:
    template <class Work>
    double measure(Work&& work) {
        const double start = now();
        work();
        m_seconds.push_back(now() - start);
        return m_seconds.back();
    }

    double median() {
        const auto middle = m_seconds.begin() + static_cast<std::ptrdiff_t>(m_seconds.size() / 2);
        std::nth_element(m_seconds.begin(), middle, m_seconds.end());
        return *middle;
    }

private:
    static double now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    }

    std::vector<double> m_seconds;
};

/// What one worker of a scan holds: the map of a model with noise, and its scan step.
class Worker {
public:
    explicit Worker(unsigned int edge)
        : m_model(atoms)
        , m_mapGrid(BenchmarkModel::makeGrid(mapEdge(edge)))
        , m_paddedGrid(std::make_shared<cGrid>(*BenchmarkModel::makeGrid(edge)))
        , m_map(simulateMap())
        , m_scanMap(m_map, *m_mapGrid)
        , m_scan(m_scanMap, m_paddedGrid, filterSigmas)
        , m_density(std::make_shared<ElectronDensity>(m_model.positions.data(), BenchmarkModel::spacing,
                                                      atoms, patternGrid(), *m_model.engine,
                                                      arma::Col<double>(), ElectronDensity::EPSILON))
        , m_pattern(m_scan.makePattern(m_density)) {}

    void rotate(const std::array<double, 3>& angles) { m_scan.rotate(angles); }
    void correlate() { m_scan.correlate(*m_pattern); }
    void offer(Poses& poses) { m_scan.offer(poses); }

    /// Whether the scores of some candidates are the direct sums over the model's nodes.
    bool areDirectSums(const Poses& poses) const {
        const MapRotator rotator(m_map, *m_mapGrid, filterSigmas);
        std::vector<double> density(m_paddedGrid->getTotalSize(), 0.0);
        m_density->addDensity(density.data());
        std::size_t rank = 0;
        for (const auto& pose : poses) {
            if (rank++ % (solutions / 4) == 0) {
                const std::array<double, 3> angles{pose.m_alpha, pose.m_beta, pose.m_gamma};
                const RotatedNodes target(m_map, *m_mapGrid, angles, rotator.filterOf(angles));
                if (!(std::abs(pose.m_rigidScore - directSum(density, target, pose)) <=
                      1e-10 * poses.begin()->m_rigidScore)) {
                    return false;
                }
            }
        }
        return true;
    }

    std::vector<double> paddedMap() const {
        std::vector<double> padded(m_paddedGrid->getTotalSize());
        ElectronDensity::zeroPadd(m_map, *m_mapGrid, *m_paddedGrid, padded);
        return padded;
    }

private:
    /// The padded grid with its low corner where the model's box begins, as a fit lays it.
    std::shared_ptr<cGrid> patternGrid() const {
        const cBBox box = ElectronDensity::getBoundingBox(m_model.positions, BenchmarkModel::spacing,
                                                          ElectronDensity::EPSILON, 1.0);
        auto grid = std::make_shared<cGrid>(*m_paddedGrid);
        grid->m_box = cBBox(box.m_min, box.m_min + (m_paddedGrid->m_box.m_max - m_paddedGrid->m_box.m_min));
        return grid;
    }

    std::vector<double> simulateMap() const {
        const ElectronDensity density(m_model.positions.data(), BenchmarkModel::spacing, atoms, m_mapGrid,
                                      *m_model.engine, {}, ElectronDensity::EPSILON);
        std::vector<double> map(m_mapGrid->getTotalSize());
        density.eval(map);
        const double peak = *std::max_element(map.begin(), map.end());
        const std::vector<double> noise = noiseField(map.size());
        for (std::size_t v = 0; v < map.size(); ++v) {
            map[v] += 0.05 * peak * noise[v];
        }
        return map;
    }

    double directSum(const std::vector<double>& density, const RotatedNodes& target,
                     const HexaustFlexibleFitConformation& pose) const {
        const std::size_t n = m_paddedGrid->m_size[0];
        const std::size_t shift[3] = {static_cast<std::size_t>(pose.m_i), static_cast<std::size_t>(pose.m_j),
                                      static_cast<std::size_t>(pose.m_k)};
        double sum = 0.0;
        for (std::size_t s = 0; s < density.size(); ++s) {
            const auto [i, j, k] = m_paddedGrid->m_flatIndex2Index[s];
            sum +=
                density[s] * target((i + n - shift[0]) % n, (j + n - shift[1]) % n, (k + n - shift[2]) % n);
        }
        return sum / (8.0 * pi * pi * pi);
    }

    BenchmarkModel m_model;
    std::shared_ptr<cGrid> m_mapGrid;
    std::shared_ptr<cGrid> m_paddedGrid;
    std::vector<double> m_map;
    ScanMap m_scanMap;
    RotationScan m_scan;
    std::shared_ptr<const ElectronDensity> m_density;
    std::shared_ptr<const ScanPattern> m_pattern;
};

/// One step of a scan per iteration and a pair of transforms beside it, so that both see the same machine.
/// @param fresh  whether each step starts from an empty set, as only the first of a scan does
void oneRotation(benchmark::State& state, bool fresh) {
    const auto edge = static_cast<unsigned int>(state.range(0));
    Worker worker(edge);
    TransformPair pair(static_cast<int>(edge), worker.paddedMap());
    const auto rotations = cAngularSampler::constructRotations(stepInDegrees);
    Poses poses(solutions);
    for (const auto& angles : rotations) {
        worker.rotate(angles);
        worker.correlate();
        worker.offer(poses);
    }
    if (!poses.isFull()) {
        state.SkipWithError("too few candidates to fill the set");
        return;
    }

    Times rotate, correlate, offer, transforms;
    std::size_t r = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        if (fresh) {
            poses = Poses(solutions);
        }
        const auto& angles = rotations[r++ % rotations.size()];
        double seconds = rotate.measure([&] { worker.rotate(angles); });
        seconds += correlate.measure([&] { worker.correlate(); });
        seconds += offer.measure([&] { worker.offer(poses); });
        state.SetIterationTime(seconds);
        transforms.measure([&] { pair.execute(); });
    }
    if (!worker.areDirectSums(poses)) {
        state.SkipWithError("a score is not the direct sum");
        return;
    }
    const double unit = transforms.median();
    state.counters["pair_ms"] = 1000.0 * unit;
    state.counters["rotate"] = rotate.median() / unit;
    state.counters["correlate"] = correlate.median() / unit;
    state.counters["offer"] = offer.median() / unit;
    state.counters["pairs"] = (rotate.median() + correlate.median() + offer.median()) / unit;
}

/// A step late in a scan: the set is full and no voxel enters it any more.
void laterRotation(benchmark::State& state) {
    oneRotation(state, false);
}

/// The first step of a scan: the set is empty.
void firstRotation(benchmark::State& state) {
    oneRotation(state, true);
}

BENCHMARK(laterRotation)->Arg(64)->Arg(128)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(firstRotation)->Arg(64)->Arg(128)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
