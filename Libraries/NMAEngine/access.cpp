// SPDX-License-Identifier: GPL-3.0-or-later
// What the rest of the system asks of finished modes.
#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <string>

#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"

arma::Mat<double> NormalModeEngine::getModesMatrix(int atom) const {
    const arma::uword nAtoms = m_modes.n_rows / 3;
    if (atom < 0 || static_cast<arma::uword>(atom) >= nAtoms) {
        throw std::out_of_range("NormalModeEngine: modes of atom " + std::to_string(atom) + " of " +
                                std::to_string(nAtoms));
    }
    const auto row = 3 * static_cast<arma::uword>(atom);
    return m_modes.rows(row, row + 2);
}

arma::Col<double> NormalModeEngine::getDisplacement(const arma::Col<double>& amplitudes) const {
    return m_modes * amplitudes;
}

void NormalModeEngine::perform_op(const double* in, double* out) const {
    std::fill_n(out, cols(), 0.0);
    for (const arma::Col<double>& projection : m_projections) {
        const double amplitude = std::inner_product(projection.begin(), projection.end(), in, 0.0);
        for (arma::uword i = 0; i < projection.n_elem; ++i) {
            out[i] += amplitude * projection[i];
        }
    }
}

void NormalModeEngine::getBlockMasses(const std::list<int>& atoms, std::vector<double>& masses) const {
    masses.clear();
    masses.reserve(atoms.size());
    for (const int atom : atoms) {
        masses.push_back(system().m_mass(3 * static_cast<arma::uword>(atom)));
    }
}

void NormalModeEngine::shiftIndices(const std::set<int>& atoms) {
    for (const int atom : atoms) {
        m_modes.insert_rows(3 * static_cast<arma::uword>(atom), 3);
    }
}
