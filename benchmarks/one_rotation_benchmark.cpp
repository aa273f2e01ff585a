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
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "Math/cGrid.h"
#include "Sampler/cAngularSampler.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"

namespace {

constexpr std::size_t atoms = 3000;
constexpr std::size_t solutions = 1000;
constexpr double stepInDegrees = 90.0;

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

/// What one worker of a scan holds: the map of a model with noise, its padded buffer and its correlation.
class Worker {
public:
    explicit Worker(unsigned int edge)
        : m_model(atoms)
        , m_mapGrid(BenchmarkModel::makeGrid(mapEdge(edge)))
        , m_paddedGrid(std::make_shared<cGrid>(*BenchmarkModel::makeGrid(edge)))
        , m_map(simulateMap())
        , m_target(m_paddedGrid->getTotalSize())
        , m_correlation(m_target.data(), patternGrid(), m_model.positions, BenchmarkModel::spacing,
                        m_model.engine, true) {}

    void rotate(const std::array<double, 3>& angles) {
        ElectronDensity::rotateNonZeroPadded(m_map, *m_mapGrid, angles, *m_paddedGrid, m_target.data(), 0.0);
    }

    void execute() { m_correlation.execute(); }

    void offer(Poses& poses, const std::array<double, 3>& angles) const {
        m_correlation.addConformationsOfPresentTarget(poses, angles[0], angles[1], angles[2]);
    }

    /// Whether the correlation is the direct sum over the model's nodes, at some shifts.
    bool isDirectSum() const {
        const std::vector<double>& c = m_correlation.getCorrelation();
        const double largest = *std::max_element(c.begin(), c.end());
        for (std::size_t s = 0; s < c.size(); s += c.size() / 16 + 1) {
            if (!(std::abs(c[s] - directSum(s)) <= 1e-10 * largest)) {
                return false;
            }
        }
        return true;
    }

    std::size_t patternNodes() const { return m_correlation.getPattern()->table.nodes.size(); }
    const std::vector<double>& target() const { return m_target; }

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

    double directSum(std::size_t s) const {
        const DensityTable& table = m_correlation.getPattern()->table;
        const auto [si, sj, sk] = m_paddedGrid->m_flatIndex2Index[s];
        const std::size_t n = m_paddedGrid->m_size[0];
        double sum = 0.0;
        for (std::size_t u = 0; u < table.nodes.size(); ++u) {
            const auto [i, j, k] = m_paddedGrid->m_flatIndex2Index[table.nodes[u]];
            const std::size_t v = (((i + n - si) % n) * n + (j + n - sj) % n) * n + (k + n - sk) % n;
            sum += table.row(u)[0] * m_target[v];
        }
        return sum / (8.0 * 3.141592653589793 * 3.141592653589793 * 3.141592653589793);
    }

    BenchmarkModel m_model;
    std::shared_ptr<cGrid> m_mapGrid;
    std::shared_ptr<cGrid> m_paddedGrid;
    std::vector<double> m_map;
    std::vector<double> m_target;
    ThirdOrderCrossCorrelation m_correlation;
};

/// One step of a scan per iteration and a pair of transforms beside it, so that both see the same machine.
/// @param fresh  whether each step starts from an empty set, as only the first of a scan does
void oneRotation(benchmark::State& state, bool fresh) {
    const auto edge = static_cast<unsigned int>(state.range(0));
    Worker worker(edge);
    TransformPair pair(static_cast<int>(edge), worker.target());
    const auto rotations = cAngularSampler::constructRotations(stepInDegrees);
    Poses poses(solutions);
    for (const auto& angles : rotations) {
        worker.rotate(angles);
        worker.execute();
        worker.offer(poses, angles);
    }
    if (!poses.isFull()) {
        state.SkipWithError("too few candidates to fill the set");
        return;
    }

    Times rotate, execute, offer, transforms;
    std::size_t r = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        if (fresh) {
            poses = Poses(solutions);
        }
        const auto& angles = rotations[r++ % rotations.size()];
        double seconds = rotate.measure([&] { worker.rotate(angles); });
        seconds += execute.measure([&] { worker.execute(); });
        seconds += offer.measure([&] { worker.offer(poses, angles); });
        state.SetIterationTime(seconds);
        transforms.measure([&] { pair.execute(); });
    }
    if (!worker.isDirectSum()) {
        state.SkipWithError("the correlation is not the direct sum");
        return;
    }
    const double unit = transforms.median();
    state.counters["pair_ms"] = 1000.0 * unit;
    state.counters["rotate"] = rotate.median() / unit;
    state.counters["execute"] = execute.median() / unit;
    state.counters["offer"] = offer.median() / unit;
    state.counters["pairs"] = (rotate.median() + execute.median() + offer.median()) / unit;
    state.counters["nodes"] = static_cast<double>(worker.patternNodes());
}

/// A step late in a scan: the set is full and no voxel enters it any more.
void laterRotation(benchmark::State& state) {
    oneRotation(state, false);
}

/// The first step of a scan: all poses that the set can hold get their gradient and Hessian.
void firstRotation(benchmark::State& state) {
    oneRotation(state, true);
}

BENCHMARK(laterRotation)->Arg(64)->Arg(128)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(firstRotation)->Arg(64)->Arg(128)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
