// SPDX-License-Identifier: GPL-3.0-or-later
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "app/fail.h"

namespace {

TEST(FailDeathTest, EndsWithStatusOneAndItsMessage) {
    EXPECT_EXIT(fail("map.ccp4: no voxels"), ::testing::ExitedWithCode(1),
                "^selvane: map.ccp4: no voxels\n$");
}

TEST(FailDeathTest, EndWithoutNetworkHasStatusZero) {
    // Seen to fail with status 1.
    EXPECT_EXIT(endWithoutNetwork("atom 7"), ::testing::ExitedWithCode(0), "^selvane: atom 7\n$");
}

/// Lets an exception leave a thread, with the program's terminate handler in place.
template <class Exception>
void throwUncaught(const Exception& exception) {
    installTerminateHandler();
    std::thread([&exception] { throw exception; }).join();
}

TEST(FailDeathTest, UncaughtExceptionIsNamedBeforeTheAbort) {
    EXPECT_EXIT(throwUncaught(std::length_error("too long")), ::testing::KilledBySignal(SIGABRT),
                "^selvane: too long\n");
}

TEST(FailDeathTest, WithoutMemoryTheRunEndsWithStatusOneAndARemedy) {
    EXPECT_EXIT(throwUncaught(std::bad_alloc()), ::testing::ExitedWithCode(1),
                "^selvane: out of memory. Use fewer workers \\(--nthread\\), [^\n]*ulimit -v[^\n]*\n$");
}

TEST(FailDeathTest, UncaughtStringIsNamedBeforeTheAbort) {
    EXPECT_EXIT(throwUncaught(std::string("Error: could not open")), ::testing::KilledBySignal(SIGABRT),
                "^selvane: Error: could not open\n");
}

TEST(FailDeathTest, UncaughtExceptionOfUnknownTypeIsTold) {
    EXPECT_EXIT(throwUncaught(42), ::testing::KilledBySignal(SIGABRT),
                "^selvane: an exception of unknown type\n");
}

TEST(FailDeathTest, TerminateWithoutAnExceptionIsTold) {
    EXPECT_EXIT(
        {
            installTerminateHandler();
            std::terminate();
        },
        ::testing::KilledBySignal(SIGABRT), "^selvane: terminated without an exception\n");
}

TEST(Warn, ShowsControlCharactersByTheirNumbers) {
    ::testing::internal::CaptureStderr();
    warn("a\x1b[31m\nb: no voxels");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "selvane: a\\x1B[31m\\x0Ab: no voxels\n");
}

TEST(Warn, WritesOneLineBehindTheReportAndGoesOn) {
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    std::printf("report");
    std::cout << ", bar";
    warn("two atoms");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "selvane: two atoms\n");
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "report, bar");
}

} // namespace
