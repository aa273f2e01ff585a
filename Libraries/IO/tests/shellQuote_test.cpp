// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "IO/shellQuote.h"

namespace {

/// What a shell makes of a word.
std::string expanded(const std::string& word) {
    std::FILE* pipe = popen(("printf '%s|' " + word).c_str(), "r");
    std::string text;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        text += static_cast<char>(c);
    }
    pclose(pipe);
    return text;
}

TEST(ShellQuote, PlainTextStandsInSingleQuotes) {
    EXPECT_EQ(shellQuote("out"), "'out'");
    EXPECT_EQ(shellQuote(""), "''");
    EXPECT_EQ(shellQuote("it's"), "'it'\\''s'");
}

TEST(ShellQuote, ShellGivesTheTextBackAsOneWord) {
    for (const std::string text : {"plain", "two words", "it's", "''", "a;b", "$(date)", "`date`", "\"x\"",
                                   "*", "$HOME", "back\\slash", "new\nline", "~", "-p", "a&b|c>d", ""}) {
        EXPECT_EQ(expanded(shellQuote(text)), text + "|") << text;
    }
}

} // namespace
