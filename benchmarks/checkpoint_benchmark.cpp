// SPDX-License-Identifier: GPL-3.0-or-later
// What does a checkpoint cost a scan that takes one every minute?
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Math/cGrid.h"
#include "Search/CheckpointFile.h"
#include "Search/ScanCheckpoints.h"

namespace {

constexpr double interval = 60.0; ///< seconds from one checkpoint to the next
constexpr std::size_t workers = 2;

std::shared_ptr<const cGrid> smallGrid() {
    const unsigned int size[3] = {8, 8, 8};
    return std::make_shared<cGrid>(cBBox(), size);
}

/// A full set, with derivatives as a multistep scan keeps them, or without any for no modes.
CandidateSet fullSet(const checkpoint::Shape& shape) {
    std::mt19937 random;
    std::uniform_real_distribution<double> value(0.001, 1.0);
    CandidateSet set(shape.capacity);
    const std::size_t nDof = shape.nModes == 0 ? 0 : shape.nModes + 6;
    while (set.size() < shape.capacity) {
        HexaustFlexibleFitConformation candidate(
            value(random), 1, 2, 3, arma::Col<double>(shape.nModes, arma::fill::ones), shape.grid);
        candidate.m_gradient.ones(nDof);
        candidate.m_hessian.ones(nDof, nDof);
        set.add(candidate);
    }
    return set;
}

std::string scratchDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "selvane_benchmark_XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    return name;
}

/// Time beside the interval, in percent.
void reportShare(benchmark::State& state) {
    state.counters["percent_of_interval"] = benchmark::Counter(
        interval / 100.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

/// What a worker does between two rotations, once per checkpoint.
void encodeOneWorker(benchmark::State& state) {
    const checkpoint::Shape shape{smallGrid(), static_cast<std::size_t>(state.range(1)),
                                  static_cast<std::size_t>(state.range(0)), 1};
    const CandidateSet set = fullSet(shape);
    std::string bytes;
    for (auto _ : state) {
        bytes = checkpoint::encode(1, set);
        benchmark::DoNotOptimize(bytes.data());
    }
    state.counters["bytes"] = static_cast<double>(bytes.size());
    reportShare(state);
}
BENCHMARK(encodeOneWorker)
    ->ArgNames({"poses", "modes"})
    ->Args({1000, 0})
    ->Args({10000, 0})
    ->Args({10000, 20});

/// What the thread of its own does meanwhile; the disk's part included.
void writeTwoWorkers(benchmark::State& state) {
    const checkpoint::Shape shape{smallGrid(), static_cast<std::size_t>(state.range(1)),
                                  static_cast<std::size_t>(state.range(0)), workers};
    const CandidateSet set = fullSet(shape);
    const std::vector<std::string> parts(workers, checkpoint::encode(7, set));
    const std::string directory = scratchDirectory();
    const std::string path = directory + "/.selvane-checkpoint";
    checkpoint::Identity identity;
    identity.options = {{"--nthread", "2"}};
    for (auto _ : state) {
        checkpoint::write(path, identity, parts);
    }
    const auto restored = checkpoint::read(path, identity, shape, {"map", "model"});
    std::filesystem::remove_all(directory);
    if (checkpoint::encode(restored[1].done, restored[1].candidates) != parts[1]) {
        state.SkipWithError("the checkpoint does not hold what was written");
    }
    reportShare(state);
}
BENCHMARK(writeTwoWorkers)
    ->ArgNames({"poses", "modes"})
    ->Args({1000, 0})
    ->Args({10000, 0})
    ->Args({10000, 20})
    ->UseRealTime();

/// What every rotation pays to see that none is due.
void rotationWithoutCheckpoint(benchmark::State& state) {
    ScanCheckpoints checkpoints(std::chrono::hours(1), {0}, {});
    unsigned long done = 0;
    for (auto _ : state) {
        checkpoints.rotationDone(0, ++done);
    }
}
BENCHMARK(rotationWithoutCheckpoint);

} // namespace

BENCHMARK_MAIN();
