// SPDX-License-Identifier: GPL-3.0-or-later
// The command line: the input holds its words, each ended by a zero byte.
#include <cmath>
#include <iostream>
#include <vector>

#include "IO/shellQuote.h"
#include "Math/cVector3.h"
#include "app/FittingWorkflow.h"
#include "fuzz/fuzzTarget.h"

namespace {

constexpr std::size_t mostWords = 64;

std::vector<std::string> wordsOf(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> words{"selvane"};
    std::string word;
    for (std::size_t i = 0; i < size && words.size() < mostWords; ++i) {
        if (data[i] == 0) {
            words.push_back(word);
            word.clear();
        } else {
            word += static_cast<char>(data[i]);
        }
    }
    if (!word.empty()) {
        words.push_back(word);
    }
    return words;
}

/// What a shell makes of a word in single quotes.
std::string unquoted(const std::string& quoted) {
    std::string text;
    bool inside = false;
    for (std::size_t i = 0; i < quoted.size(); ++i) {
        if (quoted[i] == '\'') {
            inside = !inside;
        } else if (inside) {
            text += quoted[i];
        } else {
            require(quoted.compare(i, 2, "\\'") == 0, "outside quotes stands an escaped quote only");
            text += quoted[++i];
        }
    }
    require(!inside, "quotes are closed");
    return text;
}

void checkAccepted(const FittingWorkflow& workflow) {
    const unsigned int mapSize[3] = {40, 60, 50};
    require(workflow.m_nthread.getValue() > 0, "at least one worker");
    require(workflow.getCapacity() > 0, "at least one solution");
    const double sigma = workflow.getSigma(cVector3(1.0, 2.0, 3.0));
    require(risesAboveCut(sigma), "a Gaussian rises above the cut");
    const double rotations = countRotations(workflow.getDangle(mapSize));
    require(rotations >= 1.0 && rotations <= 2147483645.0, "the rotations are counted by an int");
    for (const auto* option : {&workflow.m_cutoff, &workflow.m_stiffness, &workflow.m_maxrmsd,
                               &workflow.m_filtersigma, &workflow.m_clusterThreshold}) {
        require(std::isfinite(option->getValue()), "numbers are finite");
    }
    const std::string& directory = workflow.m_odir.getValue();
    require(!directory.empty(), "the directory has a name");
    require(unquoted(shellQuote(directory)) == directory, "the name reaches the shell as it is");
    workflow.saveArgumentLog("/dev/null", cVector3(1.0, 2.0, 3.0), mapSize, {{0, 0, 0}, {0, 0, 2}});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::cout.rdbuf(nullptr); // usage and errors
    std::cerr.rdbuf(nullptr);
    const std::vector<std::string> words = wordsOf(data, size);
    std::vector<const char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(word.c_str());
    }
    FittingWorkflow workflow;
    workflow.setExceptionHandling(false); // otherwise help and errors end the process
    try {
        workflow.parse(static_cast<int>(pointers.size()), pointers.data());
        checkAccepted(workflow);
    } catch (TCLAP::ArgException& error) {
        try {
            workflow.getOutput()->failure(workflow, error);
        } catch (const TCLAP::ExitException&) {
        }
    } catch (const TCLAP::ExitException& end) {
        require(end.getExitStatus() == 0, "help, version and change log end well");
    }
    return 0;
}
