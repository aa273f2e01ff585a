// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "Search/ByteStream.h"
#include "Search/CandidateCodec.h"
#include "checkpointSample.h"

namespace {

class Codec : public CheckpointSample {
protected:
    /// What the bytes of a set are decoded to.
    CandidateSet again(const CandidateSet& set) const {
        return checkpoint::decode(checkpoint::encode(1, set), m_shape).candidates;
    }
};

TEST_F(Codec, GivesPositionAndSetBackBitByBit) {
    const CandidateSet original = set(9);
    const checkpoint::Worker worker = checkpoint::decode(checkpoint::encode(7, original), m_shape);
    EXPECT_EQ(worker.done, 7U);
    expectSame(worker.candidates, original);
}

TEST_F(Codec, HoldsCandidatesWithoutDerivativesAndEmptySets) {
    const CandidateSet plain = set(20, false);
    expectSame(again(plain), plain);
    EXPECT_TRUE(again(plain).begin()->m_gradient.is_empty());
    EXPECT_EQ(again(CandidateSet(m_shape.capacity)).size(), 0U);
}

TEST_F(Codec, HoldsCandidatesWithoutModes) {
    m_shape.nModes = 0;
    CandidateSet rigid(m_shape.capacity);
    rigid.add(Candidate(0.5, 0, 0, 0, arma::Col<double>(), m_shape.grid));
    expectSame(again(rigid), rigid);
}

TEST_F(Codec, ASetThatShrankGoesOnAsTheOriginal) {
    CandidateSet original(m_shape.capacity);
    for (const double score : {0.9, 0.8, 0.7, 0.6, 0.5, 0.4}) {
        original.add(Candidate(score, 0, 0, 0, {0.0, 0.0}, m_shape.grid));
    }
    // A tie with a better one costs the worst.
    original.add(Candidate(0.8, 1, 1, 1, {0.0, 0.0}, m_shape.grid));
    ASSERT_EQ(original.size(), 5U);
    CandidateSet restored = again(original);
    expectSame(restored, original);
    for (const double score : {0.1, 0.65, 0.9, 0.3}) {
        const Candidate next(score, 2, 2, 2, {0.0, 0.0}, m_shape.grid);
        original.add(next);
        restored.add(next);
        expectSame(restored, original);
    }
}

TEST_F(Codec, EveryTruncationIsDamage) {
    const std::string whole = checkpoint::encode(7, set(2));
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_THROW(checkpoint::decode(whole.substr(0, length), m_shape), checkpoint::Damage) << length;
    }
    EXPECT_THROW(checkpoint::decode(whole + "x", m_shape), checkpoint::Damage);
}

TEST_F(Codec, CandidatesThatNoScanLeavesAreDamage) {
    const auto refuse = [&](const std::function<void(Candidate&)>& spoil) {
        Candidate bad = candidate(true);
        spoil(bad);
        CandidateSet one(m_shape.capacity);
        one.add(bad);
        EXPECT_THROW(again(one), checkpoint::Damage);
    };
    refuse([](Candidate& c) { c.m_i = 3; });
    refuse([](Candidate& c) { c.m_k = -1; });
    refuse([](Candidate& c) { c.m_rigidScore = 0.0; });
    refuse([](Candidate& c) { c.m_rigidScore = std::nan(""); });
    refuse([](Candidate& c) { c.m_eta.set_size(1); });
    refuse([](Candidate& c) { c.m_gradient.set_size(7); });
    refuse([](Candidate& c) { c.m_hessian.set_size(8, 7); });
    m_shape.capacity = 1;
    const std::string two = [&] {
        CandidateSet larger(2);
        larger.add(candidate(true));
        larger.add(candidate(true));
        return checkpoint::encode(1, larger);
    }();
    EXPECT_THROW(checkpoint::decode(two, m_shape), checkpoint::Damage);
}

TEST_F(Codec, CandidatesOutOfOrderAreDamage) {
    std::string bytes = checkpoint::encode(1, set(2));
    constexpr std::size_t start = 2 * sizeof(std::uint64_t); // position and count
    const std::size_t length = (bytes.size() - start) / 2;
    EXPECT_NO_THROW(checkpoint::decode(bytes, m_shape));
    bytes = bytes.substr(0, start) + bytes.substr(start + length) + bytes.substr(start, length);
    EXPECT_THROW(checkpoint::decode(bytes, m_shape), checkpoint::Damage);
}

TEST_F(Codec, SetsOfOneWorkerComeBackTogetherAndOneAloneAsBefore) {
    const std::vector<CandidateSet> sets = {set(5), set(8, false), set(0)};
    EXPECT_EQ(checkpoint::encodeAll(6, sets.data(), 1), checkpoint::encode(6, sets[0]));
    m_shape.setsPerWorker = 3;
    const std::string bytes = checkpoint::encodeAll(6, sets.data(), 3);
    const auto workers = checkpoint::decodeAll(bytes, m_shape);
    ASSERT_EQ(workers.size(), 3U);
    for (std::size_t n = 0; n < 3; ++n) {
        EXPECT_EQ(workers[n].done, 6U);
        expectSame(workers[n].candidates, sets[n]);
    }
    EXPECT_THROW(checkpoint::decodeAll(bytes + "x", m_shape), checkpoint::Damage);
    EXPECT_THROW(checkpoint::decodeAll(std::string_view(bytes).substr(0, bytes.size() - 1), m_shape),
                 checkpoint::Damage);
    m_shape.setsPerWorker = 2;
    EXPECT_THROW(checkpoint::decodeAll(bytes, m_shape), checkpoint::Damage);
    std::string mixed;
    checkpoint::append(mixed, std::string_view(checkpoint::encode(6, sets[0])));
    checkpoint::append(mixed, std::string_view(checkpoint::encode(7, sets[1])));
    EXPECT_THROW(checkpoint::decodeAll(mixed, m_shape), checkpoint::Damage);
}

} // namespace
