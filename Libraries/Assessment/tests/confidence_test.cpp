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

/// Of wrong places alone, be they few or many, hardly ever one is told high: less than one in five hundred.
TEST(Confidence, OfTheBestOfWrongPlacesIsNotHigh) {
    std::mt19937 random(2);
    std::normal_distribution<double> score(0.2, 0.03);
    constexpr int runs = 1000;
    for (const std::size_t count : {6U, 7U, 9U, 11U, 16U, 21U, 31U, 51U}) {
        int high = 0;
        for (int run = 0; run < runs; ++run) {
            std::vector<double> scores;
            for (std::size_t n = 0; n < count; ++n) {
                scores.push_back(score(random));
            }
            std::sort(scores.rbegin(), scores.rend());
            high += judge(placesOf(scores), fineMap).confidence == Confidence::High ? 1 : 0;
        }
        EXPECT_LE(high, 2) << count;
    }
}

TEST(Confidence, PlacesWithoutAMeasurementAreNoScatter) {
    std::vector<RankedPlace> places = placesOf({0.066, 0.02});
    for (std::size_t n = 2; n < 20; ++n) {
        places.push_back({0.0, n, false});
    }
    const Verdict verdict = judge(places, fineMap);
    EXPECT_EQ(verdict.confidence, Confidence::Low);
    EXPECT_NE(verdict.reason.find("only 1 other place was found"), std::string::npos) << verdict.reason;
}

TEST(Confidence, OfAWeakScoreTakesMore) {
    std::vector<double> weak = {0.09, 0.04, 0.03};
    for (int n = 0; n < 40; ++n) {
        weak.push_back(0.02 - 0.0005 * n);
    }
    EXPECT_EQ(judge(placesOf(weak), fineMap).confidence, Confidence::Medium); // z 10
    weak.front() = 0.12;
    EXPECT_EQ(judge(placesOf(weak), fineMap).confidence, Confidence::High); // z 14
}

TEST(Confidence, AmongFewOthersNeedsAScoreFarAboveThem) {
    const std::vector<double> few = {0.17, 0.16, 0.15, 0.14, 0.14, 0.13, 0.12, 0.11};
    std::vector<double> right = few, close = few;
    right.insert(right.begin(), 0.48);
    close.insert(close.begin(), 0.29);
    EXPECT_EQ(judge(placesOf(right), fineMap).confidence, Confidence::High);
    EXPECT_EQ(judge(placesOf(close), fineMap).confidence, Confidence::Medium);
}

/// A second place that gets better takes confidence away and does not give it.
TEST(Confidence, DoesNotJumpWhereASecondPlaceBecomesACopy) {
    ConfidenceContext apart = fineMap;
    apart.clash = [](std::size_t, std::size_t) { return false; };
    const double best = 0.2 + 9.0 * deviation;
    const auto withSecond = [&](double z) {
        return judge(withBest({best, 0.2 + z * deviation}), apart).confidence;
    };
    EXPECT_NE(withSecond(4.4), Confidence::Low);
    EXPECT_NE(withSecond(5.9), Confidence::Low);
    EXPECT_NE(withSecond(5.9), Confidence::High);
    EXPECT_NE(withSecond(6.1), Confidence::Low);
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
