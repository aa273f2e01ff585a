// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "Assessment/hand.h"

namespace {

Assessment answer(double localCorrelation, Confidence confidence) {
    Assessment assessment;
    assessment.poses.resize(1);
    assessment.poses[0].scores.localCorrelation = localCorrelation;
    assessment.confidence = confidence;
    return assessment;
}

TEST(CompareHands, TellsTheHandThatFitsClearlyBetter) {
    const Assessment right = answer(0.8, Confidence::High), wrong = answer(0.4, Confidence::Low);
    EXPECT_EQ(compareHands(right, wrong).better, Hand::Given);
    EXPECT_EQ(compareHands(wrong, right).better, Hand::Mirrored);
}

TEST(CompareHands, SaysThatItCannotBeToldWhereBothFitAlike) {
    const HandVerdict verdict =
        compareHands(answer(0.86, Confidence::High), answer(0.84, Confidence::Medium));
    EXPECT_EQ(verdict.better, Hand::Undecided);
    EXPECT_NE(verdict.reason.find("0.86"), std::string::npos);
    EXPECT_NE(verdict.reason.find("cannot be told"), std::string::npos);
}

TEST(CompareHands, TellsNothingByPlacesThatDoNotStandOut) {
    EXPECT_EQ(compareHands(answer(0.2, Confidence::Low), answer(0.1, Confidence::Low)).better,
              Hand::Undecided);
    EXPECT_EQ(compareHands({}, {}).better, Hand::Undecided);
}

TEST(Hand, HasAName) {
    EXPECT_EQ(nameOf(Hand::Given), "given");
    EXPECT_EQ(nameOf(Hand::Mirrored), "mirrored");
    EXPECT_EQ(nameOf(Hand::Undecided), "undecided");
}

} // namespace
