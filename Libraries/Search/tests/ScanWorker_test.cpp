// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <memory>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "Math/cGrid.h"
#include "Search/ScanWorker.h"

namespace {

using Candidate = HexaustFlexibleFitConformation;

Candidate candidate(double score, int worker) {
    return Candidate(score, worker, 0, 0, arma::Col<double>(), nullptr);
}

TEST(MergeCandidates, KeepsTheBestOfAllWorkers) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> score(0.0, 1.0);
    std::vector<CandidateSet> sets(4, CandidateSet(10));
    std::vector<double> all;
    for (int i = 0; i < 200; ++i) {
        all.push_back(score(random));
        sets[static_cast<std::size_t>(i % 4)].add(candidate(all.back(), i % 4));
    }
    std::sort(all.rbegin(), all.rend());
    const std::vector<Candidate> merged = mergeCandidates(sets);
    ASSERT_EQ(merged.size(), 10U);
    for (std::size_t i = 0; i < merged.size(); ++i) {
        EXPECT_EQ(merged[i].m_rigidScore, all[i]);
    }
}

TEST(MergeCandidates, OfEqualScoresTheFirstWorkersStays) {
    std::vector<CandidateSet> sets(3, CandidateSet(5));
    sets[2].add(candidate(0.5, 2));
    sets[1].add(candidate(0.5, 1));
    sets[1].add(candidate(0.25, 1));
    const std::vector<Candidate> merged = mergeCandidates(sets);
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[0].m_i, 1);
    EXPECT_EQ(merged[1].m_i, 1);
}

TEST(MergeCandidates, OneWorkersSetStaysAsItIs) {
    std::vector<CandidateSet> sets(1, CandidateSet(5));
    sets[0].add(candidate(0.5, 0));
    sets[0].add(candidate(0.75, 0));
    const std::vector<Candidate> merged = mergeCandidates(sets);
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged[0].m_rigidScore, 0.75);
    EXPECT_EQ(merged[1].m_rigidScore, 0.5);
}

} // namespace
