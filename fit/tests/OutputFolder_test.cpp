// SPDX-License-Identifier: GPL-3.0-or-later
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/OutputFolder.h"
#include "fit/tests/scratchFolder.h"

namespace {

using Names = std::vector<std::string>;

std::string refusalOf(const std::function<void()>& make) {
    try {
        make();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

TEST(OutputFolder, IsMadeWithThoseAboveItAndGoesAgainIfNothingWasWritten) {
    const ScratchFolder scratch;
    {
        OutputFolder folder(scratch.of("a/b/out"), false, {});
        folder.makePrepared();
        EXPECT_TRUE(scratch.has("a/b/out/prepared"));
    }
    EXPECT_TRUE(scratch.entries().empty());
    {
        const OutputFolder folder(scratch.of("a/b/out"), false, {});
        scratch.write("a/b/out/poses.csv", "x");
    }
    EXPECT_TRUE(scratch.has("a/b/out/poses.csv"));
}

TEST(OutputFolder, EmptyAndForeignOnesAreUsedAndKept) {
    const ScratchFolder scratch;
    for (const char* name : {"out/notes.txt", "out/pose_1.pdb", "out/pose_01.txt", "out/pose_.pdb",
                             "out/my_pose_01.pdb", "out/prepared/other"}) {
        scratch.write(name, "mine");
    }
    const std::set<std::string> before = scratch.entries();
    {
        const OutputFolder folder(scratch.of("out"), true, {});
        folder.removeEarlier({});
    }
    EXPECT_EQ(scratch.entries(), before);
    EXPECT_EQ(refusalOf([&] { OutputFolder(scratch.of("out"), false, {}); }), "");
}

TEST(OutputFolder, WithEarlierResultsIsRefusedByName) {
    for (const char* name : {"poses.csv", "log.txt", "pose_01.pdb", "pose_100.cif"}) {
        const ScratchFolder scratch;
        scratch.write(std::string("out/") + name, "old");
        const std::string refusal = refusalOf([&] { OutputFolder(scratch.of("out"), false, {}); });
        EXPECT_TRUE(contains(refusal, scratch.of("out") + ": ")) << refusal;
        EXPECT_TRUE(contains(refusal, name)) << refusal;
        EXPECT_TRUE(contains(refusal, "--output") && contains(refusal, "--restart")) << refusal;
        EXPECT_EQ(scratch.read(std::string("out/") + name), "old");
    }
}

TEST(OutputFolder, WithPreparedFilesAloneIsUsed) {
    const ScratchFolder scratch;
    for (const char* name : {"out/log.txt", "out/prepared/map.ccp4", "out/prepared/command.txt"}) {
        scratch.write(name, "old");
    }
    EXPECT_EQ(refusalOf([&] { OutputFolder(scratch.of("out"), false, {}); }), "");
    scratch.write("out/poses.csv", "old");
    EXPECT_NE(refusalOf([&] { OutputFolder(scratch.of("out"), false, {}); }), "");
}

TEST(OutputFolder, RestartRemovesOnlyWhatTheRunDidNotWrite) {
    const ScratchFolder scratch;
    for (const char* name : {"out/poses.csv", "out/pose_01.pdb", "out/pose_02.pdb", "out/pose_02.cif",
                             "out/prepared/map.ccp4", "out/mine.txt"}) {
        scratch.write(name, "x");
    }
    {
        const OutputFolder folder(scratch.of("out"), true, {});
        EXPECT_TRUE(scratch.has("out/pose_02.pdb")); // until the run is through
        folder.removeEarlier({"poses.csv", "pose_01.pdb"});
    }
    EXPECT_EQ(scratch.entries(), (std::set<std::string>{"out", "out/mine.txt", "out/pose_01.pdb",
                                                        "out/poses.csv", "out/prepared"}));
}

TEST(OutputFolder, AnInputUnderTheNameOfAResultIsRefusedEvenWithRestart) {
    const ScratchFolder scratch;
    scratch.write("out/pose_01.pdb", "the model");
    std::filesystem::create_symlink(scratch.of("out/pose_01.pdb"), scratch.of("link.pdb"));
    for (const char* input : {"out/pose_01.pdb", "link.pdb"}) {
        const std::string refusal = refusalOf([&] {
            OutputFolder(scratch.of("out"), true, {"map.mrc", scratch.of(input)});
        });
        EXPECT_TRUE(contains(refusal, input) && contains(refusal, "--output")) << refusal;
    }
}

TEST(OutputFolder, BelongsToOneRunAtATime) {
    const ScratchFolder scratch;
    {
        const OutputFolder first(scratch.of("out"), false, {});
        const std::string refusal = refusalOf([&] { OutputFolder(scratch.of("out"), true, {}); });
        EXPECT_TRUE(contains(refusal, "another run") && contains(refusal, "--output")) << refusal;
    }
    EXPECT_EQ(refusalOf([&] { OutputFolder(scratch.of("out"), false, {}); }), "");
    EXPECT_TRUE(scratch.entries().empty());
}

TEST(OutputFolder, ThatIsAFileOrMayNotBeWrittenIsRefused) {
    const ScratchFolder scratch;
    scratch.write("file", "x");
    for (const char* name : {"file", "file/below"}) {
        const std::string refusal = refusalOf([&] { OutputFolder(scratch.of(name), false, {}); });
        EXPECT_TRUE(contains(refusal, scratch.of(name)) && contains(refusal, "--output")) << refusal;
    }
    EXPECT_TRUE(contains(refusalOf([] { OutputFolder("/proc/none", false, {}); }), "/proc/none"));
    EXPECT_EQ(scratch.entries(), std::set<std::string>{"file"});
}

} // namespace
