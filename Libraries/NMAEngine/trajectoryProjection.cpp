// SPDX-License-Identifier: GPL-3.0-or-later
// The frames of a trajectory in the space of the blocks' motions.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

#include "Mechanics/System.h"
#include "NMAEngine/NormalModeEngine.h"
#include "PDB/cTrajectory.h"

namespace {

using Vector = arma::Col<double>;
using Positions = std::vector<std::array<double, 3>>;

/// scale * P^T M^(1/2) x
Vector projected(const NormalModeEngine& engine, const Vector& isqrtMass, const Positions& positions,
                 double scale) {
    if (3 * positions.size() != isqrtMass.n_elem || isqrtMass.n_elem != engine.m_prolongation.n_rows) {
        throw std::length_error("NormalModeEngine: " + std::to_string(positions.size()) +
                                " positions to project, but " +
                                std::to_string(engine.m_prolongation.n_rows / 3) + " atoms");
    }
    Vector weighted(3 * positions.size());
    for (std::size_t i = 0; i < weighted.n_elem; ++i) {
        weighted[i] = positions[i / 3][i % 3] * scale / isqrtMass[i];
    }
    return engine.m_prolongation.t() * weighted;
}

const cTrajectory& checked(const cTrajectory* trajectory) {
    if (!trajectory) {
        throw std::invalid_argument("NormalModeEngine: there is no trajectory to project");
    }
    return *trajectory;
}

std::size_t frameIndex(int frame) {
    if (frame < 0) {
        throw std::out_of_range("NormalModeEngine: frame " + std::to_string(frame));
    }
    return static_cast<std::size_t>(frame);
}

} // namespace

void NormalModeEngine::projectTrajectory(const cTrajectory* trajectory,
                                         const std::vector<std::array<double, 3>>& reference) {
    const std::size_t nFrames = checked(trajectory).getFrameCount();
    if (nFrames == 0) {
        throw std::logic_error("NormalModeEngine: a trajectory without frames");
    }
    const double scale = 1.0 / std::sqrt(static_cast<double>(nFrames));
    const Vector& isqrtMass = system().m_isqrtMass;
    const Vector origin = projected(*this, isqrtMass, reference, scale);
    std::vector<Vector> projections;
    projections.reserve(nFrames);
    for (std::size_t frame = 0; frame < nFrames; ++frame) {
        projections.push_back(projected(*this, isqrtMass, trajectory->getFrame(frame), scale) - origin);
    }
    m_frameAverage = origin;
    m_projections = std::move(projections);
}

void NormalModeEngine::projectTrajectory(const cTrajectory* trajectory, int frame) {
    projectTrajectory(trajectory, checked(trajectory).getFrame(frameIndex(frame)));
}

// Deliberate: what is given as reference plays no part, here and for the average.
void NormalModeEngine::projectTrajectory(const cTrajectory* trajectory,
                                         const std::vector<std::array<double, 3>>& /*reference*/, int frame) {
    projectTrajectory(trajectory, frame);
}

void NormalModeEngine::projectAvTrajectory(const cTrajectory* trajectory,
                                           const std::vector<std::array<double, 3>>& /*reference*/) {
    projectTrajectory(trajectory, checked(trajectory).getAverageFrame());
}

void NormalModeEngine::computeMinMaxAmplitudes(const cTrajectory* /*trajectory*/, int mode,
                                               double* minMax) const {
    // Deliberate: 0 takes part in the range.
    minMax[0] = minMax[1] = 0.0;
    if (mode < 0 || static_cast<unsigned int>(mode) >= m_nModes) {
        return;
    }
    const auto m = static_cast<std::size_t>(mode);
    const std::size_t nBlocks = std::min({m_blockMasses.size(), m_blockInvSqrtInertia.size(),
                                          m_blockTranslations.size(), m_blockRotations.size()});
    const auto vectorOf = [](const cVector3& v) { return Vector{v.x, v.y, v.z}; };
    for (const Vector& p : m_projections) {
        double overlap = 0.0;
        double size = 0.0;
        for (std::size_t b = 0; b < nBlocks; ++b) {
            if (!(m_blockMasses[b] > 0.0)) { // without atoms
                continue;
            }
            const Vector t = vectorOf(m_blockTranslations[b].at(m));
            const Vector w = vectorOf(m_blockRotations[b].at(m));
            const Vector turned = m_blockInvSqrtInertia[b] * p.subvec(6 * b + 3, 6 * b + 5);
            overlap +=
                std::sqrt(m_blockMasses[b]) * arma::dot(p.subvec(6 * b, 6 * b + 2), t) + arma::dot(turned, w);
            size += arma::dot(w, w) + arma::dot(t, t);
        }
        // Deliberate: the divisor isn't the masses' norm, so this is not the amplitude of the mode but a
        // multiple of it, the same for all frames.
        const double amplitude = overlap / size;
        minMax[0] = std::min(minMax[0], amplitude);
        minMax[1] = std::max(minMax[1], amplitude);
    }
}
