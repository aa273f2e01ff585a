// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "Formats/InputBytes.h"
#include "Formats/tests/TestFolder.h"
#include "Formats/tests/gzipBytes.h"
#include "IO/openInput.h"

namespace {

/// Longer than the reader's buffer, and different everywhere.
std::string longText() {
    std::string text;
    for (int line = 0; text.size() < 900000; ++line) {
        text += "line " + std::to_string(line * 7919 % 100003) + "\n";
    }
    return text;
}

std::string reasonOf(const std::string& path) {
    try {
        readText(path);
    } catch (const InputError& error) {
        return error.reason();
    }
    return "read";
}

bool holds(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(InputBytes, PlainAndGzippedFilesGiveTheSameTextWhateverTheirNames) {
    const TestFolder folder;
    const std::string text = longText();
    EXPECT_EQ(readText(folder.write("a.gz", text)), text);
    EXPECT_EQ(readText(folder.write("b.txt", gzipped(text))), text);
}

TEST(InputBytes, ReadsOnInPiecesOfAnySize) {
    const TestFolder folder;
    const std::string text = longText();
    for (const std::string& stored : {text, gzipped(text)}) {
        InputBytes bytes(folder.write("a", stored));
        EXPECT_EQ(bytes.isGzipped(), stored != text);
        EXPECT_EQ(bytes.storedSize(), stored.size());
        std::string read;
        for (std::size_t piece = 1;; piece = piece * 3 + 1) {
            std::string part(piece, '\0');
            part.resize(bytes.read(part.data(), piece));
            read += part;
            EXPECT_EQ(bytes.position(), read.size());
            if (part.size() < piece) {
                break;
            }
        }
        EXPECT_EQ(read, text);
    }
}

TEST(InputBytes, SkipPassesOverBytesUpToTheEnd) {
    const TestFolder folder;
    const std::string text = longText();
    for (const std::string& stored : {text, gzipped(text)}) {
        InputBytes bytes(folder.write("a", stored));
        EXPECT_EQ(bytes.skip(500000), 500000U);
        char next = 0;
        EXPECT_EQ(bytes.read(&next, 1), 1U);
        EXPECT_EQ(next, text[500000]);
        EXPECT_EQ(bytes.skip(text.size()), text.size() - 500001);
    }
}

TEST(InputBytes, MembersFollowEachOtherAndZerosMayEndThem) {
    const TestFolder folder;
    const std::string zeros(300000, '\0'); // longer than the reader's buffer
    const std::string stored = gzipped("one ") + gzipped("") + gzipped("two ") + zeros;
    EXPECT_EQ(readText(folder.write("a", stored)), "one two ");
    EXPECT_EQ(readText(folder.write("a", gzipped("one ") + zeros + gzipped("two"))), "one two");
}

TEST(InputBytes, AnEmptyFileAndASingleByteArePlain) {
    const TestFolder folder;
    EXPECT_EQ(readText(folder.write("a", "")), "");
    EXPECT_EQ(readText(folder.write("a", "\x1f")), "\x1f");
}

TEST(InputBytes, AStreamCutAnywhereIsAnError) {
    const TestFolder folder;
    const std::string whole = gzipped("some text that is not short, some text that is not short");
    for (std::size_t length = 2; length < whole.size(); ++length) {
        EXPECT_TRUE(holds(reasonOf(folder.write("a", whole.substr(0, length))), "truncated")) << length;
    }
}

TEST(InputBytes, AFlippedBitOfTheDataIsAnErrorWhereItWouldChangeTheText) {
    const TestFolder folder;
    const std::string text = "some text that is not short, some text that is not short";
    const std::string whole = gzipped(text);
    constexpr std::size_t headerBytes = 10; // time, level and system are under no checksum
    std::size_t errors = 0;
    for (std::size_t i = headerBytes; i < whole.size(); ++i) {
        std::string flipped = whole;
        flipped[i] = static_cast<char>(flipped[i] ^ 0x10);
        const std::string path = folder.write("a", flipped);
        if (reasonOf(path) == "read") {
            EXPECT_EQ(readText(path), text) << i; // one bit fills the last byte up
        } else {
            ++errors;
        }
    }
    EXPECT_GE(errors, whole.size() - headerBytes - 1);
}

TEST(InputBytes, WhatFollowsTheStreamMustBeAnother) {
    const TestFolder folder;
    EXPECT_TRUE(holds(reasonOf(folder.write("a", gzipped("text") + "more")), "follows"));
}

TEST(InputBytes, ALimitEndsTheReading) {
    const TestFolder folder;
    const std::string path = folder.write("a", gzipped(std::string(100000, 'x')));
    std::string to(100000, '\0');
    InputBytes enough(path);
    enough.setLimit(100000);
    EXPECT_EQ(enough.read(to.data(), to.size()), to.size());
    InputBytes tooMuch(path);
    tooMuch.setLimit(99999);
    EXPECT_THROW(tooMuch.read(to.data(), to.size()), InputError);
}

TEST(InputBytes, TextThatUnfoldsBeyondMeasureIsRefused) {
    const TestFolder folder;
    const std::string zeros(40U << 20, '0');
    const std::string packed = gzipped(zeros, 1);
    EXPECT_EQ(readText(folder.write("a", packed)).size(), zeros.size()); // small enough at any ratio
    EXPECT_TRUE(holds(reasonOf(folder.write("a", packed + packed)), "goes on beyond"));
}

TEST(InputBytes, FoldersPipesAndMissingFilesAreErrors) {
    const TestFolder folder;
    ASSERT_EQ(mkfifo(folder.path("pipe").c_str(), 0600), 0);
    EXPECT_EQ(reasonOf(folder.path("pipe")), "not a regular file");
    EXPECT_EQ(reasonOf(folder.path("")), "not a regular file");
    EXPECT_EQ(reasonOf(folder.path("none")), "No such file or directory");
}
