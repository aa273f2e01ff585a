// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VantorRotationThread.h"

#include "Search/ScanCheckpoints.h"
#include "app/Vantor.h"

void VantorRotationThread::setContext(Vantor* fit, const std::array<double, 3>* angles) {
    m_fit = fit;
    m_angles = angles;
}

void VantorRotationThread::setCheckpoints(ScanCheckpoints* checkpoints) {
    m_checkpoints = checkpoints;
}

void VantorRotationThread::runInternal() {
    if (m_checkpoints == nullptr) {
        StaticForEachThread::runInternal();
        return;
    }
    m_checkpoints->begin(m_id);
    StaticForEachThread::runInternal();
    m_checkpoints->end(m_id, getDone());
}

void VantorRotationThread::doStep(unsigned long task) {
    m_fit->threadedSetEulerAngles(m_angles[task], m_id);
    m_fit->threadedComputeCrossCorrelation(m_id);
    m_fit->threadedGetTopConformationsOpt(m_id);
    if (m_checkpoints != nullptr) {
        m_checkpoints->rotationDone(m_id, task + 1 - getBegin());
    }
}
