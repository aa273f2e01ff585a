// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_TESTS_RUNPROGRAM_H
#define SELVANE_FIT_TESTS_RUNPROGRAM_H

#include <string>
#include <vector>

#include "fit/tests/scratchFolder.h"

struct Outcome {
    int status = -1; ///< -1: ended by a signal
    std::string out;
    std::string err;
};

/// Runs a command of the shell in a folder.
Outcome runShell(const ScratchFolder& folder, const std::string& command);

/// Runs a program in a folder.
Outcome runProgram(const ScratchFolder& folder, const std::string& program,
                   const std::vector<std::string>& words);

#endif
