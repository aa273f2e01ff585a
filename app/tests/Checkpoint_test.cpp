// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Math/cGrid.h"
#include "app/Checkpoint.h"

namespace {

namespace fs = std::filesystem;
using Candidate = HexaustFlexibleFitConformation;

bool isSame(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <class Matrix>
bool isSameMatrix(const Matrix& a, const Matrix& b) {
    return a.n_rows == b.n_rows && a.n_cols == b.n_cols && std::equal(a.begin(), a.end(), b.begin(), isSame);
}

void expectSame(const Candidate& a, const Candidate& b) {
    EXPECT_TRUE(isSame(a.m_rigidScore, b.m_rigidScore) && isSame(a.m_flexScore, b.m_flexScore));
    EXPECT_TRUE(a.m_i == b.m_i && a.m_j == b.m_j && a.m_k == b.m_k);
    EXPECT_TRUE(isSame(a.m_alpha, b.m_alpha) && isSame(a.m_beta, b.m_beta) && isSame(a.m_gamma, b.m_gamma));
    EXPECT_TRUE(isSame(a.m_dalpha, b.m_dalpha) && isSame(a.m_dbeta, b.m_dbeta) &&
                isSame(a.m_dgamma, b.m_dgamma));
    EXPECT_TRUE(isSame(a.m_ddx, b.m_ddx) && isSame(a.m_ddy, b.m_ddy) && isSame(a.m_ddz, b.m_ddz));
    EXPECT_EQ(a.m_isSet, b.m_isSet);
    EXPECT_EQ(a.m_grid, b.m_grid);
    EXPECT_TRUE(isSameMatrix(a.m_eta, b.m_eta));
    EXPECT_TRUE(isSameMatrix(a.m_gradient, b.m_gradient));
    EXPECT_TRUE(isSameMatrix(a.m_hessian, b.m_hessian));
}

void expectSame(const checkpoint::CandidateSet& a, const checkpoint::CandidateSet& b) {
    ASSERT_EQ(a.size(), b.size());
    EXPECT_EQ(a.getMaxSize(), b.getMaxSize());
    for (auto left = a.begin(), right = b.begin(); left != a.end(); ++left, ++right) {
        expectSame(*left, *right);
    }
}

/// Two workers' sets of candidates with all their members, in a file of a directory that goes away.
class Checkpoints : public testing::Test {
protected:
    Checkpoints() {
        std::string name = (fs::temp_directory_path() / "selvane_checkpoint_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("no temporary directory");
        }
        m_directory = name;
        m_path = (m_directory / ".selvane-checkpoint").string();
        const unsigned int size[3] = {3, 4, 5};
        m_shape = {std::make_shared<cGrid>(cBBox(), size), 2, 6, 2};
        m_identity.map = 11;
        m_identity.model = 12;
        m_identity.modes = 13;
        m_identity.options = {{"--nthread", "2"}, {"--dangle", "12.5"}};
    }
    ~Checkpoints() override {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }

    Candidate candidate(bool withDerivatives) {
        std::uniform_real_distribution<double> value(0.001, 1.0);
        const auto draw = [&] { return value(m_random); };
        Candidate made(draw(), 2, 3, 4, arma::Col<double>{draw(), -0.0}, m_shape.grid, draw(), draw(),
                       draw());
        made.setTweenDof({draw(), draw(), draw()}, {draw(), draw(), draw()}, made.m_eta);
        if (withDerivatives) {
            made.m_gradient.set_size(8);
            made.m_hessian.set_size(8, 8);
            made.m_gradient.imbue(draw);
            made.m_hessian.imbue(draw);
        }
        return made;
    }

    checkpoint::CandidateSet set(int offers, bool withDerivatives = true) {
        checkpoint::CandidateSet made(m_shape.capacity);
        for (int i = 0; i < offers; ++i) {
            made.add(candidate(withDerivatives));
        }
        return made;
    }

    std::vector<checkpoint::Worker> read() const {
        return checkpoint::read(m_path, m_identity, m_shape, {"map.ccp4", "model.pdb"});
    }

    /// The text of the error, which always names the file and how to begin anew.
    std::string errorOfReading() const {
        try {
            read();
        } catch (const checkpoint::Error& error) {
            const std::string text = error.what();
            EXPECT_EQ(text.find(m_path + ": "), 0U) << text;
            EXPECT_NE(text.find("start from the beginning without --resume."), std::string::npos) << text;
            return text;
        }
        return "";
    }

    void expectError(const std::string& part) const {
        const std::string text = errorOfReading();
        EXPECT_NE(text.find(part), std::string::npos) << "no '" << part << "' in '" << text << "'";
    }

    void writeSample() {
        checkpoint::write(m_path, m_identity, {checkpoint::encode(7, set(9)), checkpoint::encode(3, set(2))});
    }

    std::string bytes() const {
        std::ifstream file(m_path, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    void setBytes(const std::string& content) const {
        std::ofstream(m_path, std::ios::binary | std::ios::trunc) << content;
    }

    std::mt19937 m_random;
    fs::path m_directory;
    std::string m_path;
    checkpoint::Shape m_shape;
    checkpoint::Identity m_identity;
};

TEST_F(Checkpoints, HoldSetsAndPositionsBitByBit) {
    const auto first = set(9);
    const auto second = set(4);
    checkpoint::write(m_path, m_identity, {checkpoint::encode(7, first), checkpoint::encode(0, second)});
    const auto workers = read();
    ASSERT_EQ(workers.size(), 2U);
    EXPECT_EQ(workers[0].done, 7U);
    EXPECT_EQ(workers[1].done, 0U);
    expectSame(workers[0].candidates, first);
    expectSame(workers[1].candidates, second);
    EXPECT_FALSE(fs::exists(m_path + ".new"));
}

TEST_F(Checkpoints, HoldCandidatesWithoutDerivativesAndEmptySets) {
    const auto plain = set(20, false);
    const checkpoint::CandidateSet none(m_shape.capacity);
    checkpoint::write(m_path, m_identity, {checkpoint::encode(7, plain), checkpoint::encode(1, none)});
    const auto workers = read();
    expectSame(workers[0].candidates, plain);
    EXPECT_TRUE(workers[0].candidates.begin()->m_gradient.is_empty());
    EXPECT_EQ(workers[1].candidates.size(), 0U);
}

TEST_F(Checkpoints, HoldCandidatesWithoutModes) {
    m_shape.nModes = 0;
    checkpoint::CandidateSet rigid(m_shape.capacity);
    rigid.add(Candidate(0.5, 0, 0, 0, arma::Col<double>(), m_shape.grid));
    checkpoint::write(m_path, m_identity, {checkpoint::encode(1, rigid), checkpoint::encode(1, rigid)});
    expectSame(read()[1].candidates, rigid);
}

TEST_F(Checkpoints, ASetThatShrankIsRestoredAndGoesOnAsTheOriginal) {
    checkpoint::CandidateSet original(m_shape.capacity);
    for (const double score : {0.9, 0.8, 0.7, 0.6, 0.5, 0.4}) {
        original.add(Candidate(score, 0, 0, 0, {0.0, 0.0}, m_shape.grid));
    }
    // A tie with a better one costs the worst.
    original.add(Candidate(0.8, 1, 1, 1, {0.0, 0.0}, m_shape.grid));
    ASSERT_EQ(original.size(), 5U);
    checkpoint::write(m_path, m_identity, {checkpoint::encode(1, original), checkpoint::encode(1, original)});
    auto restored = read()[0].candidates;
    expectSame(restored, original);
    for (const double score : {0.1, 0.65, 0.9, 0.3}) {
        const Candidate next(score, 2, 2, 2, {0.0, 0.0}, m_shape.grid);
        original.add(next);
        restored.add(next);
        expectSame(restored, original);
    }
}

TEST_F(Checkpoints, EveryTruncationIsTold) {
    writeSample();
    const std::string whole = bytes();
    ASSERT_NE(whole, "");
    for (std::size_t length = 0; length < whole.size(); length += length < 200 ? 1 : 97) {
        setBytes(whole.substr(0, length));
        expectError(": the checkpoint is damaged or cut short. Remove it");
    }
    setBytes(whole + "x");
    expectError("damaged");
}

TEST_F(Checkpoints, EveryFlippedBitIsTold) {
    writeSample();
    const std::string whole = bytes();
    for (std::size_t byte = 0; byte < whole.size(); byte += byte < 400 ? 1 : 41) {
        std::string damaged = whole;
        damaged[byte] = static_cast<char>(damaged[byte] ^ (1 << byte % 8));
        setBytes(damaged);
        EXPECT_NE(errorOfReading(), "") << "byte " << byte;
    }
    setBytes(whole);
    EXPECT_EQ(errorOfReading(), "");
}

TEST_F(Checkpoints, ZeroesBehindAPowerCutAreTold) {
    writeSample();
    const std::string whole = bytes();
    setBytes(std::string(whole.size(), '\0'));
    expectError("damaged");
    setBytes(whole.substr(0, whole.size() / 2) + std::string(whole.size() - whole.size() / 2, '\0'));
    expectError("damaged");
}

TEST_F(Checkpoints, LengthsAreNotBelieved) {
    writeSample();
    std::string bytesOfFile = bytes();
    const std::uint64_t huge = ~std::uint64_t{0};
    std::memcpy(&bytesOfFile[12], &huge, sizeof huge); // of the first section
    setBytes(bytesOfFile);
    expectError("damaged");
}

TEST_F(Checkpoints, ContentThatNoScanLeavesIsTold) {
    const auto good = checkpoint::encode(1, set(2));
    const auto refuse = [&](const std::function<void(Candidate&)>& spoil) {
        Candidate bad = candidate(true);
        spoil(bad);
        checkpoint::CandidateSet one(m_shape.capacity);
        one.add(bad);
        checkpoint::write(m_path, m_identity, {good, checkpoint::encode(1, one)});
        expectError("damaged");
    };
    refuse([](Candidate& c) { c.m_i = 3; });
    refuse([](Candidate& c) { c.m_k = -1; });
    refuse([](Candidate& c) { c.m_rigidScore = 0.0; });
    refuse([](Candidate& c) { c.m_rigidScore = std::nan(""); });
    refuse([](Candidate& c) { c.m_eta.set_size(1); });
    refuse([](Candidate& c) { c.m_gradient.set_size(7); });
    refuse([](Candidate& c) { c.m_hessian.set_size(8, 7); });
    checkpoint::write(m_path, m_identity, {good});
    expectError("damaged");
    checkpoint::write(m_path, m_identity, {good, good, good});
    expectError("damaged");
    m_shape.capacity = 1;
    checkpoint::write(m_path, m_identity, {good, good});
    expectError("damaged");
}

TEST_F(Checkpoints, AnotherVersionOfTheLayoutIsTold) {
    writeSample();
    std::string other = bytes();
    other[8] = 2;
    setBytes(other);
    expectError(": the checkpoint is of version 2 and this program reads version 1. Resume with the program");
}

TEST_F(Checkpoints, AnotherScanIsTold) {
    writeSample();
    const auto refuse = [&](const std::function<void(checkpoint::Identity&)>& change,
                            const std::string& text) {
        const checkpoint::Identity before = m_identity;
        change(m_identity);
        expectError(text);
        m_identity = before;
    };
    refuse([](auto& identity) { identity.map = 1; }, "a map of other contents than map.ccp4");
    refuse([](auto& identity) { identity.model = 1; }, "a model of other contents than model.pdb");
    refuse([](auto& identity) { identity.modes = 1; }, "other normal modes");
    refuse([](auto& identity) { identity.options[0].second = "3"; },
           ": the checkpoint belongs to a run with --nthread 2 and not 3. Give the options");
    refuse([](auto& identity) { identity.options[1].second = "12"; }, "--dangle 12.5 and not 12.");
    refuse([](auto& identity) { identity.options.pop_back(); }, "damaged");
    refuse([](auto& identity) { identity.options.push_back({"--new", "1"}); }, "damaged");
    EXPECT_EQ(errorOfReading(), "");
}

TEST_F(Checkpoints, AMissingOrUnreadableOneIsTold) {
    expectError(": there is no checkpoint to resume from");
    EXPECT_FALSE(checkpoint::exists(m_path));
    EXPECT_THROW(checkpoint::require(m_path), checkpoint::Error);
    fs::create_directory(m_path);
    expectError("cannot be read");
    fs::remove(m_path);
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    expectError("cannot be read");
    fs::remove(m_path);
    writeSample();
    EXPECT_TRUE(checkpoint::exists(m_path));
    EXPECT_NO_THROW(checkpoint::require(m_path));
}

/// As on a full disk: no file grows beyond some bytes.
class FullDisk {
public:
    FullDisk() {
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit small{20, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handling);
    }

private:
    rlimit m_before{};
    void (*m_handling)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(Checkpoints, WhatStandsInPlaceOfTheDraftIsRemovedAndNotOpened) {
    const std::string draft = m_path + ".new";
    ASSERT_EQ(mkfifo(draft.c_str(), 0600), 0);
    alarm(20); // a pipe without a reader holds up whoever opens it
    writeSample();
    alarm(0);
    EXPECT_EQ(errorOfReading(), "");

    const std::string theirs = (m_directory / "theirs").string();
    std::ofstream(theirs) << "a file of others";
    fs::create_hard_link(theirs, draft);
    writeSample();
    fs::create_symlink(theirs, draft);
    writeSample();
    std::ifstream file(theirs);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "a file of others");
    EXPECT_FALSE(fs::is_symlink(m_path));
    EXPECT_EQ(errorOfReading(), "");
}

TEST_F(Checkpoints, WhatCannotBeWrittenLeavesTheOlderOne) {
    writeSample();
    const std::string before = bytes();
    const std::string draft = m_path + ".new";
    {
        const FullDisk disk;
        EXPECT_THROW(writeSample(), std::system_error);
    }
    EXPECT_EQ(bytes(), before);
    EXPECT_FALSE(fs::exists(draft));
    fs::create_directory(draft);
    EXPECT_THROW(writeSample(), std::system_error);
    EXPECT_EQ(bytes(), before);
    fs::remove(draft);
    EXPECT_THROW(checkpoint::write((m_directory / "nowhere" / "x").string(), m_identity, {}),
                 std::system_error);
    writeSample();
    EXPECT_NE(bytes(), before);
    EXPECT_FALSE(fs::exists(draft));
}

TEST_F(Checkpoints, ADraftThatCannotTakeItsPlaceGoesAway) {
    fs::create_directory(m_path);
    EXPECT_THROW(writeSample(), std::system_error);
    EXPECT_FALSE(fs::exists(m_path + ".new"));
    EXPECT_TRUE(fs::is_directory(m_path));
}

} // namespace
