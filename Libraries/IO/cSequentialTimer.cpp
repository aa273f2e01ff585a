// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/cSequentialTimer.h"

namespace {

timespec now() {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return time;
}

/// The integer differences are taken first: as doubles, seconds since 1970 leave no room for nanoseconds.
double secondsBetween(const timespec& from, const timespec& to) {
    return static_cast<double>(to.tv_nsec - from.tv_nsec) / 1e9 +
           static_cast<double>(to.tv_sec - from.tv_sec);
}

} // namespace

cSequentialTimer::cSequentialTimer() : m_start(now()), m_last(m_start) {}

void cSequentialTimer::beginMeasurement() {
    m_start = now();
    m_last = m_start;
}

double cSequentialTimer::getTime() {
    return secondsBetween(m_start, now());
}

double cSequentialTimer::getTimeInterval() {
    const timespec time = now();
    m_intervals.push_back(secondsBetween(m_last, time));
    m_last = time;
    return m_intervals.back();
}
