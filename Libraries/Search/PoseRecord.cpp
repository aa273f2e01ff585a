// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/PoseRecord.h"

#include "CrossCorrelation/FlexibleFitConformation.h"
#include "Math/cGrid.h"

PoseRecord toPoseRecord(const FlexibleFitConformation& conformation) {
    const std::array<double, 3> tau = conformation.getTau(); // z, y, x
    PoseRecord pose;
    pose.score = conformation.m_rigidScore;
    pose.refinedScore = conformation.m_flexScore;
    pose.angles = {conformation.m_alpha, conformation.m_beta, conformation.m_gamma};
    pose.tau = cVector3(tau[2], tau[1], tau[0]);
    pose.period = conformation.m_grid->getPeriod();
    pose.dTau = cVector3(conformation.m_ddx, conformation.m_ddy, conformation.m_ddz);
    pose.dRotation = cVector3(conformation.m_dalpha, conformation.m_dbeta, conformation.m_dgamma);
    pose.amplitudes.assign(conformation.m_eta.begin(), conformation.m_eta.end());
    return pose;
}
