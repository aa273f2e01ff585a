// SPDX-License-Identifier: GPL-3.0-or-later
// What the output reads of each pose.
#include <array>
#include <memory>

#include "app/VantorHexaust.h"

std::array<double, 3> VantorHexaust::getConformationTau(unsigned long solution) const {
    return m_topConformations[solution].getTau();
}

std::array<double, 3> VantorHexaust::getConformationAngle(unsigned long solution) const {
    const auto& pose = m_topConformations[solution];
    // Deliberate: reversed, as the translation is.
    return {pose.m_gamma, pose.m_beta, pose.m_alpha};
}

const std::array<double, 3>& VantorHexaust::getConformationDTau(unsigned long solution) const {
    return m_topConformations[solution].m_dTau;
}

cMatrix33 VantorHexaust::getConformationRotation(unsigned long solution) const {
    const auto& pose = m_topConformations[solution];
    return cMatrix33::rotationXYZ(pose.m_alpha, pose.m_beta, pose.m_gamma);
}

arma::Col<double> VantorHexaust::getConformationIRotation(unsigned long solution) const {
    const auto& pose = m_topConformations[solution];
    return {pose.m_dalpha, pose.m_dbeta, pose.m_dgamma};
}

std::shared_ptr<const cGrid> VantorHexaust::getConformationGrid(unsigned long solution) const {
    return m_topConformations[solution].m_grid;
}

arma::Col<double> VantorHexaust::getConformationEta(unsigned long solution) const {
    return m_topConformations[solution].m_eta;
}

double VantorHexaust::getConformationScore(unsigned long solution) const {
    return m_topConformations[solution].m_rigidScore;
}

double VantorHexaust::getConformationFlexScore(unsigned long solution) const {
    return m_topConformations[solution].m_flexScore;
}
