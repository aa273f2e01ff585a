// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/DynamicForEachThread.h"

#include <mutex>

void DynamicForEachThread::runInternal() {
    if (m_taskPool == nullptr) {
        return;
    }
    unsigned int last = 0;
    {
        const std::lock_guard<Mutex> lock(*m_mutex);
        // Deliberate: the size when this worker starts, so the drawing of a late worker runs behind.
        last = static_cast<unsigned int>(m_taskPool->size()) - 1U;
    }
    while (const std::optional<unsigned long> task = takeTask(last)) {
        doStep(*task);
    }
}

/// The next task if one is left; draws the bar in either case.
std::optional<unsigned long> DynamicForEachThread::takeTask(unsigned int last) {
    const std::lock_guard<Mutex> lock(*m_mutex);
    std::optional<unsigned long> task;
    if (!m_taskPool->empty()) {
        task = m_taskPool->back();
        m_taskPool->pop_back();
    }
    // Deliberate: also when no task was left.
    if (m_progress != nullptr) {
        m_progress->draw(static_cast<int>(last - static_cast<unsigned int>(m_taskPool->size()) + 1U));
    }
    return task;
}
