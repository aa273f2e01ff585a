// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Search/RecoverableScan.h"
#include "checkpointSample.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t rotations = 20; // ten for each of the two workers

/// Scans of candidates that are drawn beforehand, three per rotation, in place of scores.
class RecoverableScans : public CheckpointSample {
protected:
    RecoverableScans() : m_sets(2, CandidateSet(m_shape.capacity)) {
        for (std::size_t i = 0; i < 3 * rotations; ++i) {
            m_candidates.push_back(candidate(i % 2 == 0));
        }
    }

    std::unique_ptr<RecoverableScan> scan(bool isResumed,
                                          std::chrono::milliseconds interval = std::chrono::milliseconds(1)) {
        RecoverableScan::Settings settings;
        settings.path = m_path;
        settings.isResumed = isResumed;
        settings.interval = interval;
        settings.tell = [this](const std::string& text) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_told += text + "\n";
        };
        settings.standing = [this](const std::string& path) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_standing = path;
        };
        return std::make_unique<RecoverableScan>(settings);
    }

    void attach(RecoverableScan& scan) { scan.attach({m_identity, m_shape, {"map", "model"}}, m_sets); }

    std::unique_ptr<RecoverableScan> attached(bool isResumed) {
        auto made = scan(isResumed);
        attach(*made);
        return made;
    }

    /// Takes a worker to a rotation of its share, and leaves it there.
    void work(RecoverableScan& scan, unsigned long worker, unsigned long end) {
        scan.clock().begin(worker);
        for (unsigned long done = scan.done()[worker]; done < end; ++done) {
            const std::size_t first = 3 * (worker * rotations / 2 + done);
            for (std::size_t i = first; i < first + 3; ++i) {
                m_sets[worker].add(m_candidates[i]);
            }
            scan.clock().rotationDone(worker, done + 1);
        }
        scan.clock().end(worker, end);
    }

    /// A checkpoint of all that is done by now: the first one that comes may have been begun before.
    void waitForCheckpoint() const {
        for (int i = 0; i < 2; ++i) {
            const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            fs::remove(m_path);
            while (!fs::exists(m_path) && std::chrono::steady_clock::now() < end) {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            ASSERT_TRUE(fs::exists(m_path));
        }
    }

    /// What an interrupted process leaves: five rotations of the first worker, two of the second.
    void interrupt() {
        const auto interrupted = attached(false);
        interrupted->start(rotations);
        work(*interrupted, 0, 5);
        work(*interrupted, 1, 2);
        waitForCheckpoint();
        interrupted->stop();
        startAnew();
    }

    void startAnew() {
        m_sets.assign(2, CandidateSet(m_shape.capacity));
        m_told.clear();
        m_standing = "untouched";
    }

    std::vector<CandidateSet> setsOfAWholeScan() {
        const auto whole = attached(false);
        whole->start(rotations);
        work(*whole, 0, rotations / 2);
        work(*whole, 1, rotations / 2);
        whole->stop();
        whole->close(true);
        const std::vector<CandidateSet> sets = m_sets;
        startAnew();
        return sets;
    }

    std::string errorOfResuming() {
        try {
            attached(true)->start(rotations);
        } catch (const checkpoint::Error& error) {
            return error.what();
        }
        return "";
    }

    std::mutex m_mutex;
    std::string m_told;
    std::string m_standing = "untouched";
    std::vector<Candidate> m_candidates;
    std::vector<CandidateSet> m_sets;
};

TEST_F(RecoverableScans, OneThatIsResumedEndsAsOneThatWasNotInterrupted) {
    const std::vector<CandidateSet> expected = setsOfAWholeScan();
    interrupt();
    const auto resumed = attached(true);
    EXPECT_EQ(resumed->done(), (std::vector<unsigned long>{5, 2}));
    EXPECT_EQ(resumed->doneInAll(), 7U);
    EXPECT_EQ(m_standing, m_path);
    EXPECT_EQ(m_told, "");
    resumed->start(rotations);
    EXPECT_EQ(m_told, "going on from " + m_path + ", where 7 of 20 rotations are done\n");
    work(*resumed, 0, rotations / 2);
    work(*resumed, 1, rotations / 2);
    resumed->stop();
    resumed->close(true);
    expectSame(m_sets[0], expected[0]);
    expectSame(m_sets[1], expected[1]);
    EXPECT_EQ(m_standing, "");
    EXPECT_TRUE(fs::exists(m_path + ".lock"));
    EXPECT_FALSE(fs::exists(m_path));
}

TEST_F(RecoverableScans, WorkersWithSeveralSetsComeBackWithAllOfThem) {
    m_shape.setsPerWorker = 2;
    const std::vector<CandidateSet> expected = {set(4), set(9), set(0), set(6)};
    m_sets = expected;
    {
        const auto interrupted = attached(false);
        interrupted->start(rotations);
        interrupted->clock().begin(1);
        interrupted->clock().end(1, 3);
        waitForCheckpoint();
        interrupted->stop();
    }
    m_sets.assign(4, CandidateSet(m_shape.capacity));
    const auto resumed = scan(true);
    attach(*resumed);
    EXPECT_EQ(resumed->done(), (std::vector<unsigned long>{0, 3}));
    for (std::size_t n = 0; n < m_sets.size(); ++n) {
        expectSame(m_sets[n], expected[n]);
    }
    m_sets.pop_back();
    EXPECT_THROW(attach(*resumed), std::invalid_argument);
}

TEST_F(RecoverableScans, AFreshOneTellsOnceACheckpointStands) {
    const auto fresh = attached(false);
    EXPECT_EQ(fresh->done(), (std::vector<unsigned long>{0, 0}));
    EXPECT_EQ(m_standing, "untouched");
    fresh->start(rotations);
    waitForCheckpoint();
    fresh->stop();
    EXPECT_EQ(m_standing, m_path);
    EXPECT_EQ(m_told, "");
}

TEST_F(RecoverableScans, WhatIsNotCompleteKeepsItsCheckpoint) {
    interrupt();
    const auto resumed = attached(true);
    resumed->start(rotations);
    resumed->stop();
    m_told.clear();
    resumed->close(false);
    EXPECT_EQ(m_told,
              "this run is not complete; the same command with --resume goes on from " + m_path + "\n");
    EXPECT_TRUE(fs::exists(m_path));
    EXPECT_EQ(m_standing, m_path);
}

TEST_F(RecoverableScans, TheCheckpointOfAnEarlierOneStaysUntilItIsReplaced) {
    setBytes("left of another");
    for (const bool isStarted : {false, true}) {
        const auto fresh = scan(false, std::chrono::hours(1)); // ends before a checkpoint is due
        EXPECT_EQ(m_told, m_path + " is left of an interrupted run. This run begins anew and will replace it "
                                   "if it takes more than a minute; the command of that run with --resume "
                                   "would continue it.\n");
        m_told.clear();
        if (isStarted) {
            attach(*fresh);
            fresh->start(rotations);
        }
        fresh->stop();
        fresh->close(false);
        fresh->close(true);
        EXPECT_EQ(m_told, "");
        EXPECT_EQ(m_standing, "untouched");
        EXPECT_EQ(bytes(), "left of another");
    }
    const auto fresh = attached(false);
    fresh->start(rotations);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (bytes() == "left of another" && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    fresh->stop();
    EXPECT_NE(bytes(), "left of another");
}

TEST_F(RecoverableScans, TheCheckpointThatAnotherProcessUsesIsLeftAlone) {
    interrupt();
    const std::string before = bytes();
    const CheckpointLock other(m_path);
    EXPECT_EQ(errorOfResuming(), m_path +
                                     " is in use by another run with the same --odir. Wait for its end, or "
                                     "give another --odir without --resume.");
    const auto second = attached(false);
    EXPECT_EQ(m_told, m_path +
                          " is in use by another run with the same --odir. This run takes no checkpoints, "
                          "and whichever ends last leaves its results.\n");
    m_told.clear();
    second->start(rotations);
    work(*second, 0, 3);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    second->stop();
    second->close(false);
    second->close(true);
    EXPECT_EQ(m_told, "");
    EXPECT_EQ(m_standing, "untouched");
    EXPECT_EQ(bytes(), before);
}

TEST_F(RecoverableScans, ACheckpointThatIsNotThereOrDamagedIsAnError) {
    EXPECT_EQ(errorOfResuming().find(m_path + ": there is no checkpoint to resume from"), 0U);
    EXPECT_EQ(m_standing, "untouched");
    interrupt();
    setBytes(bytes() + "x");
    EXPECT_EQ(errorOfResuming(), m_path +
                                     ": the checkpoint is damaged or cut short. Remove it and start from "
                                     "the beginning without --resume.");
    EXPECT_EQ(m_sets[0].size(), 0U);
    EXPECT_TRUE(fs::exists(m_path));
}

TEST_F(RecoverableScans, MoreThanTheShareOfAWorkerIsDamage) {
    const std::string five = checkpoint::encode(rotations / 2, set(1));
    checkpoint::write(m_path, m_identity, {five, five});
    EXPECT_EQ(errorOfResuming(), "");
    checkpoint::write(m_path, m_identity, {five, checkpoint::encode(rotations / 2 + 1, set(1))});
    EXPECT_EQ(errorOfResuming(),
              m_path +
                  ": the checkpoint is damaged. Remove it and start from the beginning without --resume.");
}

TEST_F(RecoverableScans, ACheckpointThatCannotBeWrittenIsToldOnce) {
    fs::create_directory(m_path);
    const auto fresh = attached(false);
    m_told.clear();
    fresh->start(rotations);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    fresh->stop();
    EXPECT_EQ(m_told.find("no checkpoint could be written (" + m_path), 0U) << m_told;
    EXPECT_EQ(m_told.find("the last one.\n"), m_told.size() - 14) << m_told;
    fresh->close(true);
    EXPECT_TRUE(fs::is_directory(m_path));
    EXPECT_EQ(m_standing, "untouched");
}

TEST_F(RecoverableScans, ASetPerWorkerIsRequired) {
    m_sets.pop_back();
    const auto fresh = scan(false);
    EXPECT_THROW(attach(*fresh), std::invalid_argument);
}

} // namespace
