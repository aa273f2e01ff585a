// SPDX-License-Identifier: GPL-3.0-or-later
// From coordinates back to mode amplitudes.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <string>

#include "Math/structure.h"
#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"

namespace {

/// The coordinate rows of the listed atoms, of all if there is no list.
arma::uvec rowsOf(const std::vector<unsigned int>* atomList, std::size_t nAtoms) {
    std::vector<unsigned int> atoms(nAtoms);
    std::iota(atoms.begin(), atoms.end(), 0u);
    if (atomList) {
        atoms = *atomList;
    }
    arma::uvec rows(3 * atoms.size());
    for (std::size_t i = 0; i < rows.n_elem; ++i) {
        if (atoms[i / 3] >= nAtoms) {
            throw std::out_of_range("NormalModeEngine: atom " + std::to_string(atoms[i / 3]) + " of " +
                                    std::to_string(nAtoms));
        }
        rows[i] = 3 * static_cast<arma::uword>(atoms[i / 3]) + i % 3;
    }
    return rows;
}

void checkAtoms(std::size_t found, std::size_t expected) {
    if (found != expected) {
        throw std::length_error("NormalModeEngine: " + std::to_string(found) + " atoms, but modes of " +
                                std::to_string(expected));
    }
}

void print(double rmsdBefore, double rmsdAfter, const std::vector<double>& amplitudes) {
    std::printf("%12.6f%12.6f", rmsdBefore, rmsdAfter);
    for (const double amplitude : amplitudes) {
        std::printf("%12.6f", amplitude);
    }
    std::printf("\n");
}

} // namespace

void NormalModeEngine::computeBestAmplitudes(int nModes, const std::vector<cPDBAtom>& from,
                                             const std::vector<cPDBAtom>& to, std::vector<double>& amplitudes,
                                             double& rmsdBefore, double& rmsdAfter,
                                             std::vector<unsigned int>* atomList) const {
    const std::size_t nAtoms = m_modes.n_rows / 3;
    checkAtoms(from.size(), nAtoms);
    checkAtoms(to.size(), nAtoms);
    const arma::uvec rows = rowsOf(atomList, nAtoms);
    const arma::uword nColumns = std::min(static_cast<arma::uword>(std::max(nModes, 0)), m_modes.n_cols);

    amplitudes.assign(nColumns, 0.0);
    rmsdBefore = rmsdAfter = 0.0;
    if (rows.is_empty()) {
        print(rmsdBefore, rmsdAfter, amplitudes);
        return;
    }

    const arma::Col<double> rootMass = system().m_sqrtMass(rows);
    const arma::Col<double> difference = pdbAtoms2armavec(to) - pdbAtoms2armavec(from);
    const arma::Col<double> d = rootMass % difference(rows);
    const double totalMass = arma::accu(arma::square(rootMass)) / 3.0;
    double remaining = arma::dot(d, d) / totalMass;
    rmsdBefore = std::sqrt(remaining);
    if (nColumns > 0) {
        const arma::Mat<double> modes = m_modes.head_cols(nColumns);
        arma::Mat<double> basis = modes.rows(rows);
        basis.each_col() %= rootMass;
        // Few atoms may not tell all amplitudes; of the solutions the shortest is taken then.
        const arma::Col<double> best =
            arma::solve(basis.t() * basis, basis.t() * d, arma::solve_opts::force_approx);
        remaining -= arma::dot(d, basis * best) / totalMass;
        amplitudes = arma::conv_to<std::vector<double>>::from(best);
    }
    rmsdAfter = std::sqrt(std::max(remaining, 0.0));
    print(rmsdBefore, rmsdAfter, amplitudes);
}
