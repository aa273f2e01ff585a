// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/modeReports.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <stdexcept>

#include "Math/pi.h"
#include "Math/structure.h"
#include "Mechanics/BondList.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/writePDB.h"

namespace {

constexpr int nFrames = 100;

/// The displacement along a mode in a frame.
arma::Col<double> swing(const NormalModeEngine& engine, arma::uword mode, double amplitude, int frame) {
    return engine.m_modes.col(mode) * (amplitude * std::sin(2.0 * pi * frame / (nFrames - 1) - pi));
}

void checkCount(const char* function, const char* what, std::size_t wanted, std::size_t present) {
    if (wanted > present) {
        throw std::length_error(std::string(function) + ": " + std::to_string(wanted) + ' ' + what + " of " +
                                std::to_string(present));
    }
}

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

void writeRow(const BondList& bonds, std::vector<double>& severities, FILE* file) {
    bonds.getBrokenBondSeverity(severities);
    std::fprintf(file, "%d", bonds.getBrokenBondCount());
    for (const double severity : severities) {
        if (severity > 0.0) {
            std::fprintf(file, " %.6f", severity);
        }
    }
    std::fprintf(file, "\n");
}

} // namespace

void printAtomPositions(const arma::Col<double>& amplitudes, const NormalModeEngine& engine, int nAtoms,
                        int nModes, const std::vector<cPDBAtom>& atoms, FILE* stream) {
    const auto modeCount = static_cast<std::size_t>(nModes < 0 ? 0 : nModes);
    const auto atomCount = static_cast<std::size_t>(nAtoms < 0 ? 0 : nAtoms);
    checkCount("printAtomPositions", "amplitudes", modeCount, amplitudes.n_elem);
    checkCount("printAtomPositions", "modes", modeCount, engine.m_modes.n_cols);
    checkCount("printAtomPositions", "atoms", atomCount, atoms.size());
    checkCount("printAtomPositions", "atoms with modes", atomCount, engine.m_modes.n_rows / 3);
    int model = 0;
    for (std::size_t mode = 0; mode < modeCount; ++mode) {
        for (int frame = 0; frame < nFrames; ++frame) {
            std::fprintf(stream, "MODEL     %4d\n", ++model);
            const arma::Col<double> displacement = swing(engine, mode, amplitudes[mode], frame);
            writePDB(nullptr, atoms.data(), nAtoms, displacement, stream);
            std::fprintf(stream, "ENDMDL\n");
        }
    }
    if (std::fflush(stream) != 0 || std::ferror(stream) != 0) {
        throw std::runtime_error("printAtomPositions: the models could not be written");
    }
}

void printBondBreak(const arma::Col<double>& amplitudes, const NormalModeEngine& engine,
                    const std::vector<cPDBAtom>& atoms, double cutoff, const std::string& prefix) {
    checkCount("printBondBreak", "modes", amplitudes.n_elem, engine.m_modes.n_cols);
    checkCount("printBondBreak", "atoms", atoms.size(), engine.m_modes.n_rows / 3);
    checkCount("printBondBreak", "atoms with modes", engine.m_modes.n_rows / 3, atoms.size());
    std::vector<cPDBAtom> indexed = atoms;
    for (std::size_t i = 0; i < indexed.size(); ++i) {
        indexed[i].m_index = static_cast<int>(i);
    }
    BondList bonds(indexed, cutoff);
    const std::vector<std::array<double, 3>> rest = pdbAtoms2Positions(atoms);
    std::vector<std::array<double, 3>> moved = rest;
    std::vector<double> severities;

    for (arma::uword mode = 0; mode < amplitudes.n_elem; ++mode) {
        const std::string name = prefix + std::to_string(mode) + ".dat";
        const File file(std::fopen(name.c_str(), "w"));
        if (!file) {
            throw std::runtime_error("printBondBreak: can't open " + name);
        }
        for (int frame = 0; frame < nFrames; ++frame) {
            const arma::Col<double> displacement = swing(engine, mode, amplitudes[mode], frame);
            for (std::size_t i = 0; i < displacement.n_elem; ++i) {
                moved[i / 3][i % 3] = rest[i / 3][i % 3] + displacement[i];
            }
            bonds.updateAtomPosition(moved);
            writeRow(bonds, severities, file.get());
        }
        if (std::fflush(file.get()) != 0 || std::ferror(file.get()) != 0) {
            throw std::runtime_error("printBondBreak: could not write " + name);
        }
    }
}
