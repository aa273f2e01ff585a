// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "IO/reportText.h"

namespace {

TEST(ReportText, IsWrittenUnlessItsThreadIsSilent) {
    testing::internal::CaptureStdout();
    reportText("a");
    {
        const ReportSilence outer;
        reportText("b");
        {
            const ReportSilence inner;
            reportText("c");
        }
        reportText("d");
        std::thread([] { reportText("e"); }).join();
    }
    reportText("f");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "aef");
}

} // namespace
