// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/printHeader.h"

#include <cstdio>
#include <cstring>
#include <string>

#include <unistd.h>

namespace {

struct BannerLine {
    const char* plain;
    const char* coloured;
};

constexpr const char* mail = "Contact: selvane@example.org ";
constexpr const char* colouredMail = "Contact: \033[4;34mselvane@example.org\033[0m ";
constexpr const char* web = "https://selvane.example.org ";
// Deliberate: one blank more than the plain line, so that on a terminal this line's right edge stands out.
constexpr const char* colouredWeb = "\033[4;35mhttps://selvane.example.org \033[0m ";
constexpr const char* rights = "Copyright (C) 2026 the Selvane developers";

constexpr BannerLine banner[] = {
    {"", ""},
    {"Selvane", "Selvane"},
    {"by the Selvane developers", "by the Selvane developers"},
    {"Reference: XXX", "Reference: XXX"},
    {"XXX", "XXX"},
    {rights, rights},
    {mail, colouredMail},
    {web, colouredWeb},
};

/// "*", the fill character width times, "*".
void printRule(int width, char fill) {
    const std::string line(98, fill);
    std::printf("*%.*s*\n", width, line.c_str());
}

/// The line centred between dashes. The plain text decides the place: colour sequences take no room.
void printFramed(int width, const BannerLine& line, bool onTerminal) {
    const std::string dashes(98, '-');
    const int length = static_cast<int>(std::strlen(line.plain));
    const int left = (width - length) / 2;
    const int right = left + (width != length + 2 * left ? 1 : 0);
    std::printf("*%.*s%s%.*s*\n", left, dashes.c_str(), onTerminal ? line.coloured : line.plain, right,
                dashes.c_str());
}

} // namespace

void printHeader(int width) {
    const bool onTerminal = isatty(fileno(stdout)) != 0;
    printRule(width, '*');
    for (const BannerLine& line : banner) {
        printFramed(width, line, onTerminal);
    }
    printRule(width, '-');
    printRule(width, '*');
}
