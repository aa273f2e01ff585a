// SPDX-License-Identifier: GPL-3.0-or-later
#include "NMAEngine/modeFunctions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "Math/structure.h"
#include "NMAEngine/NormalModeEngine.h"
#include "NMAEngine/rigidBlock.h"

std::tuple<arma::Col<double>, arma::Col<double>, arma::Col<double>>
getTranslationBasis(unsigned long nAtoms) {
    const auto along = [&](arma::uword axis) {
        arma::Col<double> shift(3 * nAtoms, arma::fill::zeros);
        for (arma::uword i = axis; i < shift.n_elem; i += 3) {
            shift[i] = 1.0;
        }
        return shift;
    };
    return {along(0), along(1), along(2)};
}

void buildInfinitesimalRotationMatrix(const std::vector<std::array<double, 3>>& positions,
                                      const std::vector<double>& masses, arma::Mat<double>& out) {
    if (positions.size() != masses.size()) {
        throw std::length_error("buildInfinitesimalRotationMatrix: " + std::to_string(positions.size()) +
                                " positions, but " + std::to_string(masses.size()) + " masses");
    }
    const std::vector<int> oneBlock(positions.size(), 0);
    const RigidBlock block = makeRigidBlocks(positions, masses, oneBlock, 1).front();
    out.set_size(3 * positions.size(), 3);
    for (std::size_t atom = 0; atom < positions.size(); ++atom) {
        out.rows(3 * atom, 3 * atom + 2) = block.rotationColumns(positions[atom], masses[atom]);
    }
}

arma::Mat<double> buildInfinitesimalRotationMatrix(const std::vector<std::array<double, 3>>& positions,
                                                   const std::vector<double>& masses) {
    arma::Mat<double> out;
    buildInfinitesimalRotationMatrix(positions, masses, out);
    return out;
}

void buildInfinitesimalRotationMatrix(const arma::Col<double>& positions, const std::vector<double>& masses,
                                      arma::Mat<double>& out) {
    if (positions.n_elem % 3 != 0) {
        throw std::length_error("buildInfinitesimalRotationMatrix: " + std::to_string(positions.n_elem) +
                                " coordinates are no multiple of 3");
    }
    std::vector<std::array<double, 3>> points(positions.n_elem / 3);
    for (std::size_t atom = 0; atom < points.size(); ++atom) {
        points[atom] = {positions[3 * atom], positions[3 * atom + 1], positions[3 * atom + 2]};
    }
    buildInfinitesimalRotationMatrix(points, masses, out);
}

arma::Mat<double> buildInfinitesimalRotationMatrix(const arma::Col<double>& positions,
                                                   const std::vector<double>& masses) {
    arma::Mat<double> out;
    buildInfinitesimalRotationMatrix(positions, masses, out);
    return out;
}

arma::Col<double> gererateRandomDeformations(const NormalModeEngine& engine, double scale) {
    arma::Col<double> amplitudes(engine.m_eigenvalues.n_elem);
    amplitudes.imbue([] { return myRand(-1.0, 1.0); });
    return amplitudes * (std::sqrt(scale) / arma::norm(amplitudes)) / arma::sqrt(engine.m_eigenvalues);
}

double getRMSD(const arma::Col<double>& d, const arma::Mat<double>& B) {
    if (d.is_empty()) {
        return 0.0;
    }
    const double square = arma::dot(d, d - B * (B.t() * d));
    // Deliberate: the mean is over the coordinates, not over the atoms.
    return std::sqrt(std::max(square, 0.0) / static_cast<double>(d.n_elem));
}
