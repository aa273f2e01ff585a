// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_DYNAMICFOREACHTHREAD_H
#define SELVANE_APP_DYNAMICFOREACHTHREAD_H

#include <optional>
#include <vector>

#include "app/BaseThread.h"
#include "app/ProgressBar.h"

/// A worker of DynamicParallelForEach: draws tasks from the back of a shared pool until it is empty.
class DynamicForEachThread : public BaseThread {
public:
    using BaseThread::BaseThread;

    void runInternal() override;
    /// One task, outside the lock.
    virtual void doStep(unsigned long task) = 0;

    /// @param pool  shared by all workers; null for no work at all
    void setTaskPool(std::vector<unsigned long>* pool) { m_taskPool = pool; }
    /// @param progress  the bar of the loop, or null for none
    void setProgress(ProgressBar* progress) { m_progress = progress; }

private:
    std::optional<unsigned long> takeTask(unsigned int last);

    std::vector<unsigned long>* m_taskPool = nullptr;
    ProgressBar* m_progress = nullptr;
};

#endif
