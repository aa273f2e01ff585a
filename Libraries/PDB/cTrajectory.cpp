// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/cTrajectory.h"

#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>

#include "Math/structure.h"

void cTrajectory::appendFrame(Frame frame) {
    if (m_frames.empty() && frame.empty()) {
        throw std::invalid_argument("cTrajectory: frame 0 has no atoms");
    }
    if (!m_frames.empty() && frame.size() != getAtomCount()) {
        throw std::length_error("cTrajectory: frame " + std::to_string(m_frames.size()) + " has " +
                                std::to_string(frame.size()) + " atoms, but the first frame has " +
                                std::to_string(getAtomCount()));
    }
    m_frames.push_back(std::move(frame));
    m_covariance.reset();
}

void cTrajectory::appendModel(const std::vector<cPDBAtom>& atoms) {
    std::vector<cPDBAtom> kept = m_atoms.empty() ? atoms : std::vector<cPDBAtom>();
    appendFrame(pdbAtoms2Positions(atoms));
    if (m_atoms.empty()) {
        m_atoms = std::move(kept);
    }
}

const cTrajectory::Frame& cTrajectory::getFrame(std::size_t frame) const {
    if (frame >= m_frames.size()) {
        throw std::out_of_range("cTrajectory: frame " + std::to_string(frame) + " of " +
                                std::to_string(m_frames.size()));
    }
    return m_frames[frame];
}

cTrajectory::Frame cTrajectory::getAverageFrame() const {
    checkHasFrames();
    Frame average(getAtomCount(), {0.0, 0.0, 0.0});
    for (const Frame& frame : m_frames) {
        for (std::size_t a = 0; a < frame.size(); ++a) {
            for (std::size_t c = 0; c < 3; ++c) {
                average[a][c] += frame[a][c];
            }
        }
    }
    for (auto& position : average) {
        for (double& coordinate : position) {
            coordinate /= static_cast<double>(m_frames.size());
        }
    }
    return average;
}

std::shared_ptr<const arma::Mat<double>> cTrajectory::getCovariance(const std::vector<double>& masses) {
    checkHasFrames();
    if (masses.size() != getAtomCount()) {
        throw std::length_error("cTrajectory: " + std::to_string(masses.size()) + " masses, but " +
                                std::to_string(getAtomCount()) + " atoms");
    }
    if (m_covariance && masses == m_covarianceMasses) {
        return m_covariance;
    }
    const Frame average = getAverageFrame();
    arma::Mat<double> deviations(3 * getAtomCount(), m_frames.size()); // a frame per column
    for (std::size_t f = 0; f < m_frames.size(); ++f) {
        for (std::size_t i = 0; i < deviations.n_rows; ++i) {
            const double weight = std::sqrt(masses[i / 3] / static_cast<double>(m_frames.size()));
            deviations(i, f) = weight * (m_frames[f][i / 3][i % 3] - average[i / 3][i % 3]);
        }
    }
    m_covariance = std::make_shared<const arma::Mat<double>>(deviations * deviations.t());
    m_covarianceMasses = masses;
    return m_covariance;
}

void cTrajectory::checkHasFrames() const {
    if (m_frames.empty()) {
        throw std::logic_error("cTrajectory: there are no frames");
    }
}
