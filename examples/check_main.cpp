// SPDX-License-Identifier: GPL-3.0-or-later
// selvane-check: compares the poses of a solution file with the known pose.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "examples/files.h"
#include "examples/verdict.h"

namespace {

constexpr const char* usageText =
    "usage: selvane-check SOLUTION.pdb TRUTH.pdb MAXRMSD\n"
    "\n"
    "Status 0 when the first pose of SOLUTION.pdb is within MAXRMSD angstrom of TRUTH.pdb,\n"
    "without superposition; 1 otherwise.\n";

double limitFrom(const std::string& text) {
    char* end = nullptr;
    const double limit = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(limit)) {
        throw std::invalid_argument("MAXRMSD must be a number, not '" + text + "'");
    }
    return limit;
}

std::vector<example::Pose> posesOf(const std::string& path) {
    try {
        return example::posesFromPdb(example::readFile(path));
    } catch (const std::exception& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

bool check(const std::string& solution, const std::string& truth, double limit) {
    const std::vector<example::Pose> known = posesOf(truth);
    if (known.size() != 1) {
        throw std::runtime_error(truth + " must hold one model");
    }
    const example::Verdict verdict = example::judge(posesOf(solution), known.front().atoms, limit);
    std::fputs(verdict.report.c_str(), stdout);
    return verdict.pass;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fputs(usageText, stderr);
        return EXIT_FAILURE;
    }
    try {
        return check(argv[1], argv[2], limitFrom(argv[3])) ? EXIT_SUCCESS : EXIT_FAILURE;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "selvane-check: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
