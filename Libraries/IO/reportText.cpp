// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/reportText.h"

#include <iostream>

namespace {

thread_local unsigned silences = 0;

} // namespace

void reportText(const std::string& text) {
    if (silences == 0) {
        std::cout << text << std::flush;
    }
}

ReportSilence::ReportSilence() {
    ++silences;
}

ReportSilence::~ReportSilence() {
    --silences;
}
