// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_STATICFOREACHTHREAD_H
#define SELVANE_APP_STATICFOREACHTHREAD_H

#include "app/BaseThread.h"
#include "app/ProgressBar.h"

/// A worker of StaticParallelForEach: the tasks of one contiguous range, in ascending order.
class StaticForEachThread : public BaseThread {
public:
    using BaseThread::BaseThread;

    void runInternal() override;
    /// One task, outside the lock.
    virtual void doStep(unsigned long task) = 0;

    /// The tasks begin, ..., end - 1; none if begin is at or past end.
    void setRange(unsigned long begin, unsigned long end);
    unsigned long getBegin() const { return m_begin; }
    unsigned long getEnd() const { return m_end; }

    /// The first tasks of the range need not be done again.
    void setDone(unsigned long done) { m_done = done; }
    unsigned long getDone() const { return m_done; }

    /// @param progress  the bar of the loop, or null for none
    /// @param counter   the tasks that all workers have started so far
    void setProgress(ProgressBar* progress, unsigned long* counter);

private:
    unsigned long m_begin = 0;
    unsigned long m_end = 0;
    unsigned long m_done = 0; ///< tasks of the range, from its begin, done so far
    ProgressBar* m_progress = nullptr;
    unsigned long* m_counter = nullptr;
};

#endif
