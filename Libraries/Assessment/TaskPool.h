// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_ASSESSMENT_TASKPOOL_H
#define SELVANE_ASSESSMENT_TASKPOOL_H

#include <algorithm>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "Search/SearchObserver.h"

/// Tasks that threads draw in turn, an observer, and the first exception of any of them.
class TaskPool {
public:
    TaskPool(std::size_t tasks, SearchObserver& observer) : m_tasks(tasks), m_observer(observer) {}

    /// Runs work(0), ..., work(tasks - 1), each once.
    /// @throws what the first of them threw, SearchCancelled
    template <class Work>
    void run(std::size_t threads, const Work& work) {
        std::vector<std::thread> others;
        for (std::size_t i = 1; i < std::min(threads, m_tasks); ++i) {
            try {
                others.emplace_back([&] { drain(work); });
            } catch (const std::system_error&) {
                break; // no thread to be had: those that run do it all
            }
        }
        drain(work);
        for (std::thread& thread : others) {
            thread.join();
        }
        if (m_failure) {
            std::rethrow_exception(m_failure);
        }
    }

private:
    template <class Work>
    void drain(const Work& work) {
        try {
            for (std::size_t task = draw(); task < m_tasks; task = draw()) {
                work(task);
                finish();
            }
        } catch (...) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_next = m_tasks;
            if (!m_failure) {
                m_failure = std::current_exception();
            }
        }
    }

    std::size_t draw() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_next < m_tasks ? m_next++ : m_tasks;
    }

    void finish() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_observer.progress(++m_done);
        if (m_observer.isCancelled()) {
            throw SearchCancelled();
        }
    }

    std::size_t m_tasks;
    SearchObserver& m_observer;
    std::mutex m_mutex;
    std::size_t m_next = 0;
    std::size_t m_done = 0;
    std::exception_ptr m_failure;
};

#endif
