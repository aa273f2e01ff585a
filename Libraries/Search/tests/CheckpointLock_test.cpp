// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Search/CheckpointLock.h"

namespace {

namespace fs = std::filesystem;

class CheckpointLocks : public testing::Test {
protected:
    CheckpointLocks() {
        std::string name = (fs::temp_directory_path() / "selvane_lock_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_directory = name;
        m_checkpoint = name + "/checkpoint";
        m_file = m_checkpoint + ".lock";
    }
    ~CheckpointLocks() override {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }

    bool isTaken() const { return CheckpointLock(m_checkpoint).isOfAnotherRun(); }

    fs::path m_directory;
    std::string m_checkpoint;
    std::string m_file;
};

TEST_F(CheckpointLocks, OneRunHasItAndNothingStaysOfIt) {
    auto first = std::make_unique<CheckpointLock>(m_checkpoint);
    EXPECT_FALSE(first->isOfAnotherRun());
    EXPECT_TRUE(isTaken());
    EXPECT_TRUE(isTaken()) << "the second has left it alone";
    first.reset();
    EXPECT_FALSE(fs::exists(m_file));
    EXPECT_FALSE(isTaken());
    EXPECT_TRUE(fs::is_empty(m_directory));
}

TEST_F(CheckpointLocks, WhatAKilledRunLeftIsTakenOver) {
    const pid_t child = fork();
    if (child == 0) {
        const CheckpointLock lock(m_checkpoint);
        raise(SIGKILL);
    }
    ASSERT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(fs::exists(m_file));
    EXPECT_FALSE(isTaken());
    EXPECT_FALSE(fs::exists(m_file));
}

/// The next one must not lock a file that its owner is about to remove.
TEST_F(CheckpointLocks, RunsThatComeAndGoNeverShareIt) {
    constexpr int timesHeld = 300;
    const std::string witness = (m_directory / "witness").string();
    pid_t children[3];
    for (pid_t& child : children) {
        child = fork();
        if (child != 0) {
            continue;
        }
        for (int held = 0; held < timesHeld;) {
            const CheckpointLock lock(m_checkpoint);
            if (lock.isOfAnotherRun()) {
                continue;
            }
            ++held;
            const bool isAlone = mkdir(witness.c_str(), 0700) == 0;
            std::this_thread::sleep_for(std::chrono::microseconds(100));
            if (!isAlone || rmdir(witness.c_str()) != 0) {
                _exit(1);
            }
        }
        _exit(0);
    }
    for (const pid_t child : children) {
        int state = -1;
        waitpid(child, &state, 0);
        EXPECT_EQ(state, 0);
    }
    EXPECT_TRUE(fs::is_empty(m_directory));
}

TEST_F(CheckpointLocks, WhereNothingCanBeLockedNobodyHasItAndNothingIsTouched) {
    EXPECT_FALSE(CheckpointLock((m_directory / "nowhere" / "checkpoint").string()).isOfAnotherRun());
    fs::create_directory(m_file);
    EXPECT_FALSE(isTaken());
    EXPECT_TRUE(fs::remove(m_file));
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_FALSE(isTaken());
    EXPECT_TRUE(fs::remove(m_file));
    const std::string theirs = (m_directory / "theirs").string();
    std::ofstream(theirs) << "a file of others";
    fs::create_symlink(theirs, m_file);
    EXPECT_FALSE(isTaken());
    EXPECT_TRUE(fs::remove(m_file));
    fs::create_hard_link(theirs, m_file);
    EXPECT_FALSE(isTaken());
    EXPECT_TRUE(fs::exists(m_file));
    std::ifstream file(theirs);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "a file of others");
}

} // namespace
