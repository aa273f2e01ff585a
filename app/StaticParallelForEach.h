// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_STATICPARALLELFOREACH_H
#define SELVANE_APP_STATICPARALLELFOREACH_H

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "Search/ScanShare.h"
#include "app/ParallelRunner.h"
#include "app/ProgressBar.h"

/// A loop over the tasks 0, ..., nTasks - 1 with a progress bar. Each worker has a contiguous range of
/// ceil(nTasks / nThreads) tasks, fixed in advance; late workers may have fewer or none.
/// T derives from StaticForEachThread.
template <class T>
class StaticParallelForEach : public ParallelRunner<T> {
public:
    /// @param taskName  what the tasks are, in the message about workers that could not be started
    StaticParallelForEach(unsigned long nThreads, unsigned long nTasks, std::string taskName = "tasks")
        : ParallelRunner<T>(nThreads)
        , m_progress{static_cast<int>(nTasks), 70}
        , m_taskName(std::move(taskName)) {
        for (std::size_t i = 0; i < this->m_threads.size(); ++i) {
            const ScanShare share = ScanShare::of(i, nThreads, nTasks);
            this->m_threads[i]->setRange(share.first, std::min(share.first + share.count, nTasks));
            this->m_threads[i]->setProgress(&m_progress, &m_counter);
        }
    }

    /// Leaves out the first tasks of each range, which were done before; the bar counts them as done.
    /// @param done  per worker
    /// @return false, and nothing is left out, if a range has fewer tasks
    bool skip(const std::vector<unsigned long>& done) {
        for (std::size_t i = 0; i < done.size(); ++i) {
            const T& thread = *this->m_threads[i];
            const unsigned long end = std::max(thread.getBegin(), thread.getEnd());
            if (done[i] > end - thread.getBegin()) {
                return false;
            }
        }
        for (std::size_t i = 0; i < done.size(); ++i) {
            this->m_threads[i]->setDone(done[i]);
            m_counter += done[i];
        }
        return true;
    }

    /// Closes the bar.
    virtual ~StaticParallelForEach() { std::cout << std::endl; }

    /// As ParallelRunner::run(); names the tasks of workers that could not be started on the standard error
    /// stream. A worker without tasks isn't missed.
    std::vector<bool> run() {
        std::vector<bool> done = ParallelRunner<T>::run();
        this->m_allDone = true;
        for (std::size_t i = 0; i < done.size(); ++i) {
            const T& thread = *this->m_threads[i];
            const unsigned long begin = thread.getBegin() + thread.getDone();
            if (done[i] || begin >= thread.getEnd()) {
                continue;
            }
            this->m_allDone = false;
            std::cerr << "selvane: worker " << i << " could not be started, " << m_taskName << " " << begin
                      << " to " << thread.getEnd() - 1 << " are not done" << std::endl;
        }
        return done;
    }

private:
    ProgressBar m_progress;
    unsigned long m_counter = 0;
    std::string m_taskName;
};

#endif
