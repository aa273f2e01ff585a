// SPDX-License-Identifier: GPL-3.0-or-later
#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Search/ScanCheckpoints.h"

namespace {

using std::chrono::milliseconds;

/// A scan whose checkpoints are kept in memory, each part as "worker:done".
class CheckpointClock : public testing::Test {
protected:
    ScanCheckpoints::Steps steps() {
        return {[this](unsigned long worker, unsigned long done) {
                    if (m_outOfMemory) {
                        throw std::bad_alloc();
                    }
                    return std::to_string(worker) + ":" + std::to_string(done);
                },
                [this](const std::vector<std::string>& parts) {
                    const std::lock_guard<std::mutex> lock(m_mutex);
                    if (m_diskIsFull) {
                        throw std::runtime_error("full");
                    }
                    m_stored.push_back(parts);
                },
                [this](const std::string& reason) {
                    const std::lock_guard<std::mutex> lock(m_mutex);
                    m_complaints.push_back(reason);
                }};
    }

    std::vector<std::vector<std::string>> stored() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_stored;
    }

    std::size_t complaints() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_complaints.size();
    }

    template <class Condition>
    static bool waitFor(Condition condition) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!condition() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(milliseconds(1));
        }
        return condition();
    }

    std::atomic<bool> m_outOfMemory{false};
    std::atomic<bool> m_diskIsFull{false};
    std::mutex m_mutex;
    std::vector<std::vector<std::string>> m_stored;
    std::vector<std::string> m_complaints;
};

TEST_F(CheckpointClock, NothingIsStoredWithinTheFirstInterval) {
    ScanCheckpoints checkpoints(std::chrono::minutes(1), {0}, steps());
    checkpoints.start();
    checkpoints.begin(0);
    checkpoints.rotationDone(0, 1);
    checkpoints.end(0, 1);
    checkpoints.stop();
    EXPECT_TRUE(stored().empty());
    EXPECT_FALSE(checkpoints.isStored());
}

TEST_F(CheckpointClock, WorkersAtRestAreStoredWhereTheyStand) {
    ScanCheckpoints checkpoints(milliseconds(1), {5, 0, 2}, steps());
    checkpoints.begin(2);
    checkpoints.end(2, 9);
    checkpoints.start(); // worker 0 was resumed and, as worker 1, could not be started
    ASSERT_TRUE(waitFor([&] { return !stored().empty(); }));
    checkpoints.stop();
    EXPECT_TRUE(checkpoints.isStored());
    EXPECT_EQ(stored().front(), (std::vector<std::string>{"0:5", "1:0", "2:9"}));
}

TEST_F(CheckpointClock, AWorkerAtWorkIsWaitedForUntilItsRotationIsDone) {
    ScanCheckpoints checkpoints(milliseconds(1), {0, 0}, steps());
    checkpoints.begin(0);
    checkpoints.start();
    std::this_thread::sleep_for(milliseconds(30));
    EXPECT_TRUE(stored().empty());
    checkpoints.rotationDone(0, 1);
    ASSERT_TRUE(waitFor([&] { return stored().size() == 1; }));
    EXPECT_EQ(stored().front(), (std::vector<std::string>{"0:1", "1:0"}));
    checkpoints.end(0, 1);
    checkpoints.stop();
}

TEST_F(CheckpointClock, AWorkerThatEndsInsteadIsStoredAtItsEnd) {
    ScanCheckpoints checkpoints(milliseconds(1), {0}, steps());
    checkpoints.begin(0);
    checkpoints.start();
    std::this_thread::sleep_for(milliseconds(20));
    checkpoints.end(0, 4);
    ASSERT_TRUE(waitFor([&] { return !stored().empty(); }));
    checkpoints.stop();
    EXPECT_EQ(stored().front(), (std::vector<std::string>{"0:4"}));
}

TEST_F(CheckpointClock, StoppingDropsACheckpointThatIsBeingCollected) {
    ScanCheckpoints checkpoints(milliseconds(1), {0}, steps());
    checkpoints.begin(0);
    checkpoints.start();
    std::this_thread::sleep_for(milliseconds(20));
    checkpoints.stop();
    EXPECT_TRUE(stored().empty());
}

TEST_F(CheckpointClock, PartsOfBusyWorkersOnlyEverGrow) {
    constexpr unsigned long workers = 4;
    constexpr unsigned long rotations = 100000;
    ScanCheckpoints checkpoints(milliseconds(1), std::vector<unsigned long>(workers, 0), steps());
    checkpoints.start();
    std::vector<std::thread> threads;
    for (unsigned long worker = 0; worker < workers; ++worker) {
        threads.emplace_back([&, worker] {
            checkpoints.begin(worker);
            for (unsigned long done = 1; done <= rotations * (worker + 1) / workers; ++done) {
                checkpoints.rotationDone(worker, done);
                std::this_thread::yield();
            }
            checkpoints.end(worker, rotations * (worker + 1) / workers);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(waitFor([&, before = stored().size()] { return stored().size() > before + 1; }));
    checkpoints.stop();
    std::vector<unsigned long> last(workers, 0);
    for (const auto& parts : stored()) {
        ASSERT_EQ(parts.size(), workers);
        for (unsigned long worker = 0; worker < workers; ++worker) {
            const std::string start = std::to_string(worker) + ":";
            ASSERT_EQ(parts[worker].substr(0, start.size()), start);
            const unsigned long done = std::stoul(parts[worker].substr(start.size()));
            EXPECT_GE(done, last[worker]);
            last[worker] = done;
        }
    }
    for (unsigned long worker = 0; worker < workers; ++worker) {
        EXPECT_EQ(last[worker], rotations * (worker + 1) / workers);
    }
}

TEST_F(CheckpointClock, AFailureIsToldOnceAndTheNextCheckpointTried) {
    m_diskIsFull = true;
    ScanCheckpoints checkpoints(milliseconds(1), {0}, steps());
    checkpoints.start();
    ASSERT_TRUE(waitFor([&] { return complaints() > 0; }));
    std::this_thread::sleep_for(milliseconds(20));
    EXPECT_EQ(complaints(), 1U);
    EXPECT_FALSE(checkpoints.isStored());
    m_diskIsFull = false;
    ASSERT_TRUE(waitFor([&] { return !stored().empty(); }));
    m_outOfMemory = true;
    ASSERT_TRUE(waitFor([&] { return complaints() == 2; }));
    checkpoints.stop();
    EXPECT_TRUE(checkpoints.isStored());
}

} // namespace
