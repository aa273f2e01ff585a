// SPDX-License-Identifier: GPL-3.0-or-later
// What does a pair of transforms cost by size, and what does a power of two buy?
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"

namespace {

void transformPair(benchmark::State& state) {
    const auto edge = static_cast<int>(state.range(0));
    const auto voxels = static_cast<double>(edge) * edge * edge;
    const std::vector<double> field = noiseField(static_cast<std::size_t>(voxels));
    TransformPair pair(edge, field);
    for ([[maybe_unused]] const auto iteration : state) {
        pair.execute();
    }
    for (std::size_t v = 0; v < field.size(); ++v) {
        if (!(std::abs(pair.result()[v] / voxels - field[v]) < 1e-12)) {
            state.SkipWithError("the pair does not give back its field");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(field.size()));
    // Operations of a pair by the usual count, 2 * 2.5 N log2 N.
    state.counters["flops"] =
        benchmark::Counter(5.0 * voxels * std::log2(voxels), benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(transformPair)
    ->Arg(64)
    ->Arg(96)
    ->Arg(100)
    ->Arg(101)
    ->Arg(128)
    ->Arg(192)
    ->Arg(256)
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
