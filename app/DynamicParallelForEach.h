// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_DYNAMICPARALLELFOREACH_H
#define SELVANE_APP_DYNAMICPARALLELFOREACH_H

#include <iostream>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "app/ParallelRunner.h"
#include "app/ProgressBar.h"

/// A loop over the tasks 0, ..., nTasks - 1 with a progress bar. The workers draw tasks from a shared pool in
/// ascending order. T derives from DynamicForEachThread.
template <class T>
class DynamicParallelForEach : public ParallelRunner<T> {
public:
    /// @param taskName  what the tasks are, in the message about workers that could not be started
    DynamicParallelForEach(unsigned long nThreads, unsigned long nTasks, std::string taskName = "tasks")
        : ParallelRunner<T>(nThreads)
        , m_taskPool(nTasks)
        , m_progress{static_cast<int>(nTasks), 70}
        , m_taskName(std::move(taskName)) {
        std::iota(m_taskPool.rbegin(), m_taskPool.rend(), 0UL);
        for (const auto& thread : this->m_threads) {
            thread->setTaskPool(&m_taskPool);
            thread->setProgress(&m_progress);
        }
    }

    /// Closes the bar.
    virtual ~DynamicParallelForEach() { std::cout << std::endl; }

    /// As ParallelRunner::run(). The other workers take over from one that could not be started; the tasks
    /// left when none could are named on the standard error stream.
    std::vector<bool> run() {
        std::vector<bool> done = ParallelRunner<T>::run();
        this->m_allDone = m_taskPool.empty();
        if (!this->m_allDone) {
            std::cerr << "selvane: no worker could be started, " << m_taskName << " " << m_taskPool.back()
                      << " to " << m_taskPool.front() << " are not done" << std::endl;
        }
        return done;
    }

private:
    std::vector<unsigned long> m_taskPool;
    ProgressBar m_progress;
    std::string m_taskName;
};

#endif
