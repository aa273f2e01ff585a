// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/cTimer.h"

#include <cstdio>

namespace {

void printSeconds(const char* text, double seconds) {
    std::printf("%s \t\t%g s\n", text, seconds);
}

} // namespace

void cTimer::printTime(const char* text) {
    printSeconds(text, getTime());
}

void cTimer::printTimeInterval(const char* text) {
    printSeconds(text, getTimeInterval());
}
