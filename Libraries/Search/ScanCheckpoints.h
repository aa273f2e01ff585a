// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_SCANCHECKPOINTS_H
#define SELVANE_SEARCH_SCANCHECKPOINTS_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Takes checkpoints of a scan at intervals while its workers go on. A thread of its own keeps the time: it
/// raises a flag for every worker that is at work, each of them encodes its own state between two rotations,
/// and the thread encodes those that rest, waits for the others, and stores the parts. What a worker spends
/// when no checkpoint is due is the reading of its flag.
///
/// A checkpoint that cannot be stored is told once and costs nothing but itself: the scan goes on.
class ScanCheckpoints {
public:
    struct Steps {
        /// A worker's state as bytes. Called on the worker's own thread, or while it is not at work.
        std::function<std::string(unsigned long worker, unsigned long done)> encode;
        /// Puts the parts of all workers away.
        std::function<void(const std::vector<std::string>& parts)> store;
        /// Tells that a checkpoint failed, and why.
        std::function<void(const std::string& reason)> complain;
    };

    /// @param done  per worker, the rotations that were done before
    ScanCheckpoints(std::chrono::milliseconds interval, const std::vector<unsigned long>& done, Steps steps);
    ScanCheckpoints(const ScanCheckpoints&) = delete;
    ScanCheckpoints& operator=(const ScanCheckpoints&) = delete;
    /// Stops.
    ~ScanCheckpoints();

    /// Starts the clock. The first checkpoint is due one interval from now, each further one an interval
    /// after the one before has been stored.
    void start();

    /// Ends the thread. A checkpoint that is being collected is dropped, one that is being stored is waited
    /// for.
    void stop();

    /// Whether a checkpoint was stored.
    bool isStored() const { return m_stored; }

    // Called by a worker: when it starts, behind each rotation with the number done so far, and at its end.
    void begin(unsigned long worker);
    void rotationDone(unsigned long worker, unsigned long done) {
        if (m_workers[worker].wanted.load(std::memory_order_relaxed)) {
            deliver(worker, done);
        }
    }
    void end(unsigned long worker, unsigned long done);

private:
    struct Worker {
        std::atomic<bool> wanted{false};
        // The rest under the lock.
        bool working = false;
        unsigned long done = 0; ///< while not working
        std::string part;
    };

    std::string encode(unsigned long worker, unsigned long done) const;
    void deliver(unsigned long worker, unsigned long done);
    void take(unsigned long worker, std::string part);
    void keepTime();
    void takeCheckpoint(std::unique_lock<std::mutex>& lock);
    void requestParts();
    void store(const std::vector<std::string>& parts);
    void complain(const std::string& reason);

    std::chrono::milliseconds m_interval;
    Steps m_steps;
    std::deque<Worker> m_workers;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned long m_awaited = 0; ///< workers that have not delivered yet
    bool m_stopping = false;
    std::atomic<bool> m_stored{false};
    bool m_complained = false; ///< since the last one that was stored
};

#endif
