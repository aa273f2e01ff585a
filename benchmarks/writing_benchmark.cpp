// SPDX-License-Identifier: GPL-3.0-or-later
// What does the writing of a pose cost, in units of a plain fprintf of its lines?
#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "Math/cMatrix33.h"
#include "PDB/AtomLines.h"
#include "PDB/writePDB.h"
#include "Search/PoseMove.h"
#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/wallTime.h"

namespace {

/// A file that is written again from its start; it goes with the object.
class ScratchFile {
public:
    ScratchFile() : m_file(std::tmpfile()) {
        if (m_file == nullptr) {
            throw std::runtime_error("no temporary file could be made");
        }
    }
    ~ScratchFile() { std::fclose(m_file); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    /// Seconds that write(file) and the flush of its buffer take.
    template <class Write>
    double time(Write&& write) {
        std::rewind(m_file);
        const auto start = std::chrono::steady_clock::now();
        write(m_file);
        std::fflush(m_file);
        return secondsOf(start);
    }

    /// What the last call of time() wrote.
    std::string content() {
        std::string text(static_cast<std::size_t>(std::ftell(m_file)), '\0');
        std::rewind(m_file);
        text.resize(std::fread(text.data(), 1, text.size(), m_file));
        return text;
    }

private:
    std::FILE* m_file;
};

std::vector<cPDBAtom> atomsAt(const std::vector<std::array<double, 3>>& positions) {
    std::vector<cPDBAtom> atoms(positions.size());
    for (std::size_t a = 0; a < atoms.size(); ++a) {
        cPDBAtom& atom = atoms[a];
        atom.m_position = cVector3(positions[a].data());
        atom.m_serial = static_cast<int>(a + 1);
        atom.m_resSeq = static_cast<int>(a / 8 + 1);
        atom.m_occupancy = 1.0F;
        atom.m_tempFactor = static_cast<float>(a % 97) * 0.5F;
        std::strcpy(atom.m_name, a % 8 == 0 ? "N" : "CA");
        std::strcpy(atom.m_resName, "LEU");
        std::strcpy(atom.m_chain, "A");
        std::strcpy(atom.m_altLoc, " ");
        std::strcpy(atom.m_iCode, " ");
        std::strcpy(atom.m_element, a % 8 == 0 ? "N" : "C");
    }
    return atoms;
}

/// A model and one pose of it, as the output of a run has them.
struct Scene {
    Scene(std::size_t n, unsigned int modes)
        : model(n, modes)
        , atoms(atomsAt(model.positions))
        , moved(atoms)
        , lines(atoms.data(), n)
        , eta(modes, arma::fill::value(0.1))
        , flex(3 * n, arma::fill::zeros)
        , placed(n) {}

    void place() {
        if (!eta.empty()) {
            flex = model.engine->m_modes * eta;
        }
        for (std::size_t a = 0; a < placed.size(); ++a) {
            placed[a] = move(atoms[a].m_position, cVector3(flex.memptr() + 3 * a));
        }
    }

    void writeLines(std::FILE* file) { lines.write(file, placed.data()); }

    /// One fprintf per line, and nothing but that.
    void writePlainly(std::FILE* file) const {
        for (const cPDBAtom& atom : moved) {
            writeLinePDB(file, &atom);
        }
    }

    BenchmarkModel model;
    std::vector<cPDBAtom> atoms;
    std::vector<cPDBAtom> moved; ///< for the plain lines
    AtomLines lines;
    PoseMove move{cMatrix33::rotationXYZ(0.3, 0.4, 0.5), cVector3(100.0, 110.0, 120.0),
                  cVector3(50.0, 60.0, 70.0), cVector3(0.1, 0.2, 0.3), cVector3(0.01, 0.02, 0.03)};
    arma::Col<double> eta;
    arma::Col<double> flex;
    std::vector<cVector3> placed;
};

/// One pose per iteration, its atoms placed and its lines written, and the same lines by fprintf beside it,
/// so that both see the same machine.
void pose(benchmark::State& state) {
    Scene scene(static_cast<std::size_t>(state.range(0)), static_cast<unsigned int>(state.range(1)));
    ScratchFile file;
    ScratchFile plainFile;
    std::vector<double> placings;
    std::vector<double> writings;
    std::vector<double> plain;
    for ([[maybe_unused]] const auto iteration : state) {
        scene.move.shift.x += 0.01;
        const auto start = std::chrono::steady_clock::now();
        scene.place();
        placings.push_back(secondsOf(start));
        writings.push_back(file.time([&](std::FILE* out) { scene.writeLines(out); }));
        state.SetIterationTime(placings.back() + writings.back());
        for (std::size_t a = 0; a < scene.moved.size(); ++a) {
            scene.moved[a].m_position = scene.placed[a];
        }
        plain.push_back(plainFile.time([&](std::FILE* out) { scene.writePlainly(out); }));
    }
    const double perAtom = 1e9 / static_cast<double>(scene.atoms.size());
    state.counters["place_ns"] = perAtom * medianOf(placings);
    state.counters["write_ns"] = perAtom * medianOf(writings);
    state.counters["fprintf_ns"] = perAtom * medianOf(plain);
    state.counters["ratio"] = (medianOf(placings) + medianOf(writings)) / medianOf(plain);
    state.SetItemsProcessed(state.iterations() * state.range(0));
    if (file.content() != plainFile.content()) {
        state.SkipWithError("the lines are not those of fprintf");
    }
}

BENCHMARK(pose)
    ->ArgNames({"atoms", "modes"})
    ->Args({3855, 0})
    ->Args({3855, 20})
    ->Args({20000, 0})
    ->Args({20000, 20})
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
