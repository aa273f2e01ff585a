// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_PARALLELRUNNER_H
#define SELVANE_APP_PARALLELRUNNER_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "app/Mutex.h"

/// A fixed set of workers of class T, each on a thread of its own, that share one lock. Runs once.
/// T derives from BaseThread and is constructed from (index, lock).
template <class T>
class ParallelRunner {
public:
    explicit ParallelRunner(unsigned long nThreads) : m_mutex(std::make_shared<Mutex>()) {
        m_threads.reserve(nThreads);
        for (unsigned long i = 0; i < nThreads; ++i) {
            m_threads.push_back(std::make_unique<T>(i, m_mutex));
        }
    }

    /// Starts all workers, then waits for those that started.
    /// @return per worker whether it was started and joined; the work of the others is not done
    std::vector<bool> run() {
        std::vector<bool> done;
        done.reserve(m_threads.size());
        for (const auto& thread : m_threads) {
            done.push_back(thread->run());
        }
        for (std::size_t i = 0; i < m_threads.size(); ++i) {
            done[i] = done[i] && m_threads[i]->join();
        }
        m_allDone = std::find(done.begin(), done.end(), false) == done.end();
        return done;
    }

    /// Whether run() did all the work.
    bool allDone() const { return m_allDone; }

    std::vector<std::unique_ptr<T>> m_threads;
    std::shared_ptr<Mutex> m_mutex;

protected:
    bool m_allDone = false;
};

#endif
