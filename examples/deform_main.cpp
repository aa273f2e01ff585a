// SPDX-License-Identifier: GPL-3.0-or-later
// selvane-deform: moves a model along its own softest modes, to see what a flexible fit makes of it.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <vector>

#include "IO/message.h"
#include "Math/structure.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/loadFromPDB.h"
#include "PDB/writePDB.h"

namespace {

constexpr const char* usageText =
    "usage: selvane-deform MODEL.pdb OUT.pdb RMSD MODES\n"
    "\n"
    "Moves MODEL.pdb along its MODES softest normal modes, by the same amplitude along each\n"
    "and by RMSD angstrom (mass-weighted) in all, and writes it to OUT.pdb.\n";

constexpr double cutoff = 10.0; // angstrom, as a fit has it
constexpr double stiffness = 1.0;
constexpr double anyScale = 1.0;

double positiveFrom(const std::string& text, const char* name) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !(value > 0.0) || !std::isfinite(value)) {
        throw std::invalid_argument(std::string(name) + " must be a number above 0, not '" + text + "'");
    }
    return value;
}

/// Amplitudes are mass-weighted: sum over the atoms of m u^2 is their squared norm.
void deform(const std::string& from, const std::string& to, double rmsd, unsigned int modes) {
    std::vector<cPDBAtom> atoms;
    std::vector<double> masses;
    std::vector<int> blocks;
    loadFromPDB(from.c_str(), atoms, masses, blocks);
    if (atoms.empty()) {
        throw std::runtime_error(from + " has no atoms to move");
    }
    const auto network = std::make_shared<System>(atoms, cutoff, stiffness, nullptr);
    const NormalModeEngine engine(network, pdbAtoms2Positions(atoms), masses, blocks, modes, anyScale,
                                  nullptr);
    const double totalMass = std::accumulate(masses.begin(), masses.end(), 0.0);
    arma::Col<double> amplitudes(modes);
    amplitudes.fill(rmsd * std::sqrt(totalMass / modes));
    if (!writePDB(to.c_str(), atoms.data(), static_cast<int>(atoms.size()),
                  engine.getDisplacement(amplitudes))) {
        throw std::runtime_error("cannot write " + to);
    }
}

void writeMessage(const std::string& message) {
    std::fprintf(stderr, "selvane: %s\n", message.c_str());
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 5) {
        std::fputs(usageText, stderr);
        return EXIT_FAILURE;
    }
    setMessageSink(writeMessage);
    try {
        const double modes = positiveFrom(argv[4], "MODES");
        constexpr double mostModes = 1000.0;
        if (modes != std::floor(modes) || modes > mostModes) {
            throw std::invalid_argument("MODES must be a whole number up to 1000");
        }
        deform(argv[1], argv[2], positiveFrom(argv[3], "RMSD"), static_cast<unsigned int>(modes));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "selvane-deform: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
