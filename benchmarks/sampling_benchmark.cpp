// SPDX-License-Identifier: GPL-3.0-or-later
// How many voxels of a map are rotated, filtered and padded in a second?
#include <array>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <vector>

#include <benchmark/benchmark.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/fccf.h"
#include "Interpolation/TrilinearSampler.h"
#include "Interpolation/lerp.h"
#include "Math/RotatedLattice.h"
#include "Math/cGrid.h"
#include "Math/cMatrix33.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"

namespace {

constexpr std::array<double, 3> angles{0.4, -0.7, 1.9};

/// The same in steps, each with an array of its own.
std::vector<double> rotateInSteps(const std::vector<double>& map, const cGrid& grid, const cGrid& padded) {
    const cMatrix33 rotation = cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
    std::vector<cVector3> positions(map.size());
    grid.getRotatedPos(rotation, grid.m_box.center(), positions);
    std::vector<double> values(map.size());
    lerp::lerp3d(positions, grid, map, values);
    fccf::filterValues(values, 0.0);
    std::vector<double> target;
    ElectronDensity::zeroPadd(values, grid, padded, target);
    return target;
}

void rotateNonZeroPadded(benchmark::State& state) {
    const auto edge = static_cast<unsigned int>(state.range(0));
    const auto grid = BenchmarkModel::makeGrid(mapEdge(edge));
    const auto padded = BenchmarkModel::makeGrid(edge);
    const std::vector<double> map = noiseField(grid->getTotalSize());
    std::vector<double> target(padded->getTotalSize());
    for ([[maybe_unused]] const auto iteration : state) {
        ElectronDensity::rotateNonZeroPadded(map, *grid, angles, *padded, target.data(), 0.0);
        benchmark::DoNotOptimize(target.data());
    }
    if (target != rotateInSteps(map, *grid, *padded)) {
        state.SkipWithError("not the values of the rotation in steps");
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(map.size()));
}

double threadMilliseconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return 1e3 * static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_nsec);
}

/// The rows of a map rotated another way each time, in turn with a pair of transforms of the padded grid,
/// which leaves the caches as a scan finds them. `pairs` is the ratio of their times.
void sampleRows(benchmark::State& state) {
    const auto edge = static_cast<unsigned int>(state.range(0));
    const auto grid = BenchmarkModel::makeGrid(mapEdge(edge));
    const unsigned int n = grid->m_size[0];
    const std::vector<double> map = noiseField(grid->getTotalSize());
    const lerp::TrilinearSampler sampler(*grid, map);
    TransformPair pair(static_cast<int>(edge), std::vector<double>(std::size_t{edge} * edge * edge, 0.5));
    std::vector<double> values(map.size());
    double sampling = 0.0, transforms = 0.0, turn = 0.0;
    for ([[maybe_unused]] const auto iteration : state) {
        turn += 1.0;
        const RotatedLattice lattice(*grid, cMatrix33::rotationXYZ(turn, 0.37 * turn, 2.3 * turn),
                                     grid->m_box.center());
        const double start = threadMilliseconds();
        pair.execute();
        const double middle = threadMilliseconds();
        for (unsigned int row = 0; row < n * n; ++row) {
            sampler.sampleRow(lattice.rowStart(row / n, row % n), lattice.rowStep(), n,
                              values.data() + std::size_t{row} * n);
        }
        sampling += threadMilliseconds() - middle;
        transforms += middle - start;
        const unsigned int i = n / 2, j = n / 3, k = n / 4;
        if (values[(std::size_t{i} * n + j) * n + k] != sampler(lattice(i, j, k))) {
            state.SkipWithError("not the values of the points one by one");
            break;
        }
    }
    state.counters["sample_ms"] = benchmark::Counter(sampling, benchmark::Counter::kAvgIterations);
    state.counters["pairs"] = sampling / transforms;
}

BENCHMARK(sampleRows)->Arg(64)->Arg(128)->Arg(256)->Unit(benchmark::kMillisecond);

BENCHMARK(rotateNonZeroPadded)->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
