// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_VANTORTHREAD_H
#define SELVANE_APP_VANTORTHREAD_H

#include "app/BaseThread.h"

class Vantor;

/// A worker that does one thing for a fit, once.
class VantorThread : public BaseThread {
public:
    using BaseThread::BaseThread;

    Vantor* m_fit = nullptr;
};

/// Fills its own padded copy of the map.
class VantorZeroPaddThread : public VantorThread {
public:
    using VantorThread::VantorThread;
    void runInternal() override;
};

/// Sets up its own correlation.
class VantorInitCrossCorrelationThread : public VantorThread {
public:
    using VantorThread::VantorThread;
    void runInternal() override;
};

#endif
