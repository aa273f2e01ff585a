// SPDX-License-Identifier: GPL-3.0-or-later
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "IO/cSequentialTimer.h"

namespace {

constexpr double rounding = 1e-9;

void sleepShortly() {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

} // namespace

TEST(cSequentialTimer, IntervalsAddUpToTheWholeTime) {
    cSequentialTimer timer;
    sleepShortly();
    const double first = timer.getTimeInterval();
    sleepShortly();
    const double before = timer.getTime();
    const double second = timer.getTimeInterval();
    const double after = timer.getTime();
    EXPECT_GE(first, 0.01);
    EXPECT_GE(second, 0.01);
    EXPECT_GE(first + second, before - rounding);
    EXPECT_LE(first + second, after + rounding);
    EXPECT_EQ(timer.getIntervals(), (std::vector<double>{first, second}));
}

TEST(cSequentialTimer, WholeTimeLeavesTheIntervalsAlone) {
    cSequentialTimer timer;
    sleepShortly();
    const double before = timer.getTime();
    EXPECT_TRUE(timer.getIntervals().empty());
    EXPECT_GE(timer.getTimeInterval(), before);
}

TEST(cSequentialTimer, BeginningAnewResetsBothTimes) {
    cSequentialTimer timer;
    sleepShortly();
    cSequentialTimer outer;
    timer.beginMeasurement();
    const double whole = timer.getTime();
    const double interval = timer.getTimeInterval();
    EXPECT_LE(whole, interval);
    EXPECT_LE(interval, outer.getTime());
}

TEST(cTimer, PrintsTextAndSeconds) {
    struct FixedTimer final : cTimer {
        double getTimeInterval() override { return 0.5; }
        double getTime() override { return 12.0; }
    };
    FixedTimer timer;
    testing::internal::CaptureStdout();
    timer.printTime("whole");
    timer.printTimeInterval("interval");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "whole \t\t12 s\ninterval \t\t0.5 s\n");
}
