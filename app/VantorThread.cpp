// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VantorThread.h"

#include "app/Vantor.h"

void VantorZeroPaddThread::runInternal() {
    m_fit->threadedZeroPadd(m_id);
}

void VantorInitCrossCorrelationThread::runInternal() {
    m_fit->threadedInitCrossCorrelation(m_id);
}
