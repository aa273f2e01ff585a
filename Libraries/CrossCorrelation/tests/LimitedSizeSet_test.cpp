// SPDX-License-Identifier: GPL-3.0-or-later
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/NonHexaustFlexibleFitConformation.h"

namespace {

/// Ordered by its score alone, like a conformation.
struct Candidate {
    double score;
    int tag = 0;
    bool operator>(const Candidate& other) const { return score > other.score; }
};

std::vector<double> scoresOf(const LimitedSizeSet<Candidate>& set) {
    std::vector<double> scores;
    for (const Candidate& candidate : set) {
        scores.push_back(candidate.score);
    }
    return scores;
}

LimitedSizeSet<Candidate> makeSet(std::size_t limit, const std::vector<double>& scores) {
    LimitedSizeSet<Candidate> set(limit);
    for (const double score : scores) {
        set.add({score});
    }
    return set;
}

using Scores = std::vector<double>;

} // namespace

TEST(LimitedSizeSet, StartsEmptyWithItsLimit) {
    const LimitedSizeSet<Candidate> set(3);
    EXPECT_EQ(set.size(), 0u);
    EXPECT_EQ(set.getMaxSize(), 3u);
    EXPECT_FALSE(set.isFull());
    EXPECT_TRUE(set.begin() == set.end());
    EXPECT_THROW(set.last(), std::out_of_range);
}

TEST(LimitedSizeSet, RefusesALimitOfZero) {
    EXPECT_THROW(LimitedSizeSet<Candidate>(0), std::invalid_argument);
}

TEST(LimitedSizeSet, BetterElementReplacesTheWorst) {
    LimitedSizeSet<Candidate> set = makeSet(2, {5, 3});
    EXPECT_TRUE(set.isFull());
    set.add({4});
    EXPECT_EQ(scoresOf(set), (Scores{5, 4}));
    EXPECT_EQ(set.last().score, 4);
}

TEST(LimitedSizeSet, FullSetRefusesAWorseElement) {
    LimitedSizeSet<Candidate> set = makeSet(2, {5, 4});
    set.add({3});
    EXPECT_EQ(scoresOf(set), (Scores{5, 4}));
}

TEST(LimitedSizeSet, FullSetRefusesATieWithTheWorst) {
    LimitedSizeSet<Candidate> set = makeSet(2, {5, 4});
    set.add({4, 1});
    EXPECT_EQ(scoresOf(set), (Scores{5, 4}));
    EXPECT_EQ(set.last().tag, 0);
}

TEST(LimitedSizeSet, TieWithABetterElementEvictsTheWorst) {
    // Seen to fail with the worst kept where the new one is not inserted.
    LimitedSizeSet<Candidate> set = makeSet(2, {5, 4});
    set.add({5, 1});
    EXPECT_EQ(scoresOf(set), (Scores{5}));
    EXPECT_EQ(set.last().tag, 0) << "the element held stays";
    EXPECT_FALSE(set.isFull());
}

TEST(LimitedSizeSet, TieInASetWithRoomKeepsTheFirst) {
    LimitedSizeSet<Candidate> set = makeSet(3, {5, 4});
    set.add({4, 1});
    EXPECT_EQ(scoresOf(set), (Scores{5, 4}));
    EXPECT_EQ(set.last().tag, 0);
}

TEST(LimitedSizeSet, LimitOfOneKeepsTheBest) {
    EXPECT_EQ(scoresOf(makeSet(1, {2, 7, 7, 3, 9, 1})), (Scores{9}));
}

TEST(LimitedSizeSet, VectorHoldsCopiesBestFirst) {
    const LimitedSizeSet<Candidate> set = makeSet(4, {1, 3, 2});
    const std::vector<Candidate> candidates = set.toStdVector();
    ASSERT_EQ(candidates.size(), 3u);
    EXPECT_EQ(candidates[0].score, 3);
    EXPECT_EQ(candidates[1].score, 2);
    EXPECT_EQ(candidates[2].score, 1);
}

TEST(LimitedSizeSet, MergesByIteration) {
    LimitedSizeSet<Candidate> merged = makeSet(3, {9, 6, 3});
    for (const Candidate& candidate : makeSet(3, {8, 5, 2})) {
        merged.add(candidate);
    }
    EXPECT_EQ(scoresOf(merged), (Scores{9, 8, 6}));
}

TEST(LimitedSizeSet, ForEachFillsInWhatTakesNoPartInTheOrder) {
    LimitedSizeSet<Candidate> set = makeSet(3, {1, 3, 2});
    int next = 10;
    set.forEach([&](Candidate& candidate) { candidate.tag = next++; });
    EXPECT_EQ(set.begin()->tag, 10);
    EXPECT_EQ(set.last().tag, 12);
    EXPECT_EQ(scoresOf(set), (Scores{3, 2, 1}));
}

TEST(LimitedSizeSet, HoldsConformationsOfBothKindsByRigidScore) {
    LimitedSizeSet<HexaustFlexibleFitConformation> hexaust(2);
    LimitedSizeSet<NonHexaustFlexibleFitConformation> nonHexaust(2);
    for (const double score : {1.0, 3.0, 2.0}) {
        HexaustFlexibleFitConformation a(score, 0, 0, 0, {}, nullptr);
        a.m_flexScore = -score;
        a.m_gradient = {score};
        hexaust.add(a);
        nonHexaust.add(NonHexaustFlexibleFitConformation(score, 0, 0, 0, {}, nullptr));
    }
    EXPECT_EQ(hexaust.begin()->m_rigidScore, 3.0);
    EXPECT_EQ(hexaust.begin()->m_gradient(0), 3.0);
    EXPECT_EQ(hexaust.last().m_rigidScore, 2.0);
    EXPECT_EQ(nonHexaust.last().m_rigidScore, 2.0);
}
