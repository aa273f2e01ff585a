// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "IO/message.h"

namespace {

std::vector<std::string> taken;

void take(const std::string& message) {
    taken.push_back(message);
}

/// Puts the sink of before back.
class Messages : public testing::Test {
protected:
    Messages() { taken.clear(); }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;
    ~Messages() override { setMessageSink(m_before); }

    MessageSink m_before = setMessageSink(take);
};

TEST_F(Messages, GoToTheSinkOfTheProgramAsTheyAre) {
    testing::internal::CaptureStderr();
    tell("map.ccp4: no voxels, 100 %d");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(taken, std::vector<std::string>{"map.ccp4: no voxels, 100 %d"});
}

TEST_F(Messages, AreLinesOfStandardErrorWithoutASink) {
    EXPECT_EQ(setMessageSink(m_before), &take);
    testing::internal::CaptureStderr();
    tell("map.ccp4: no voxels, 100 %d");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "map.ccp4: no voxels, 100 %d\n");
    EXPECT_TRUE(taken.empty());
}

} // namespace
