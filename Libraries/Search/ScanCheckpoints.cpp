// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/ScanCheckpoints.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <new>
#include <system_error>
#include <utility>

ScanCheckpoints::ScanCheckpoints(std::chrono::milliseconds interval, const std::vector<unsigned long>& done,
                                 Steps steps)
    : m_interval(interval), m_steps(std::move(steps)), m_workers(done.size()) {
    for (std::size_t i = 0; i < done.size(); ++i) {
        m_workers[i].done = done[i];
    }
}

ScanCheckpoints::~ScanCheckpoints() {
    stop();
}

void ScanCheckpoints::start() {
    try {
        m_thread = std::thread([this] { keepTime(); });
    } catch (const std::system_error& error) {
        complain(error.what());
    }
}

void ScanCheckpoints::stop() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void ScanCheckpoints::begin(unsigned long worker) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_workers[worker].working = true;
}

/// The worker's state; empty if memory does not suffice for it.
std::string ScanCheckpoints::encode(unsigned long worker, unsigned long done) const {
    try {
        return m_steps.encode(worker, done);
    } catch (const std::bad_alloc&) {
        return {};
    }
}

void ScanCheckpoints::deliver(unsigned long worker, unsigned long done) {
    std::string part = encode(worker, done);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        take(worker, std::move(part));
    }
    m_changed.notify_all();
}

void ScanCheckpoints::take(unsigned long worker, std::string part) {
    m_workers[worker].part = std::move(part);
    m_workers[worker].wanted = false;
    --m_awaited;
}

void ScanCheckpoints::end(unsigned long worker, unsigned long done) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        Worker& self = m_workers[worker];
        self.working = false;
        self.done = done;
        if (self.wanted) {
            take(worker, encode(worker, done));
        }
    }
    m_changed.notify_all();
}

void ScanCheckpoints::keepTime() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_changed.wait_for(lock, m_interval, [this] { return m_stopping; })) {
        takeCheckpoint(lock);
    }
}

void ScanCheckpoints::takeCheckpoint(std::unique_lock<std::mutex>& lock) {
    requestParts();
    m_changed.wait(lock, [this] { return m_awaited == 0 || m_stopping; });
    if (m_stopping) {
        return;
    }
    std::vector<std::string> parts;
    for (Worker& worker : m_workers) {
        parts.push_back(std::exchange(worker.part, {}));
    }
    lock.unlock();
    store(parts);
    lock.lock();
}

/// Those at rest first: one that begins from now on begins behind this checkpoint.
void ScanCheckpoints::requestParts() {
    for (std::size_t i = 0; i < m_workers.size(); ++i) {
        if (!m_workers[i].working) {
            m_workers[i].part = encode(i, m_workers[i].done);
        }
    }
    for (Worker& worker : m_workers) {
        if (worker.working) {
            ++m_awaited;
            worker.wanted = true;
        }
    }
}

void ScanCheckpoints::store(const std::vector<std::string>& parts) {
    try {
        if (std::find(parts.begin(), parts.end(), std::string()) != parts.end()) {
            throw std::bad_alloc();
        }
        m_steps.store(parts);
        m_stored = true;
        m_complained = false;
    } catch (const std::exception& error) {
        complain(error.what());
    }
}

void ScanCheckpoints::complain(const std::string& reason) {
    if (!m_complained) {
        m_steps.complain(reason);
    }
    m_complained = true;
}
