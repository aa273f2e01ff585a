// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_TESTS_CHECKPOINTSAMPLE_H
#define SELVANE_SEARCH_TESTS_CHECKPOINTSAMPLE_H

#include <filesystem>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "Search/CheckpointFile.h"

/// Fails for every member in which two sets, or what they do not show of themselves, differ by a bit.
void expectSame(const CandidateSet& a, const CandidateSet& b);

/// Candidates with all their members, of two workers and two modes, and a directory for their checkpoint that
/// goes away.
class CheckpointSample : public testing::Test {
protected:
    using Candidate = HexaustFlexibleFitConformation;

    CheckpointSample();
    ~CheckpointSample() override;

    Candidate candidate(bool withDerivatives);
    CandidateSet set(int offers, bool withDerivatives = true);

    std::string bytes() const;
    void setBytes(const std::string& content) const;

    std::mt19937 m_random;
    std::filesystem::path m_directory;
    std::string m_path; ///< of the checkpoint
    checkpoint::Shape m_shape;
    checkpoint::Identity m_identity;
};

#endif
