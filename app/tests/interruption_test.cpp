// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/HiddenFile.h"
#include "Search/CheckpointLock.h"
#include "app/interruption.h"

namespace {

/// @param before  how the signal is handled when the program starts
[[noreturn]] void endBy(int signal, const std::string& checkpoint, void (*before)(int) = SIG_DFL) {
    std::signal(signal, before);
    interruption::install();
    interruption::setCheckpoint(checkpoint);
    raise(signal);
    _exit(9);
}

/// Makes the standard error stream a pipe so full that a write would wait for a reader.
void blockErrorStream() {
    int ends[2];
    if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
        _exit(8);
    }
    fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    while (write(STDERR_FILENO, "x", 1) == 1) {
    }
    fcntl(STDERR_FILENO, F_SETFL, 0);
    alarm(20);
}

TEST(InterruptionDeathTest, EndsWithTheSignalAndALine) {
    EXPECT_EXIT(endBy(SIGINT, ""), testing::KilledBySignal(SIGINT),
                "^\n?selvane: interrupted by SIGINT, there is no checkpoint to resume from\n$");
    EXPECT_EXIT(
        endBy(SIGTERM, "fit/.selvane-checkpoint"), testing::KilledBySignal(SIGTERM),
        "^\n?selvane: interrupted by SIGTERM, the last checkpoint is fit/.selvane-checkpoint; the same "
        "command with --resume goes on from it\n$");
}

TEST(InterruptionDeathTest, NameOfTheCheckpointIsPrintable) {
    EXPECT_EXIT(endBy(SIGTERM, "a\x1b[31m/.selvane-checkpoint"), testing::KilledBySignal(SIGTERM),
                "the last checkpoint is a.x1B.31m/.selvane-checkpoint;");
}

class UnfinishedFiles : public testing::Test {
protected:
    ~UnfinishedFiles() override { std::filesystem::remove(m_path); }

    const std::string m_path =
        (std::filesystem::temp_directory_path() / ("selvane_draft_" + std::to_string(getpid()))).string();
};

using UnfinishedFilesDeathTest = UnfinishedFiles;

TEST_F(UnfinishedFilesDeathTest, GoWithASignal) {
    EXPECT_EXIT(
        {
            HiddenFile draft;
            draft.create(m_path, 0600);
            endBy(SIGTERM, "");
        },
        testing::KilledBySignal(SIGTERM), "SIGTERM");
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(UnfinishedFilesDeathTest, TheLockOfACheckpointGoesWithASignal) {
    EXPECT_EXIT(
        {
            const CheckpointLock lock(m_path);
            endBy(SIGTERM, std::filesystem::exists(m_path + ".lock") ? "locked" : "");
        },
        testing::KilledBySignal(SIGTERM), "the last checkpoint is locked");
    EXPECT_FALSE(std::filesystem::exists(m_path + ".lock"));
}

TEST_F(UnfinishedFilesDeathTest, GoWithAnExitFromTheMidstOfAStage) {
    EXPECT_EXIT(
        {
            interruption::install();
            HiddenFile draft;
            draft.create(m_path, 0600);
            std::exit(std::filesystem::exists(m_path) ? 7 : 1);
        },
        testing::ExitedWithCode(7), "");
    EXPECT_FALSE(std::filesystem::exists(m_path));
}

TEST_F(UnfinishedFilesDeathTest, ASignalWaitsWhileFilesTakeTheirPlaces) {
    EXPECT_EXIT(
        {
            interruption::install();
            {
                const unfinished::EndingHold hold;
                raise(SIGTERM);
                raise(SIGTERM); // timeout(1) sends it to the process and to its group
                std::ofstream(m_path) << "both in place";
            }
            _exit(9);
        },
        testing::KilledBySignal(SIGTERM), "SIGTERM");
    EXPECT_TRUE(std::filesystem::exists(m_path));
    EXPECT_EXIT(
        {
            interruption::install();
            const unfinished::EndingHold hold;
            raise(SIGTERM);
            raise(SIGTERM);
            raise(SIGTERM); // a disk that hangs must not keep the run from being ended
            _exit(9);
        },
        testing::KilledBySignal(SIGTERM), "SIGTERM");
}

TEST(InterruptionDeathTest, AnErrorStreamThatNobodyReadsDoesNotHoldItUp) {
    EXPECT_EXIT(
        {
            blockErrorStream();
            endBy(SIGINT, "");
        },
        testing::KilledBySignal(SIGINT), "");
}

/// As timeout(1) does it: by the number of the process and by its group. Other threads can take the second
/// one.
TEST_F(UnfinishedFilesDeathTest, ASignalThatComesTwiceStillRemovesAndTells) {
    for (int round = 0; round < 50; ++round) {
        int ready[2];
        int told[2];
        ASSERT_TRUE(pipe(ready) == 0 && pipe(told) == 0);
        const pid_t child = fork();
        if (child == 0) {
            std::signal(SIGTERM, SIG_DFL);
            dup2(told[1], STDERR_FILENO);
            interruption::install();
            HiddenFile draft;
            draft.create(m_path, 0600);
            std::thread other([] { pause(); });
            [[maybe_unused]] const ssize_t written = write(ready[1], "x", 1);
            pause();
            other.join();
        }
        char byte = 0;
        ASSERT_EQ(read(ready[0], &byte, 1), 1);
        kill(child, SIGTERM);
        kill(child, SIGTERM);
        int state = 0;
        ASSERT_EQ(waitpid(child, &state, 0), child);
        EXPECT_TRUE(WIFSIGNALED(state));
        EXPECT_FALSE(std::filesystem::exists(m_path));
        fcntl(told[0], F_SETFL, O_NONBLOCK);
        EXPECT_EQ(read(told[0], &byte, 1), 1) << "round " << round;
        for (const int end : {ready[0], ready[1], told[0], told[1]}) {
            close(end);
        }
    }
}

TEST(InterruptionDeathTest, ASecondSignalKillsAtOnce) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    if (child == 0) {
        blockErrorStream(); // the first signal waits here for a while
        [[maybe_unused]] const ssize_t written = write(ready[1], "x", 1);
        endBy(SIGINT, "");
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    kill(child, SIGTERM);
    int state = 0;
    ASSERT_EQ(waitpid(child, &state, 0), child);
    ASSERT_TRUE(WIFSIGNALED(state));
    EXPECT_EQ(WTERMSIG(state), SIGTERM);
    close(ready[0]);
    close(ready[1]);
}

TEST(InterruptionDeathTest, WhatWasIgnoredStaysIgnored) {
    EXPECT_EXIT(endBy(SIGINT, "", SIG_IGN), testing::ExitedWithCode(9), "^$");
}

TEST(InterruptionDeathTest, AClosedReportIsNoReasonToEnd) {
    EXPECT_EXIT(
        {
            interruption::install();
            raise(SIGPIPE);
            _exit(9);
        },
        testing::ExitedWithCode(9), "^$");
}

TEST(InterruptionDeathTest, ClosedStandardStreamsAreOpened) {
    EXPECT_EXIT(
        {
            close(STDIN_FILENO);
            close(STDOUT_FILENO);
            interruption::install();
            std::FILE* file = std::tmpfile();
            _exit(fileno(file) > STDERR_FILENO ? 9 : 1);
        },
        testing::ExitedWithCode(9), "^$");
}

} // namespace
