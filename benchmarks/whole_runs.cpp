// SPDX-License-Identifier: GPL-3.0-or-later
// What do whole runs cost? Time in units of a pair of transforms that is measured between the runs, memory in
// arrays of the padded grid; each beside the number that it is meant to stay below or above.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "benchmarks/ChildProcess.h"
#include "benchmarks/ScanCase.h"
#include "benchmarks/costTable.h"

namespace {

namespace fs = std::filesystem;

constexpr const char* usageText =
    "usage: whole_runs SELVANE DIR [--large | --trial]\n"
    "\n"
    "Prints what runs of the program SELVANE cost. Their files go to DIR and are removed.\n"
    "\n"
    "  --large  only the run on a grid of 512^3, which needs 16 GB of memory\n"
    "  --trial  the same on a small grid within seconds, to see that it works\n";

/// What the report of a run says.
struct Report {
    double rotations = 0.0;
    double scanSeconds = 0.0;
    double secondsBeforeScan = 0.0;
};

/// The stages that have no row of their own in the table of times stand before the scan, so that the time
/// before it is the total less the rows from the scan on.
Report readReport(const std::string& output) {
    const std::regex scanning(" Scaning ([0-9]+) rotations .* : ([-+.e0-9]+) s");
    const std::regex total("Total time.* : ([-+.e0-9]+) s");
    const std::regex other(".* : ([-+.e0-9]+) s");
    Report report;
    double later = 0.0;
    std::smatch found;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, found, scanning)) {
            report.rotations = std::stod(found[1]);
            report.scanSeconds = std::stod(found[2]);
            later = report.scanSeconds;
        } else if (std::regex_match(line, found, total)) {
            report.secondsBeforeScan = std::stod(found[1]) - later;
        } else if (later > 0.0 && std::regex_match(line, found, other)) {
            later += std::stod(found[1]);
        }
    }
    if (report.scanSeconds == 0.0 || report.secondsBeforeScan <= 0.0) {
        throw std::runtime_error("the report of a run has no table of times");
    }
    return report;
}

struct Run {
    ProcessCost cost;
    Report report;
};

/// A case, written once, and runs of it in a directory that goes with the object.
class Runs {
public:
    Runs(std::string program, const std::string& directory, const ScanCase& scanCase, bool padded = true)
        : m_program(std::move(program)), m_directory(directory), m_padded(padded) {
        fs::create_directories(directory);
        inChild([&] {
            scanCase.write(directory);
            return std::vector<double>();
        });
    }
    ~Runs() {
        std::error_code ignored;
        fs::remove_all(m_directory, ignored);
    }
    Runs(const Runs&) = delete;
    Runs& operator=(const Runs&) = delete;

    /// @param step  of the rotations, in degrees
    Run run(int step, int solutions, int workers) const {
        std::vector<std::string> words = {m_program,
                                          "--ipdb",
                                          "model.pdb",
                                          "--iedm",
                                          "map.ccp4",
                                          "--odir",
                                          "fit",
                                          "--dangle",
                                          std::to_string(step),
                                          "--nsolutions",
                                          std::to_string(solutions),
                                          "--nthread",
                                          std::to_string(workers)};
        if (!m_padded) {
            words.push_back("--nopadding");
        }
        const ProcessCost cost = runProgram(words, m_directory);
        fs::remove_all(m_directory + "/fit");
        return {cost, readReport(cost.output)};
    }

private:
    std::string m_program;
    std::string m_directory;
    bool m_padded;
};

/// Steps of the rotations in degrees for a run that is mostly the scan and one that is mostly the rest.
struct Steps {
    int fine;
    int coarse;
};

struct ScanRounds {
    Rounds rotation;   ///< CPU time in pairs, one worker
    Rounds beforeScan; ///< wall time in pairs, one worker
    Rounds oneWorker;  ///< seconds of the scan
    Rounds twoWorkers; ///< the same
};

/// What one rotation costs is the difference of two runs with different numbers of them. The pair is measured
/// before each run, so that all see the same machine.
ScanRounds measureScan(const Runs& runs, int grid, const Steps& steps, int solutions, int rounds,
                       bool isTwice) {
    ScanRounds measured;
    for (int round = 0; round < rounds; ++round) {
        const PairTime before = measurePair(grid);
        const Run coarse = runs.run(steps.coarse, solutions, 1);
        const PairTime between = measurePair(grid);
        const Run fine = runs.run(steps.fine, solutions, 1);
        const double rotation = (fine.cost.cpuSeconds - coarse.cost.cpuSeconds) /
                                (fine.report.rotations - coarse.report.rotations);
        measured.rotation.values.push_back(rotation / (0.5 * (before.cpu + between.cpu)));
        measured.beforeScan.values.push_back(coarse.report.secondsBeforeScan / before.wall);
        measured.beforeScan.values.push_back(fine.report.secondsBeforeScan / between.wall);
        if (isTwice) {
            measured.oneWorker.values.push_back(fine.report.scanSeconds);
            measured.twoWorkers.values.push_back(runs.run(steps.fine, solutions, 2).report.scanSeconds);
        }
    }
    return measured;
}

/// From the fastest of the rounds: what else runs on the machine takes from one worker or from two.
void printThroughput(const std::string& grid, const ScanRounds& measured) {
    printRow("throughput of two workers against one, " + grid,
             measured.oneWorker.least() / measured.twoWorkers.least(), "", ">= 1.7");
}

/// Few rotations and solutions do, for all buffers are made before the scan.
void printMemory(const Runs& runs, int grid, int mostWorkers) {
    constexpr int step = 120;
    constexpr int solutions = 100;
    const double array = 8.0 * grid * grid * grid;
    std::vector<double> peaks;
    for (int workers = 1; workers <= mostWorkers; ++workers) {
        peaks.push_back(runs.run(step, solutions, workers).cost.peakBytes);
    }
    Rounds further;
    for (std::size_t w = 1; w < peaks.size(); ++w) {
        further.values.push_back((peaks[w] - peaks[w - 1]) / array);
    }
    const std::string cube = std::to_string(grid) + "^3";
    printRow("memory of each further worker, " + cube + ", in 8 N bytes", further, "<= 4");
    printRow("peak memory of two workers, " + cube + ", in GB", peaks.at(1) * 1e-9, "", "< 3");
}

void printLarge(const std::string& program, const std::string& directory) {
    const Runs runs(program, directory, {400, 20000});
    constexpr int step = 120;
    constexpr int solutions = 100;
    printRow("peak memory of two workers, 512^3, 20,000 atoms, in GB",
             1e-9 * runs.run(step, solutions, 2).cost.peakBytes, "", "< 14");
}

void printTrial(const std::string& program, const std::string& directory) {
    const Runs runs(program, directory, {25, 500});
    const ScanRounds measured = measureScan(runs, 32, {60, 120}, 50, 1, true);
    printRow("one rotation, 25^3 in 32^3, 500 atoms, in pairs", measured.rotation, "");
    printThroughput("32^3", measured);
    printMemory(runs, 32, 2);
}

void printAll(const std::string& program, const std::string& directory) {
    constexpr int solutions = 1000;
    constexpr int rounds = 3;
    constexpr Steps small{30, 90};
    constexpr Steps medium{60, 120};
    {
        const Runs runs(program, directory, {100, 3000});
        const ScanRounds measured = measureScan(runs, 128, small, solutions, rounds, true);
        printRow("one rotation, 100^3 in 128^3, 3,000 atoms, in pairs", measured.rotation, "<= 1.0");
        printThroughput("128^3", measured);
    }
    {
        const Runs runs(program, directory, {100, 3000}, false);
        const ScanRounds measured = measureScan(runs, 100, small, solutions, rounds, false);
        printRow("one rotation, 100^3 --nopadding, in pairs", measured.rotation, "<= 1.3");
    }
    const Runs runs(program, directory, {200, 20000});
    printMemory(runs, 256, 3);
    const ScanRounds measured = measureScan(runs, 256, medium, solutions, rounds, true);
    printRow("one rotation, 200^3 in 256^3, 20,000 atoms, in pairs", measured.rotation, "<= 0.65");
    printRow("all stages before the scan, the same, in pairs", measured.beforeScan, "< 20");
    printThroughput("256^3", measured);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string option = arguments.size() == 3 ? arguments[2] : "";
    if (arguments.size() < 2 || arguments.size() > 3 ||
        (arguments.size() == 3 && option != "--large" && option != "--trial")) {
        std::fputs(usageText, stderr);
        return EXIT_FAILURE;
    }
    try {
        const auto print = option == "--large" ? printLarge : option == "--trial" ? printTrial : printAll;
        print(fs::absolute(arguments[0]), fs::absolute(arguments[1]));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "whole_runs: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
