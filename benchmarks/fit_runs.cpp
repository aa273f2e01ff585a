// SPDX-License-Identifier: GPL-3.0-or-later
// What do whole runs of selvane-fit cost? Those that prepare a large map and stop, reading and writing
// included: time in pairs of transforms of the map's own grid, memory in sizes of the file. Of a whole
// command, the share of its parts.
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "benchmarks/ChildProcess.h"
#include "benchmarks/ScanCase.h"
#include "benchmarks/costTable.h"

#include <nlohmann/json.hpp>

namespace {

namespace fs = std::filesystem;

constexpr const char* usageText =
    "usage: fit_runs SELVANE_FIT DIR [--trial]\n"
    "\n"
    "Prints what runs of the program SELVANE_FIT cost. Their files go to DIR and are "
    "removed.\n"
    "\n"
    "  --trial  the same on a small map within seconds, to see that it works\n";

void printPreparation(const std::string& program, const std::string& directory, const ScanCase& scene,
                      int rounds) {
    fs::create_directories(directory);
    inChild([&] {
        scene.write(directory);
        return std::vector<double>();
    });
    const auto fileBytes = static_cast<double>(fs::file_size(directory + "/map.ccp4"));
    Rounds time, memory;
    for (int round = 0; round < rounds; ++round) {
        const PairTime pair = measurePair(scene.edge);
        const ProcessCost cost = runProgram(
            {program, "map.ccp4", "model.pdb", "-r", "4", "-o", "fit", "--prepare-only", "--quiet"},
            directory);
        fs::remove_all(directory + "/fit");
        time.values.push_back(cost.cpuSeconds / pair.cpu);
        memory.values.push_back(cost.peakBytes / fileBytes);
    }
    const std::string cube = std::to_string(scene.edge) + "^3";
    printRow("preparing a map of " + cube + ", in pairs of its grid", time, "< 10");
    printRow("peak memory of the same, in sizes of the file", memory, "< 3");
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

/// Seconds of the stages of a run whose names begin so; of all for an empty name.
double secondsOf(const nlohmann::json& summary, const std::string& start) {
    double sum = 0.0;
    for (const auto& stage : summary["seconds"].items()) {
        sum += stage.key().compare(0, start.size(), start) == 0 ? stage.value().get<double>() : 0.0;
    }
    return sum;
}

/// Where the time of a whole command goes, on one thread.
void printWhole(const std::string& program, const std::string& directory, const ScanCase& scene, int rounds) {
    fs::create_directories(directory);
    inChild([&] {
        scene.write(directory);
        return std::vector<double>();
    });
    Rounds scan, polish;
    for (int round = 0; round < rounds; ++round) {
        runProgram({program, "map.ccp4", "model.pdb", "-r", "8", "-o", "fit", "--threads", "1", "--quiet"},
                   directory);
        std::ifstream file(directory + "/fit/summary.json");
        const nlohmann::json summary = nlohmann::json::parse(file);
        fs::remove_all(directory + "/fit");
        scan.values.push_back(secondsOf(summary, "scan") / secondsOf(summary, ""));
        polish.values.push_back(secondsOf(summary, "climbing") / secondsOf(summary, ""));
    }
    const std::string cube = std::to_string(scene.edge) + "^3";
    printRow("the scan, as a share of a whole command on " + cube, scan, "");
    printRow("the polish of all places, as a share of the same", polish, "< 0.25");
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const bool isTrial = arguments.size() == 3 && arguments[2] == "--trial";
    if (arguments.size() != 2 && !isTrial) {
        std::fputs(usageText, stderr);
        return EXIT_FAILURE;
    }
    try {
        const std::string program = fs::absolute(arguments[0]), directory = fs::absolute(arguments[1]);
        printPreparation(program, directory, isTrial ? ScanCase{60, 1000} : ScanCase{400, 60000},
                         isTrial ? 1 : 3);
        printWhole(program, directory, isTrial ? ScanCase{40, 300} : ScanCase{96, 3000}, isTrial ? 1 : 3);
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "fit_runs: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
