// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_CTIMER_H
#define SELVANE_IO_CTIMER_H

/// A stopwatch. All times are wall-clock seconds.
class cTimer {
public:
    /// Seconds since the last call, or since the start for the first one; begins the next interval.
    virtual double getTimeInterval() = 0;
    /// Seconds since the start; leaves the current interval alone.
    virtual double getTime() = 0;

    /// Prints the text and getTime() as "text \t\t1.5 s".
    void printTime(const char* text);
    /// Prints the text and getTimeInterval() in the same form.
    void printTimeInterval(const char* text);

protected:
    ~cTimer() = default;
};

#endif
