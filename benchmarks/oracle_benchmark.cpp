// SPDX-License-Identifier: GPL-3.0-or-later
// What does one call of the correlation oracle cost, in units of a pair of transforms on the same grid?
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "Interface/CrossCorrelationOracle.h"
#include "Math/cGrid.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"
#include "benchmarks/wallTime.h"

namespace {

constexpr std::size_t atoms = 3000;
constexpr double beta = 10000.0;

/// A model in its own map with noise, a little off the lattice.
struct Scene {
    /// @param scale of the map: the larger, the fewer voxels have weight beside the peak
    Scene(unsigned int edge, unsigned int modes, double scale)
        : model(atoms, modes)
        , grid(BenchmarkModel::makeGrid(edge))
        , target(grid->getTotalSize())
        , oracle(target.data(), grid, model.positions, BenchmarkModel::spacing, model.engine, beta, true)
        , x(modes + 6, arma::fill::zeros) {
        const ElectronDensity density(model.positions.data(), BenchmarkModel::spacing, atoms, grid,
                                      *model.engine, arma::Col<double>(modes, arma::fill::zeros),
                                      ElectronDensity::EPSILON);
        density.eval(target);
        const double peak = *std::max_element(target.begin(), target.end());
        const std::vector<double> noise = noiseField(target.size());
        for (std::size_t v = 0; v < target.size(); ++v) {
            target[v] = scale * (target[v] + 0.05 * peak * noise[v]);
        }
        x.head(6) = arma::Col<double>{0.3, -0.2, 0.1, 0.01, 0.0, -0.02};
        oracle.initAsThirdOrder();
    }

    /// Voxels whose weight is more than 1e-30.
    std::size_t weightedVoxels() const {
        const ThirdOrderCrossCorrelation& correlation = *oracle.getThirdOrder();
        const double floor = correlation.getSoftMaximum(beta) - 69.0 / beta;
        const auto& c = correlation.getCorrelation();
        return static_cast<std::size_t>(
            std::count_if(c.begin(), c.end(), [&](double value) { return value > floor; }));
    }

    /// Whether the gradient is the derivative that the correlation's voxels give, weighted one by one.
    bool isWeightedSum(const arma::Col<double>& gradient) const {
        const ThirdOrderCrossCorrelation& correlation = *oracle.getThirdOrder();
        const double soft = correlation.getSoftMaximum(beta);
        const auto& c = correlation.getCorrelation();
        arma::Col<double> sum(gradient.n_elem, arma::fill::zeros);
        for (std::size_t s = 0; s < c.size(); ++s) {
            const double weight = std::exp(-beta * (soft - c[s]));
            if (weight > 1e-14) {
                sum -= weight * std::get<0>(correlation.getGradAndHessian(s));
            }
        }
        return arma::abs(sum - gradient).max() <= 1e-9 * arma::abs(sum).max();
    }

    BenchmarkModel model;
    std::shared_ptr<cGrid> grid;
    std::vector<double> target;
    CrossCorrelationOracle oracle;
    arma::Col<double> x;
};

/// One call per iteration and a pair of transforms beside it, so that both see the same machine.
template <class Call>
void inPairs(benchmark::State& state, Scene& scene, Call&& call) {
    TransformPair pair(static_cast<int>(state.range(0)), scene.target);
    std::vector<double> calls;
    std::vector<double> pairs;
    for ([[maybe_unused]] const auto iteration : state) {
        scene.x(0) += 1e-9; // no call finds the model where the last one left it
        auto start = std::chrono::steady_clock::now();
        call();
        calls.push_back(secondsOf(start));
        state.SetIterationTime(calls.back());
        start = std::chrono::steady_clock::now();
        pair.execute();
        pairs.push_back(secondsOf(start));
    }
    state.counters["pair_ms"] = 1000.0 * medianOf(pairs);
    state.counters["pairs"] = medianOf(calls) / medianOf(pairs);
}

void value(benchmark::State& state) {
    Scene scene(static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1)), 1.0);
    double found = 0.0;
    inPairs(state, scene, [&] { found = scene.oracle.getFunctionValue(scene.x); });
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    if (!(std::abs(scene.oracle.getFunctionGradiantAndHessian(scene.x, gradient, hessian) - found) <=
          1e-9 * std::abs(found))) {
        state.SkipWithError("the value is not that of the call with derivatives");
    }
}

void derivatives(benchmark::State& state, double scale) {
    Scene scene(static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1)), scale);
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    inPairs(state, scene, [&] { scene.oracle.getFunctionGradiantAndHessian(scene.x, gradient, hessian); });
    state.counters["voxels"] = static_cast<double>(scene.weightedVoxels());
    if (scene.weightedVoxels() < 1000 && !scene.isWeightedSum(gradient)) {
        state.SkipWithError("the gradient is not the weighted sum over the voxels");
    }
}

void derivativesFewVoxels(benchmark::State& state) {
    derivatives(state, 1.0);
}

void derivativesManyVoxels(benchmark::State& state) {
    derivatives(state, 1e-4);
}

/// A value at a trial point and then the derivatives there, as a solver asks for them.
void solverStep(benchmark::State& state) {
    Scene scene(static_cast<unsigned int>(state.range(0)), static_cast<unsigned int>(state.range(1)), 1.0);
    arma::Col<double> gradient;
    arma::Mat<double> hessian;
    double found = 0.0;
    double derived = 0.0;
    inPairs(state, scene, [&] {
        found = scene.oracle.getFunctionValue(scene.x);
        derived = scene.oracle.getFunctionGradiantAndHessian(scene.x, gradient, hessian);
    });
    if (found != derived) {
        state.SkipWithError("the value is not that of the call with derivatives");
    }
}

BENCHMARK(value)->Args({64, 0})->Args({128, 0})->Args({128, 20})->UseManualTime()->Unit(
    benchmark::kMillisecond);
BENCHMARK(derivativesFewVoxels)
    ->Args({64, 0})
    ->Args({128, 0})
    ->Args({128, 20})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(solverStep)
    ->Args({64, 0})
    ->Args({128, 0})
    ->Args({128, 20})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(derivativesManyVoxels)
    ->Args({64, 0})
    ->Args({128, 0})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
