// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/printHeader.h"

namespace {

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> bannerInFile(int width) {
    testing::internal::CaptureStdout();
    printHeader(width);
    return splitLines(testing::internal::GetCapturedStdout());
}

/// The banner with the standard output connected to a pseudo-terminal.
std::string bannerOnTerminal(int width) {
    const int master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) {
        return "";
    }
    const int terminal = open(ptsname(master), O_RDWR | O_NOCTTY);
    std::fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(terminal, STDOUT_FILENO);
    printHeader(width);
    std::fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);

    std::string text;
    const std::string end = "*" + std::string(static_cast<std::size_t>(width), '*') + "*\r\n";
    char buffer[4096];
    while (text.size() <= end.size() || text.compare(text.size() - end.size(), end.size(), end) != 0) {
        const ssize_t n = read(master, buffer, sizeof buffer);
        if (n <= 0) {
            break;
        }
        text.append(buffer, static_cast<std::size_t>(n));
    }
    close(terminal);
    close(master);
    return text;
}

} // namespace

TEST(printHeader, EveryLineIsFramedAndTwoWiderThanTheWidth) {
    const std::vector<std::string> lines = bannerInFile(80);
    ASSERT_EQ(lines.size(), 11U);
    for (const std::string& line : lines) {
        EXPECT_EQ(line.size(), 82U) << line;
        EXPECT_EQ(line.front(), '*');
        EXPECT_EQ(line.back(), '*');
    }
    EXPECT_EQ(lines[0], std::string(82, '*'));
    EXPECT_EQ(lines[9], "*" + std::string(80, '-') + "*");
    EXPECT_EQ(lines[10], std::string(82, '*'));
}

TEST(printHeader, FirstFramedLineIsTheEmptyOne) {
    EXPECT_EQ(bannerInFile(80)[1], "*" + std::string(40, '-') + std::string(40, '-') + "*");
}

TEST(printHeader, OddRemainderGoesToTheRight) {
    EXPECT_EQ(bannerInFile(80)[2], "*" + std::string(36, '-') + "Selvane" + std::string(37, '-') + "*");
}

TEST(printHeader, LinesStandInTheirOrder) {
    const std::vector<std::string> lines = bannerInFile(80);
    const char* const texts[] = {"-Selvane-",
                                 "Selvane developers",
                                 "-Reference: XXX-",
                                 "-XXX-",
                                 "2026 the Selvane",
                                 "selvane@example.org -",
                                 "https://selvane.example.org -"};
    for (std::size_t i = 0; i < std::size(texts); ++i) {
        EXPECT_NE(lines[i + 2].find(texts[i]), std::string::npos) << lines[i + 2];
    }
}

TEST(printHeader, OutputToAFileHasNoEscapeSequences) {
    for (const std::string& line : bannerInFile(80)) {
        EXPECT_EQ(line.find('\033'), std::string::npos);
    }
}

TEST(printHeader, OnATerminalTheAddressesAreColouredInTheSameFrame) {
    // Seen to fail without the blank behind the web address.
    const std::string text = bannerOnTerminal(80);
    ASSERT_FALSE(text.empty()) << "no pseudo-terminal";
    EXPECT_NE(text.find("-Contact: \033[4;34mselvane@example.org\033[0m -"), std::string::npos);
    EXPECT_NE(text.find("-\033[4;35mhttps://selvane.example.org \033[0m -"), std::string::npos);
    EXPECT_NE(text.find("*" + std::string(36, '-') + "Selvane" + std::string(37, '-') + "*\r\n"),
              std::string::npos);
}

TEST(printHeader, WidthsBeyondTheFillAreCutAtIt) {
    EXPECT_EQ(bannerInFile(500)[0], std::string(100, '*'));
}
