// SPDX-License-Identifier: GPL-3.0-or-later
// Which score of the scan finds the right place of a model: the table of docs/scores.md.
//   score_ranks [--pairs FOLDER] [--only TEXT] [--noise S] [--turns N] [--threads N]
// --pairs FOLDER  real and simulated pairs, described in FOLDER/pairs.json, beside the generated ones
// --noise S       of the generated maps, in standard deviations (0.3)
// --turns N       orientations that each model is tried in (1)
// The generated cases are each of the six chains of two complexes in a map of all six, at several
// resolutions, and some of them in maps cut out of those. A row tells, for each score, the rank of the first
// right pose and its score over that of the first wrong one, for the worst turn; "lists" is the better rank
// in the two lists of a local scan.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "benchmarks/poseCases.h"

extern "C" void openblas_set_num_threads(int count);

namespace {

struct Options {
    std::string pairs;
    std::string only;
    double noise = 0.3;
    int turns = 1;
    std::size_t threads = 1;
};

/// The four lists of a case, each with its worst turn.
struct Row {
    Standing local, numerator, laplacian, overlap;
    std::size_t lists = 1; ///< rank of the right place in the better of the first two; 0: none

    bool isInFive() const { return lists > 0 && lists <= 5; }
    bool isFirstSomewhere() const {
        return local.rank == 1 || numerator.rank == 1 || laplacian.rank == 1 || overlap.rank == 1;
    }
};

/// A rank for comparisons, in which none is the last.
std::size_t orLast(std::size_t rank) {
    return rank == 0 ? std::numeric_limits<std::size_t>::max() : rank;
}

void takeWorse(Standing& kept, const Standing& other) {
    if (orLast(other.rank) > orLast(kept.rank) || other.rightOverWrong < kept.rightOverWrong) {
        kept = other;
    }
}

Row rowOf(const PoseCase& c, const Options& options) {
    example::Random random(3);
    Row row;
    for (int turn = 0; turn < options.turns; ++turn) {
        const PreparedModel model = turned(c.model, drawRotation(random));
        const auto scan = [&](FitScore score) {
            return scanCase(c, model, {score, 0, 0, 0}, options.threads);
        };
        const std::vector<FoundPose> both = scan(FitScore::Local);
        const Standing local = standing(c, both, FitScore::Local);
        const Standing numerator = standing(c, both, FitScore::Laplacian);
        const Standing laplacian = standing(c, scan(FitScore::Laplacian), FitScore::Laplacian);
        const Standing overlap = standing(c, scan(FitScore::Overlap), FitScore::Overlap);
        const std::size_t lists = std::min(orLast(local.rank), orLast(numerator.rank));
        if (turn == 0) {
            row = {local, numerator, laplacian, overlap, lists};
            continue;
        }
        takeWorse(row.local, local);
        takeWorse(row.numerator, numerator);
        takeWorse(row.laplacian, laplacian);
        takeWorse(row.overlap, overlap);
        row.lists = std::max(row.lists, lists);
    }
    row.lists = row.lists == orLast(0) ? 0 : row.lists;
    return row;
}

void print(const std::string& name, const Row& row) {
    const auto cell = [](const Standing& s) {
        char text[32];
        if (s.rank == 0) {
            std::snprintf(text, sizeof text, "none");
        } else {
            std::snprintf(text, sizeof text, "%zu, %.2f", s.rank, s.rightOverWrong);
        }
        return std::string(text);
    };
    std::printf("| %-34s | %9s | %9s | %9s | %9s | %s |\n", name.c_str(), cell(row.local).c_str(),
                cell(row.numerator).c_str(), cell(row.laplacian).c_str(), cell(row.overlap).c_str(),
                row.lists == 0 ? "none" : std::to_string(row.lists).c_str());
    std::fflush(stdout);
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (i + 1 >= argc) {
            throw std::invalid_argument(word + " needs a value or is no option");
        }
        const std::string value = argv[++i];
        if (word == "--pairs") {
            options.pairs = value;
        } else if (word == "--only") {
            options.only = value;
        } else if (word == "--noise") {
            options.noise = std::atof(value.c_str());
        } else if (word == "--turns") {
            options.turns = std::max(1, std::atoi(value.c_str()));
        } else if (word == "--threads") {
            options.threads = static_cast<std::size_t>(std::max(1, std::atoi(value.c_str())));
        } else {
            throw std::invalid_argument(word + " is no option");
        }
    }
    return options;
}

void run(const Options& options) {
    std::vector<PoseCase> cases = options.pairs.empty() ? std::vector<PoseCase>() : readPairs(options.pairs);
    for (PoseCase& c : complexCases({8.0, 12.0, 16.0, 20.0}, options.noise)) {
        cases.push_back(std::move(c));
    }
    std::printf(
        "| case | local | its numerator | laplacian | overlap | lists |\n|---|---|---|---|---|---|\n");
    std::size_t all = 0, first = 0, firstSomewhere = 0, inFive = 0;
    for (const PoseCase& c : cases) {
        if (c.name.find(options.only) == std::string::npos) {
            continue;
        }
        const Row row = rowOf(c, options);
        print(c.name, row);
        ++all;
        first += row.local.rank == 1 ? 1 : 0;
        firstSomewhere += row.isFirstSomewhere() ? 1 : 0;
        inFive += row.isFirstSomewhere() && row.isInFive() ? 1 : 0;
    }
    std::printf("\n%zu cases; local has the right place first in %zu; some score has it first in %zu, of "
                "which the two lists "
                "hold it in their first five in %zu\n",
                all, first, firstSomewhere, inFive);
}

} // namespace

int main(int argc, char** argv) {
    openblas_set_num_threads(1);
    try {
        run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "score_ranks: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
