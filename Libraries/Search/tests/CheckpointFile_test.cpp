// SPDX-License-Identifier: GPL-3.0-or-later
#include <csignal>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "Search/CheckpointFile.h"
#include "checkpointSample.h"

namespace {

namespace fs = std::filesystem;

class Checkpoints : public CheckpointSample {
protected:
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
    Candidate beside = candidate(true);
    beside.m_i = 3;
    CandidateSet bad(m_shape.capacity);
    bad.add(beside);
    checkpoint::write(m_path, m_identity, {good, checkpoint::encode(1, bad)});
    expectError("damaged");
    checkpoint::write(m_path, m_identity, {good});
    expectError("damaged");
    checkpoint::write(m_path, m_identity, {good, good, good});
    expectError("damaged");
    m_shape.capacity = 1;
    checkpoint::write(m_path, m_identity, {good, good});
    expectError("damaged");
}

TEST_F(Checkpoints, AreToldOfOnceTheyAreInPlace) {
    int calls = 0;
    const auto parts = {checkpoint::encode(7, set(9)), checkpoint::encode(3, set(2))};
    checkpoint::write(m_path, m_identity, parts, [&] {
        ++calls;
        EXPECT_EQ(errorOfReading(), "");
    });
    EXPECT_EQ(calls, 1);
    fs::remove(m_path);
    fs::create_directory(m_path);
    EXPECT_THROW(checkpoint::write(m_path, m_identity, parts, [&] { ++calls; }), std::system_error);
    EXPECT_EQ(calls, 1);
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
