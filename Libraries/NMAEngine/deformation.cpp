// SPDX-License-Identifier: GPL-3.0-or-later
// From mode amplitudes to coordinates, the blocks staying rigid.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "Math/structure.h"
#include "NMAEngine/NormalModeEngine.h"
#include "NMAEngine/blockScrew.h"
#include "NMAEngine/blockSuperposition.h"

namespace {

using Atoms = std::vector<cPDBAtom>;
using Screw = BlockScrew (*)(const cVector3& center, const cVector3& turn, const cVector3& travel,
                             double leastTurn);

constexpr double noAmplitude = 1e-11; // norm of the amplitudes or of the displacement that moves nothing
constexpr double noTurn = 1e-11; // radians, or radians per unit amplitude, of a block that only translates
constexpr double smallStep = 0.0001; // angstrom, norm of the displacement that is small for a superposition

void copyPositions(const Atoms& atoms, cVector3* out) {
    std::transform(atoms.begin(), atoms.end(), out, [](const cPDBAtom& atom) { return atom.m_position; });
}

/// Fills `out` with copies of the atoms at the positions that fill(positions) leaves in the array it is
/// given, which holds those of `out`, or of the atoms where `out` has another number of them. `out` may be
/// `atoms`.
template <typename Fill>
void fillPositions(const Atoms& atoms, Atoms& out, Fill fill) {
    std::vector<cVector3> positions(atoms.size());
    copyPositions(out.size() == atoms.size() ? out : atoms, positions.data());
    fill(positions.data());
    if (&out != &atoms) {
        out = atoms;
    }
    for (std::size_t i = 0; i < out.size(); ++i) {
        out[i].m_position = positions[i];
    }
}

/// Writes screw(position) for every listed atom.
void moveBlock(const BlockScrew& screw, const std::list<int>& block, const Atoms& atoms, cVector3* out) {
    for (const int atom : block) {
        out[atom] = screw(atoms.at(static_cast<std::size_t>(atom)).m_position);
    }
}

/// Moves each block by its screw. combine() makes of a block's vectors per mode the vector of the motion.
template <typename Combine>
void moveEachBlock(const NormalModeEngine& engine, Combine combine, Screw screw, double leastTurn,
                   const Atoms& atoms, cVector3* out) {
    const std::size_t nBlocks = std::min({engine.m_blockAtoms.size(), engine.m_blockCenters.size(),
                                          engine.m_blockRotations.size(), engine.m_blockTranslations.size()});
    for (std::size_t b = 0; b < nBlocks; ++b) {
        const cVector3 turn = combine(engine.m_blockRotations[b]);
        const cVector3 travel = combine(engine.m_blockTranslations[b]);
        moveBlock(screw(cVector3(engine.m_blockCenters[b].data()), turn, travel, leastTurn),
                  engine.m_blockAtoms[b], atoms, out);
    }
}

void moveAlongMode(const NormalModeEngine& engine, int mode, double amplitude, Screw screw,
                   const Atoms& atoms, cVector3* out) {
    if (std::fabs(amplitude) < noAmplitude) {
        copyPositions(atoms, out);
        return;
    }
    if (mode < 0 || static_cast<unsigned int>(mode) >= engine.m_nModes) {
        return;
    }
    const auto combine = [&](const std::vector<cVector3>& perMode) {
        return perMode.at(static_cast<std::size_t>(mode)) * amplitude;
    };
    moveEachBlock(engine, combine, screw, noTurn * std::fabs(amplitude), atoms, out);
}

double norm(const std::vector<double>& amplitudes) {
    double sum = 0.0;
    for (const double amplitude : amplitudes) {
        sum += amplitude * amplitude;
    }
    return std::sqrt(sum);
}

/// Amplitudes beyond the last mode move nothing.
void moveAlongModes(const NormalModeEngine& engine, const std::vector<double>& amplitudes, Screw screw,
                    double leastTurn, const Atoms& atoms, cVector3* out) {
    if (norm(amplitudes) < noAmplitude) {
        copyPositions(atoms, out);
        return;
    }
    const auto combine = [&](const std::vector<cVector3>& perMode) {
        cVector3 sum(0.0);
        for (std::size_t m = 0; m < std::min(perMode.size(), amplitudes.size()); ++m) {
            sum += perMode[m] * amplitudes[m];
        }
        return sum;
    };
    moveEachBlock(engine, combine, screw, leastTurn, atoms, out);
}

} // namespace

void NormalModeEngine::applyNonLinearTransformation(int mode, double amplitude, cVector3* out,
                                                    const std::vector<cPDBAtom>& atoms) const {
    moveAlongMode(*this, mode, amplitude, BlockScrew::followingVelocity, atoms, out);
}

void NormalModeEngine::applyNonLinearTransformation(int mode, double amplitude, std::vector<cPDBAtom>& out,
                                                    const std::vector<cPDBAtom>& atoms) const {
    fillPositions(atoms, out,
                  [&](cVector3* moved) { applyNonLinearTransformation(mode, amplitude, moved, atoms); });
}

void NormalModeEngine::applyNonLinearTransformation(const std::vector<double>& amplitudes, cVector3* out,
                                                    const std::vector<cPDBAtom>& atoms) const {
    moveAlongModes(*this, amplitudes, BlockScrew::followingVelocity, noTurn * norm(amplitudes), atoms, out);
}

void NormalModeEngine::applyNonLinearTransformation(const std::vector<double>& amplitudes,
                                                    std::vector<cPDBAtom>& out,
                                                    const std::vector<cPDBAtom>& atoms) const {
    fillPositions(atoms, out,
                  [&](cVector3* moved) { applyNonLinearTransformation(amplitudes, moved, atoms); });
}

void NormalModeEngine::applyLargeNonLinearTransformation(int mode, double amplitude, cVector3* out,
                                                         const std::vector<cPDBAtom>& atoms) const {
    moveAlongMode(*this, mode, amplitude, BlockScrew::movingCentre, atoms, out);
}

void NormalModeEngine::applyLargeNonLinearTransformation(const std::vector<double>& amplitudes,
                                                         std::vector<cPDBAtom>& out,
                                                         const std::vector<cPDBAtom>& atoms) const {
    fillPositions(atoms, out, [&](cVector3* moved) {
        // Deliberate: the least turn is one in all here and one per unit amplitude in the other forms.
        moveAlongModes(*this, amplitudes, BlockScrew::movingCentre, noTurn, atoms, moved);
    });
}

void NormalModeEngine::applyNonLinearTransformation(const arma::Col<double>& amplitudes,
                                                    std::vector<cPDBAtom>& out,
                                                    const std::vector<cPDBAtom>& atoms) const {
    const arma::Col<double> displacement = getDisplacement(amplitudes);
    if (displacement.n_elem != 3 * atoms.size()) {
        throw std::length_error("NormalModeEngine: modes of " + std::to_string(displacement.n_elem / 3) +
                                " atoms, but " + std::to_string(atoms.size()) + " atoms");
    }
    const double length = arma::norm(displacement);
    if (length < noAmplitude) {
        fillPositions(atoms, out, [&](cVector3* moved) { copyPositions(atoms, moved); });
        return;
    }
    const double scale = length / smallStep;
    std::vector<std::array<double, 3>> stepped = pdbAtoms2Positions(atoms);
    for (std::size_t i = 0; i < displacement.n_elem; ++i) {
        stepped[i / 3][i % 3] += displacement[i] / scale;
    }

    fillPositions(atoms, out, [&](cVector3* moved) {
        std::vector<double> masses;
        for (const std::list<int>& block : m_blockAtoms) {
            getBlockMasses(block, masses);
            const BlockMotion motion = fitBlockMotion(atoms, stepped, block, masses);
            moveBlock(
                BlockScrew::movingCentre(motion.center, motion.turn * scale, motion.travel * scale, 0.0),
                block, atoms, moved);
        }
    });
}
