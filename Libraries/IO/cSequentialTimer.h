// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_CSEQUENTIALTIMER_H
#define SELVANE_IO_CSEQUENTIALTIMER_H

#include <ctime>
#include <vector>

#include "IO/cTimer.h"

/// The stopwatch of a sequence of stages, on the real-time clock: consecutive intervals and the time in all.
class cSequentialTimer final : public cTimer {
public:
    /// Starts the measurement.
    cSequentialTimer();

    double getTimeInterval() override;
    double getTime() override;
    /// Starts the measurement anew; intervals measured so far are kept.
    virtual void beginMeasurement();

    /// All intervals so far, in order.
    const std::vector<double>& getIntervals() const { return m_intervals; }

private:
    timespec m_start;
    timespec m_last;
    std::vector<double> m_intervals;
};

#endif
