// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTORREFINECONFORMATIONTHREAD_H
#define SELVANE_APP_VANTORREFINECONFORMATIONTHREAD_H

#include "app/DynamicForEachThread.h"

class Vantor;

/// A worker of the refinement: takes the best pose that nobody has taken yet.
class VantorRefineConformationThread : public DynamicForEachThread {
public:
    using DynamicForEachThread::DynamicForEachThread;

    void doStep(unsigned long task) override;

    Vantor* m_fit = nullptr;
};

#endif
