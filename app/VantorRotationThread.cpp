// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VantorRotationThread.h"

#include "app/Vantor.h"

void VantorRotationThread::setContext(Vantor* fit, const std::array<double, 3>* angles) {
    m_fit = fit;
    m_angles = angles;
}

void VantorRotationThread::doStep(unsigned long task) {
    m_fit->threadedSetEulerAngles(m_angles[task], m_id);
    m_fit->threadedComputeCrossCorrelation(m_id);
    m_fit->threadedGetTopConformationsOpt(m_id);
}
