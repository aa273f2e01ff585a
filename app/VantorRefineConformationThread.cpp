// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/VantorRefineConformationThread.h"

#include "app/Vantor.h"

void VantorRefineConformationThread::doStep(unsigned long task) {
    m_fit->refineTopConformation(m_id, task);
}
