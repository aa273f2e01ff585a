// SPDX-License-Identifier: GPL-3.0-or-later
// How many contacts of an atom with a node are evaluated in a second, by number of modes?
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <benchmark/benchmark.h>

#include "CrossCorrelation/DensityTable.h"
#include "CrossCorrelation/ElectronDensity.h"
#include "Math/cGrid.h"
#include "benchmarks/BenchmarkModel.h"

namespace {

constexpr std::size_t atoms = 3000;
constexpr unsigned int edge = 32;

ElectronDensity makeDensity(const BenchmarkModel& model, const std::shared_ptr<cGrid>& grid) {
    return ElectronDensity(model.positions.data(), BenchmarkModel::spacing, atoms, grid, *model.engine,
                           arma::Col<double>(model.engine->m_nModes, arma::fill::zeros),
                           ElectronDensity::EPSILON);
}

std::int64_t countContacts(const ElectronDensity& density) {
    std::int64_t count = 0;
    for (std::size_t atom = 0; atom < density.atomCount(); ++atom) {
        count += static_cast<std::int64_t>(density.reachOf(atom).size());
    }
    return count;
}

bool reaches(const NodeBox& box, const std::array<int, 3>& node) {
    for (std::size_t a = 0; a < 3; ++a) {
        if (node[a] < box.low[a] || node[a] > box.high[a]) {
            return false;
        }
    }
    return true;
}

/// The density at one node by its definition.
double densityAt(std::uint32_t flatIndex, const ElectronDensity& density, const BenchmarkModel& model,
                 const cGrid& grid) {
    const auto [i, j, k] = grid.m_flatIndex2Index[flatIndex];
    const std::array<int, 3> node{static_cast<int>(i), static_cast<int>(j), static_cast<int>(k)};
    const cVector3 x = grid.m_box.m_min + cVector3(node[0], node[1], node[2]) * grid.m_cellDim;
    double sum = 0.0;
    for (std::size_t atom = 0; atom < density.atomCount(); ++atom) {
        if (reaches(density.reachOf(atom), node)) {
            const auto& p = model.positions[atom];
            const double squared = (x - cVector3(p[0], p[1], p[2])).norm2();
            sum += density.atomWeight(atom) * density.gaussianNorm() *
                   std::exp(-squared / (2.0 * BenchmarkModel::spacing * BenchmarkModel::spacing));
        }
    }
    return sum;
}

bool isDensity(const DensityTable& table, const ElectronDensity& density, const BenchmarkModel& model,
               const cGrid& grid) {
    for (std::size_t n = 0; n < table.nodes.size(); n += 97) {
        const double expected = densityAt(table.nodes[n], density, model, grid);
        if (!(std::abs(table.row(n)[0] - expected) <= 1e-12 * expected)) {
            return false;
        }
    }
    return !table.nodes.empty();
}

void tabulate(benchmark::State& state) {
    const BenchmarkModel model(atoms, static_cast<unsigned int>(state.range(0)));
    const auto grid = BenchmarkModel::makeGrid(edge);
    const ElectronDensity density = makeDensity(model, grid);
    DensityTable table;
    for ([[maybe_unused]] const auto iteration : state) {
        table = density.tabulate();
    }
    if (!isDensity(table, density, model, *grid)) {
        state.SkipWithError("the table does not hold the density of the definition");
    }
    state.SetItemsProcessed(state.iterations() * countContacts(density));
    state.counters["contacts"] = static_cast<double>(countContacts(density));
    state.counters["nodes"] = static_cast<double>(table.nodes.size());
}

/// Gradient and Hessian on whole grids, where the table holds them at the reached nodes only.
struct Grids {
    Grids(std::size_t nDof, std::size_t size)
        : values(size), gradient(nDof, values), hessian(nDof * nDof, values) {}

    bool agreeWith(const DensityTable& table) const {
        const std::size_t nDof = table.nDof;
        for (std::size_t n = 0; n < table.nodes.size(); ++n) {
            bool equal = values[table.nodes[n]] == table.row(n)[0];
            for (std::size_t q = 0; q < nDof * nDof; ++q) {
                equal = equal &&
                        hessian[q][table.nodes[n]] == table.row(n)[table.hessianColumn(q / nDof, q % nDof)];
            }
            if (!equal) {
                return false;
            }
        }
        return true;
    }

    std::vector<double> values;
    std::vector<std::vector<double>> gradient;
    std::vector<std::vector<double>> hessian;
};

void evalRigidFlex(benchmark::State& state) {
    const BenchmarkModel model(atoms, static_cast<unsigned int>(state.range(0)));
    const auto grid = BenchmarkModel::makeGrid(edge);
    const ElectronDensity density = makeDensity(model, grid);
    Grids grids(density.nDof(), grid->getTotalSize());
    for ([[maybe_unused]] const auto iteration : state) {
        density.evalRigidFlex(grids.values, grids.gradient, grids.hessian);
    }
    if (!grids.agreeWith(density.tabulate())) {
        state.SkipWithError("the grids do not hold the numbers of the table");
    }
    state.SetItemsProcessed(state.iterations() * countContacts(density));
}

BENCHMARK(tabulate)->Arg(0)->Arg(20)->Unit(benchmark::kMillisecond);
BENCHMARK(evalRigidFlex)->Arg(0)->Arg(20)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
