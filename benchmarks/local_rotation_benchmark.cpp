// SPDX-License-Identifier: GPL-3.0-or-later
// What does one rotation of a scan by local correlation cost, in units of one of the plain scan?
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <ctime>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/LocalScan.h"
#include "CrossCorrelation/RotatedNodes.h"
#include "CrossCorrelation/RotationScan.h"
#include "Math/cGrid.h"
#include "Sampler/cAngularSampler.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"

namespace {

constexpr std::size_t atoms = 3000;
constexpr std::size_t solutions = 1000;
constexpr double stepInDegrees = 90.0;
constexpr double everyValue = -1e6; ///< for the filter of the plain scan, as with any map of contrast
constexpr double varianceFloor = 0.05;

using Poses = LimitedSizeSet<HexaustFlexibleFitConformation>;
using Angles = std::array<double, 3>;

double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

template <class Work>
void addTime(std::vector<double>& times, Work&& work) {
    const double start = threadSeconds();
    work();
    times.push_back(threadSeconds() - start);
}

double medianOf(std::vector<double> times) {
    const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
    std::nth_element(times.begin(), middle, times.end());
    return *middle;
}

/// How far a score may be from that of direct sums.
template <class Real>
constexpr double tolerance = 1e-9;
template <>
constexpr double tolerance<float> = 1e-5;

/// How a local scan wants its map.
template <class Real>
constexpr auto singles = ScanMap::Singles::IfExact;
template <>
constexpr auto singles<float> = ScanMap::Singles::Rounded;

/// A noisy, filtered map of a model, and a worker of either scan for it.
/// @tparam Real  of the local scan
template <class Real>
class Workers {
public:
    explicit Workers(unsigned int edge)
        : m_model(atoms)
        , m_mapGrid(BenchmarkModel::makeGrid(mapEdge(edge)))
        , m_grid(BenchmarkModel::makeGrid(edge))
        , m_map(filteredMap())
        , m_scanMap(m_map, *m_mapGrid)
        , m_plain(m_scanMap, m_grid, everyValue)
        , m_localMap(m_map, *m_mapGrid, singles<Real>)
        , m_local(m_localMap, m_grid, varianceFloor)
        , m_density(std::make_shared<ElectronDensity>(m_model.positions.data(), BenchmarkModel::spacing,
                                                      atoms, m_grid, *m_model.engine, arma::Col<double>(),
                                                      ElectronDensity::EPSILON))
        , m_plainPattern(m_plain.makePattern(m_density))
        , m_localPattern(m_local.makePattern(*m_density)) {}

    void stepPlain(const Angles& angles, Poses& poses) {
        m_plain.rotate(angles);
        m_plain.correlate(*m_plainPattern);
        m_plain.offer(poses);
    }

    void rotate(const Angles& angles) { m_local.rotate(angles); }
    void correlate() { m_local.correlate(*m_localPattern); }
    void offer(Poses& byScore, Poses& byOverlap) { m_local.offer(byScore, &byOverlap, 0); }

    /// Whether the best pose of either set has the overlap and the score that sums over the mask give.
    bool areDirectSums(const Poses& byScore, const Poses& byOverlap, double largestVariance) const {
        const Sums ofScore = sumsAt(*byScore.begin());
        const Sums ofOverlap = sumsAt(*byOverlap.begin());
        const double least = varianceFloor * largestVariance;
        const double score = ofScore.overlap / std::sqrt(std::max(ofScore.variance, least));
        const double norm = byOverlap.begin()->m_rigidScore;
        return std::abs(byScore.begin()->m_rigidScore - score) < tolerance<Real> &&
               std::abs(norm - ofOverlap.overlap) < tolerance<Real> * norm;
    }

    double largestVariance(const Angles& angles) {
        m_local.rotate(angles);
        m_local.correlate(*m_localPattern);
        Poses poses(1);
        m_local.offer(poses, nullptr, 0);
        return m_local.largestVariance();
    }

    std::vector<double> paddedMap() const {
        std::vector<double> padded(m_grid->getTotalSize());
        ElectronDensity::zeroPadd(m_map, *m_mapGrid, *m_grid, padded);
        return padded;
    }

private:
    struct Sums {
        double overlap = 0.0, variance = 0.0;
    };

    /// In units of the map's norm.
    Sums sumsAt(const HexaustFlexibleFitConformation& pose) const {
        std::vector<double> density(m_grid->getTotalSize(), 0.0);
        m_density->addDensity(density.data());
        const LocalPattern pattern = makeLocalPattern(density, *m_grid, LocalScan::maskLevel);
        const RotatedNodes target(m_map, *m_mapGrid, {pose.m_alpha, pose.m_beta, pose.m_gamma},
                                  fccf::SigmaFilter::ofNothing());
        const auto n = static_cast<std::size_t>(m_grid->m_size[0]);
        const auto si = static_cast<std::size_t>(pose.m_i), sj = static_cast<std::size_t>(pose.m_j),
                   sk = static_cast<std::size_t>(pose.m_k);
        Sums sums;
        double sum = 0.0, squares = 0.0, count = 0.0;
        for (std::size_t v = 0; v < density.size(); ++v) {
            if (pattern.mask[v] > 0.0) {
                const auto [i, j, k] = m_grid->m_flatIndex2Index[v];
                const double value = target((i + n - si) % n, (j + n - sj) % n, (k + n - sk) % n);
                sums.overlap += pattern.weights[v] * value;
                sum += value;
                squares += value * value;
                count += 1.0;
            }
        }
        const double norm = mapNorm();
        sums.overlap /= norm;
        sums.variance = (squares - sum * sum / count) / (norm * norm);
        return sums;
    }

    double mapNorm() const {
        double mean = 0.0, squares = 0.0;
        for (const double value : m_map) {
            mean += value / static_cast<double>(m_map.size());
        }
        for (const double value : m_map) {
            squares += (value - mean) * (value - mean);
        }
        return std::sqrt(squares);
    }

    std::vector<double> filteredMap() const {
        const ElectronDensity density(m_model.positions.data(), BenchmarkModel::spacing, atoms, m_mapGrid,
                                      *m_model.engine, {}, ElectronDensity::EPSILON);
        std::vector<double> map(m_mapGrid->getTotalSize());
        density.eval(map);
        const double peak = *std::max_element(map.begin(), map.end());
        const std::vector<double> noise = noiseField(map.size());
        for (std::size_t v = 0; v < map.size(); ++v) {
            map[v] += 0.01 * peak * noise[v];
        }
        return cyclicNegativeLaplacian(map, *m_mapGrid);
    }

    BenchmarkModel m_model;
    std::shared_ptr<cGrid> m_mapGrid;
    std::shared_ptr<cGrid> m_grid;
    std::vector<double> m_map;
    ScanMap m_scanMap;
    RotationScan m_plain;
    ScanMap m_localMap;
    BasicLocalScan<Real> m_local;
    std::shared_ptr<const ElectronDensity> m_density;
    std::shared_ptr<const ScanPattern> m_plainPattern;
    std::shared_ptr<const BasicLocalSpectra<Real>> m_localPattern;
};

/// A step late in either scan, when no voxel enters a set any more, one beside the other, so that both see
/// the same machine.
template <class Real>
void localRotation(benchmark::State& state) {
    const auto edge = static_cast<unsigned int>(state.range(0));
    Workers<Real> workers(edge);
    TransformPair pair(static_cast<int>(edge), workers.paddedMap());
    const auto rotations = cAngularSampler::constructRotations(stepInDegrees);
    Poses plain(solutions), byScore(solutions), byOverlap(solutions);
    const auto stepLocal = [&](const Angles& angles) {
        workers.rotate(angles);
        workers.correlate();
        workers.offer(byScore, byOverlap);
    };
    for (const Angles& angles : rotations) {
        workers.stepPlain(angles, plain);
        stepLocal(angles);
    }
    const auto best = *byScore.begin();
    if (!workers.areDirectSums(byScore, byOverlap,
                               workers.largestVariance({best.m_alpha, best.m_beta, best.m_gamma}))) {
        state.SkipWithError("a score is not that of direct sums");
        return;
    }
    std::vector<double> ofPlain, rotate, correlate, offer, transforms;
    std::size_t r = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        const Angles& angles = rotations[r++ % rotations.size()];
        addTime(ofPlain, [&] { workers.stepPlain(angles, plain); });
        addTime(rotate, [&] { workers.rotate(angles); });
        addTime(correlate, [&] { workers.correlate(); });
        addTime(offer, [&] { workers.offer(byScore, byOverlap); });
        state.SetIterationTime(rotate.back() + correlate.back() + offer.back());
        addTime(transforms, [&] { pair.execute(); });
    }
    const double unit = medianOf(transforms);
    const double local = medianOf(rotate) + medianOf(correlate) + medianOf(offer);
    state.counters["pair_ms"] = 1000.0 * unit;
    state.counters["rotate"] = medianOf(rotate) / unit;
    state.counters["correlate"] = medianOf(correlate) / unit;
    state.counters["offer"] = medianOf(offer) / unit;
    state.counters["pairs"] = local / unit;
    state.counters["plain_rotations"] = local / medianOf(ofPlain);
}

BENCHMARK_TEMPLATE(localRotation, double)->Arg(64)->Arg(128)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(localRotation, float)->Arg(64)->Arg(128)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
