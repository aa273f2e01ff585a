// SPDX-License-Identifier: GPL-3.0-or-later
// How many voxels of a map are rotated, filtered and padded in a second?
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/fccf.h"
#include "Interpolation/lerp.h"
#include "Math/cGrid.h"
#include "Math/cMatrix33.h"
#include "benchmarks/BenchmarkModel.h"

namespace {

constexpr std::array<double, 3> angles{0.4, -0.7, 1.9};

/// The same in steps, each with an array of its own.
std::vector<double> rotateInSteps(const std::vector<double>& map, const cGrid& grid, const cGrid& padded) {
    const cMatrix33 rotation = cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
    std::vector<cVector3> positions(map.size());
    grid.getRotatedPos(rotation, 0.5 * (grid.m_box.m_min + grid.m_box.m_max), positions);
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

BENCHMARK(rotateNonZeroPadded)->Arg(64)->Arg(128)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
