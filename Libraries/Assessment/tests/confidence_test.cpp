// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Assessment/confidence.h"

namespace {

const ConfidenceContext fineMap{8.0, 25.0, nullptr};

/// Places of these scores, none equivalent to another.
std::vector<RankedPlace> placesOf(const std::vector<double>& scores) {
    std::vector<RankedPlace> places;
    for (std::size_t n = 0; n < scores.size(); ++n) {
        places.push_back({scores[n], n});
    }
    return places;
}

// Median 0.20, median distance 0.02 of 0, 0.01, 0.02, 0.02, 0.03, 0.04, 0.04.
const std::vector<double> ordinary = {0.24, 0.22, 0.21, 0.20, 0.18, 0.17, 0.16};
constexpr double deviation = 1.4826 * 0.02;

std::vector<RankedPlace> withBest(std::vector<double> best) {
    best.insert(best.end(), ordinary.begin(), ordinary.end());
    return placesOf(best);
}

} // namespace

TEST(Confidence, ZAndGapAreInDeviationsOfTheOthers) {
    const Verdict verdict = judge(withBest({0.7}), fineMap);
    ASSERT_EQ(verdict.places.size(), 8U);
    EXPECT_NEAR(verdict.places[0].z, (0.7 - 0.2) / deviation, 1e-9);
    EXPECT_NEAR(verdict.places[0].gap, (0.7 - 0.24) / deviation, 1e-9);
    EXPECT_NEAR(verdict.places[1].gap, (0.24 - 0.7) / deviation, 1e-9);
}

TEST(Confidence, IsHighForAPlaceThatStandsOutAndSaysWhy) {
    const Verdict verdict = judge(withBest({0.7}), fineMap);
    EXPECT_EQ(verdict.confidence, Confidence::High);
    EXPECT_EQ(
        verdict.reason,
        "The best place scores 0.70; the best of the 7 other places scores 0.24, 15.5 deviations below it.");
    EXPECT_EQ(verdict.places[1].confidence, Confidence::Low);
}

TEST(Confidence, IsMediumOrLowByTheRule) {
    EXPECT_EQ(judge(withBest({0.34}), fineMap).confidence, Confidence::Medium); // z 4.7
    EXPECT_EQ(judge(withBest({0.30}), fineMap).confidence, Confidence::Low);    // z 3.4
    EXPECT_EQ(judge(withBest({0.70, 0.60}), fineMap).confidence, Confidence::Medium);
    EXPECT_EQ(judge(withBest({0.70, 0.69}), fineMap).confidence, Confidence::Low);
}

TEST(Confidence, OfTheBestOfManyWrongPlacesIsLow) {
    std::mt19937 random(2);
    std::normal_distribution<double> score(0.2, 0.03);
    for (int run = 0; run < 100; ++run) {
        std::vector<double> scores;
        for (int n = 0; n < 60; ++n) {
            scores.push_back(score(random));
        }
        std::sort(scores.rbegin(), scores.rend());
        EXPECT_NE(judge(placesOf(scores), fineMap).confidence, Confidence::High);
    }
}

TEST(Confidence, IsThatOfTheBestForEquivalentPlaces) {
    std::vector<RankedPlace> places = withBest({0.70, 0.69, 0.68});
    places[1].equivalentTo = places[2].equivalentTo = 0;
    const Verdict verdict = judge(places, fineMap);
    for (std::size_t n = 0; n < 3; ++n) {
        EXPECT_EQ(verdict.places[n].confidence, Confidence::High);
    }
    EXPECT_NEAR(verdict.places[0].gap, (0.7 - 0.24) / deviation, 1e-9);
    EXPECT_EQ(verdict.reason.substr(0, 56), "The best place, with 2 equivalent to it, scores 0.70; th");
}

TEST(Confidence, ASecondCopyElsewhereIsNoRivalAndAnotherTurnAtTheSamePlaceIs) {
    ConfidenceContext context = fineMap;
    context.clash = [](std::size_t, std::size_t) { return false; };
    const Verdict apart = judge(withBest({0.70, 0.69}), context);
    EXPECT_EQ(apart.places[0].confidence, Confidence::High);
    EXPECT_EQ(apart.places[1].confidence, Confidence::High);
    EXPECT_EQ(apart.places[2].confidence, Confidence::Low);
    EXPECT_NE(apart.reason.find(
                  "; apart from those that stand out elsewhere, the best of the 8 other places scores 0.24"),
              std::string::npos);
    context.clash = [](std::size_t a, std::size_t b) { return a + b == 1; };
    EXPECT_EQ(judge(withBest({0.70, 0.69}), context).confidence, Confidence::Low);
}

TEST(Confidence, IsLowWhereTheMapIsTooCoarseToTellOrientations) {
    const Verdict verdict = judge(withBest({0.9}), {35.0, 19.5, nullptr});
    EXPECT_EQ(verdict.confidence, Confidence::Low);
    EXPECT_EQ(
        verdict.reason,
        "At a resolution of 35 A, 1.8 times the model's radius of gyration, the orientations of this model "
        "cannot be told apart.");
    EXPECT_EQ(judge(withBest({0.9}), {30.0, 19.5, nullptr}).confidence, Confidence::High);
}

TEST(Confidence, IsNeverHighWithFewOtherPlaces) {
    EXPECT_EQ(judge(placesOf({0.9, 0.2, 0.2, 0.1, 0.1}), fineMap).confidence, Confidence::Medium);
    EXPECT_EQ(judge(placesOf({0.9, 0.85}), fineMap).confidence, Confidence::Low);
    EXPECT_EQ(judge(placesOf({0.4, 0.1}), fineMap).confidence, Confidence::Low);
    const Verdict alone = judge(placesOf({0.9}), fineMap);
    EXPECT_EQ(alone.confidence, Confidence::Medium);
    EXPECT_EQ(alone.places[0].z, 0.0);
    EXPECT_EQ(
        alone.reason,
        "The best place scores 0.90; no other places were found, too few to tell how a wrong one scores.");
    const Verdict none = judge({}, fineMap);
    EXPECT_EQ(none.confidence, Confidence::Low);
    EXPECT_EQ(none.reason, "No place was found.");
}

TEST(Confidence, EqualScoresOfTheOthersGiveNumbers) {
    const Verdict verdict = judge(placesOf({0.21, 0.2, 0.2, 0.2, 0.2, 0.2, 0.2}), fineMap);
    EXPECT_NEAR(verdict.places[0].z, 0.01 / 0.005, 1e-9);
    EXPECT_EQ(verdict.confidence, Confidence::Low);
}

TEST(Confidence, HasAText) {
    EXPECT_EQ(textOf(Confidence::High), "high");
    EXPECT_EQ(textOf(Confidence::Medium), "medium");
    EXPECT_EQ(textOf(Confidence::Low), "low");
}
