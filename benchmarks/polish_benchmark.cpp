// SPDX-License-Identifier: GPL-3.0-or-later
// What does it cost to climb from a pose of the scan to the top, in transform pairs of 64^3, and what to make
// the fields on which it climbs?
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Assessment/PolishModel.h"
#include "Assessment/SplineField.h"
#include "Assessment/climb.h"
#include "Assessment/makePolishField.h"
#include "Formats/AtomicModel.h"
#include "Formats/DensityMap.h"
#include "Math/RigidMotion.h"
#include "Math/pi.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/coarsen.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/TransformPair.h"
#include "benchmarks/wallTime.h"
#include "examples/complex.h"
#include "examples/density.h"

namespace {

constexpr int pairEdge = 64;
constexpr double mapResolution = 6.0;   // angstrom
constexpr double scanResolution = 12.0; // angstrom
constexpr double mapVoxel = 1.5;        // angstrom
constexpr double voxelsPerResolution = 3.0;
constexpr double shift = 5.0;    // of a start, angstrom
constexpr double degrees = 20.0; // of a start
constexpr double home = 0.05;    // angstrom

/// One chain of about this many atoms in its own map.
struct Scene {
    explicit Scene(std::size_t atomCount) {
        constexpr double atomsPerResidue = 7.4;
        example::Random random(11);
        const example::Model model = example::buildComplex(
            {static_cast<int>(static_cast<double>(atomCount) / atomsPerResidue)}, random);
        for (const example::Atom& atom : model) {
            ModelAtom made;
            made.position = cVector3(atom.position.x, atom.position.y, atom.position.z);
            made.chain = std::string(1, atom.chain);
            made.residueNumber = atom.residueNumber;
            made.mass = 12.0;
            atoms.push_back(made);
        }
        layMap(model);
    }

    SplineField fieldAt(double resolution) const {
        const Coarsening to = {mapResolution, resolution, resolution / voxelsPerResolution, {}, nullptr};
        return makePolishField(negativeLaplacian(coarsen(map, to)), gaussianOf(resolution));
    }

    std::vector<ModelAtom> atoms;
    DensityMap map;

private:
    void layMap(const example::Model& model) {
        cVector3 low(1e9), high(-1e9);
        for (const ModelAtom& atom : atoms) {
            for (int axis = 0; axis < 3; ++axis) {
                low[axis] = std::min(low[axis], atom.position[axis]);
                high[axis] = std::max(high[axis], atom.position[axis]);
            }
        }
        constexpr double margin = 2.0 * mapResolution;
        example::Lattice lattice{{}, {}, mapVoxel};
        for (int axis = 0; axis < 3; ++axis) {
            const auto a = static_cast<std::size_t>(axis);
            lattice.start[a] = static_cast<int>(std::floor((low[axis] - margin) / mapVoxel));
            const int end = static_cast<int>(std::ceil((high[axis] + margin) / mapVoxel));
            lattice.extents[a] = end - lattice.start[a] + 1;
            map.size[a] = static_cast<std::size_t>(lattice.extents[a]);
            map.origin[axis] = lattice.start[a] * mapVoxel;
        }
        map.voxel = cVector3(mapVoxel);
        const std::vector<double> values = example::simulatedDensity(model, lattice, mapResolution);
        for (int i = 0; i < lattice.extents[0]; ++i) {
            for (int j = 0; j < lattice.extents[1]; ++j) {
                for (int k = 0; k < lattice.extents[2]; ++k) {
                    map.values.push_back(static_cast<float>(values[lattice.flatIndex(i, j, k)]));
                }
            }
        }
    }
};

std::vector<RigidMotion> startsAround(const cVector3& middle) {
    constexpr int count = 20;
    std::mt19937 random(1);
    std::normal_distribution<double> normal;
    const auto direction = [&] {
        const double x = normal(random), y = normal(random), z = normal(random);
        return cVector3(x, y, z).normalizedVersion();
    };
    std::vector<RigidMotion> starts;
    for (int n = 0; n < count; ++n) {
        const cMatrix33 turn = cMatrix33::fromAxisAngle(direction(), degrees * pi / 180.0);
        starts.push_back({turn, middle - turn * middle + direction() * shift});
    }
    return starts;
}

double rmsdFromHome(const PolishModel& model, const RigidMotion& motion) {
    double sum = 0.0;
    for (const cVector3& point : model.points) {
        sum += (motion(model.middle + point) - model.middle - point).norm2();
    }
    return std::sqrt(sum / static_cast<double>(model.points.size()));
}

/// Climbs and transforms in turn, so that both see the same machine.
void polish(benchmark::State& state) {
    const Scene scene(static_cast<std::size_t>(state.range(0)));
    const auto beginOfFields = std::chrono::steady_clock::now();
    const SplineField coarse = scene.fieldAt(scanResolution), fine = scene.fieldAt(mapResolution);
    const double fieldSeconds = secondsOf(beginOfFields);
    const PolishModel beads = beadsOf(scene.atoms), all = atomsOf(scene.atoms);
    const std::vector<RigidMotion> starts = startsAround(all.middle);
    TransformPair pair(pairEdge, noiseField(pairEdge * pairEdge * pairEdge));
    std::vector<double> onCoarse, onFine, transforms;
    double evaluations = 0.0, worst = 0.0;
    std::size_t n = 0;
    for ([[maybe_unused]] const auto iteration : state) {
        auto start = std::chrono::steady_clock::now();
        const Polished first =
            climb(coarse, beads, starts[n++ % starts.size()], ClimbLimits::forResolution(scanResolution));
        onCoarse.push_back(secondsOf(start));
        start = std::chrono::steady_clock::now();
        const Polished second = climb(fine, all, first.motion, ClimbLimits::forResolution(mapResolution));
        onFine.push_back(secondsOf(start));
        state.SetIterationTime(onCoarse.back() + onFine.back());
        start = std::chrono::steady_clock::now();
        pair.execute();
        transforms.push_back(secondsOf(start));
        worst = std::max(worst, rmsdFromHome(all, second.motion));
        evaluations += static_cast<double>(second.evaluations);
    }
    const double unit = medianOf(transforms);
    state.counters["pair_ms"] = 1e3 * unit;
    state.counters["coarse"] = medianOf(onCoarse) / unit;
    state.counters["fine"] = medianOf(onFine) / unit;
    state.counters["pairs"] = (medianOf(onCoarse) + medianOf(onFine)) / unit;
    state.counters["fields"] = fieldSeconds / unit;
    state.counters["fineEvaluations"] = evaluations / static_cast<double>(onFine.size());
    state.counters["atoms"] = static_cast<double>(scene.atoms.size());
    if (!(worst < home)) {
        state.SkipWithError("a climb does not end in the right place");
    }
}

BENCHMARK(polish)->Arg(3000)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
