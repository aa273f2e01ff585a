// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_TESTS_RUNFIXTURE_H
#define SELVANE_APP_TESTS_RUNFIXTURE_H

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/tests/testInputs.h"

/// How a run ended and what it said.
struct RunResult {
    int status = -1; ///< exit status; -1 when a signal ended the process
    int signal = 0;
    std::string out;
    std::string err;
};

using Arguments = std::vector<std::string>;

/// A run of the program in an empty directory of its own, which is its working directory and goes away with
/// the test. The standard input is that of the tests, output and error streams go to files.
class RunFixture : public ::testing::Test {
protected:
    RunFixture();
    ~RunFixture() override;

    /// Runs the program with these arguments and nothing else.
    RunResult run(const Arguments& arguments) const;

    /// Runs it with the two inputs of writeInputs() and these options.
    RunResult fit(const Arguments& options) const;

    /// Writes model.pdb and map.ccp4: the model in the middle of its own simulated map.
    void writeInputs();
    void writeInputs(const std::vector<TestAtom>& atoms, const TestMap& map);

    void write(const std::string& name, const std::string& content) const;
    std::string read(const std::string& name) const;
    bool exists(const std::string& name) const;

    /// The names in a directory below the working directory.
    std::set<std::string> entries(const std::string& directory = ".") const;

    std::filesystem::path m_directory;
    std::string m_report;              ///< where the standard output goes instead of into RunResult::out
    std::uintmax_t m_largestFile = 0;  ///< that a run may write, in bytes; 0 for no limit
    std::uintmax_t m_addressSpace = 0; ///< of a run, in bytes; 0 for no limit
    std::vector<TestAtom> m_model;     ///< as in model.pdb
    TestMap m_map;                     ///< as in map.ccp4
};

/// The path that the program is started by.
std::string binaryPath();

/// The quickest options: 4 rotations, one worker, one solution.
Arguments quick(const Arguments& more = {});

/// 72 rotations, the identity and turns about z among them, one worker, 5 solutions.
Arguments coarse(const Arguments& more = {});

/// What an error stream says besides the line on a step too coarse for the model, as that of quick() is.
std::string besidesTheStep(const std::string& err);

bool contains(const std::string& text, const std::string& part);
std::vector<std::string> linesOf(const std::string& text);

#endif
