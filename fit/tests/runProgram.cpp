// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/tests/runProgram.h"

#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>

#include "IO/shellQuote.h"

Outcome runShell(const ScratchFolder& folder, const std::string& command) {
    const std::string all = "cd " + shellQuote(folder.of("")) + " && " + command + " >" +
                            shellQuote(folder.of("out.txt")) + " 2>" + shellQuote(folder.of("err.txt"));
    const int status = std::system(all.c_str());
    Outcome run{WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.read("out.txt"), folder.read("err.txt")};
    std::filesystem::remove(folder.of("out.txt"));
    std::filesystem::remove(folder.of("err.txt"));
    return run;
}

Outcome runProgram(const ScratchFolder& folder, const std::string& program,
                   const std::vector<std::string>& words) {
    std::string command = shellQuote(program);
    for (const std::string& word : words) {
        command += " " + shellQuote(word);
    }
    return runShell(folder, command);
}
