// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_TESTS_ROBUSTNESS_CASES_H
#define SELVANE_TESTS_ROBUSTNESS_CASES_H

#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "app/tests/testInputs.h"

/// How a run ends on an odd input.
enum class End {
    Fits,          ///< status 0, all results are written anew
    FitsIfAble,    ///< as Fits, or as Stops where the machine lacks memory or threads
    FitsUnwritten, ///< status 0, told that the solutions have no place
    FitsHalf,      ///< status 0, told that one solution has no place and that the earlier other one stays
    Refused,       ///< status 1 before anything is done: an error of the command line
    Stops,         ///< status 1 in a stage
    Aborts,        ///< ended by SIGABRT after the text of an exception
    EndsEarly      ///< status 0 without results, after a line that says why
};

/// A directory with an ordinary model and map and a command line that fits them quickly, to be spoilt.
struct Scene {
    explicit Scene(std::filesystem::path place);

    std::string read(const std::string& name) const;
    void write(const std::string& name, const std::string& content) const;

    std::filesystem::path directory;
    std::map<std::string, std::string> options; ///< by name; written as two words each
    std::vector<TestAtom> model;                ///< of model.pdb
    TestMap map;                                ///< of map.ccp4
};

struct Case {
    std::string what; ///< the input, as the document names it
    std::function<void(Scene&)> spoil;
    End end;
    std::string says; ///< part of the standard error stream; where it is empty, so is the stream
};

/// For the messages of the tests.
inline void PrintTo(const Case& odd, std::ostream* stream) {
    *stream << odd.what;
}

std::vector<Case> pathCases();
std::vector<Case> mapCases();
std::vector<Case> modelCases();
std::vector<Case> optionCases();
std::vector<Case> directoryCases();

#endif
