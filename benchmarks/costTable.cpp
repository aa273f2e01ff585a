// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/costTable.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <ctime>

#include "benchmarks/BenchmarkModel.h"
#include "benchmarks/ChildProcess.h"
#include "benchmarks/TransformPair.h"

namespace {

double threadSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

} // namespace

double Rounds::median() const {
    std::vector<double> sorted = values;
    std::sort(sorted.begin(), sorted.end());
    return sorted[sorted.size() / 2];
}

double Rounds::least() const {
    return *std::min_element(values.begin(), values.end());
}

double Rounds::most() const {
    return *std::max_element(values.begin(), values.end());
}

void printRow(const std::string& what, double value, const std::string& spread, const std::string& target) {
    std::printf("%-68s %7.2f  %-13s %s\n", what.c_str(), value, spread.c_str(), target.c_str());
    std::fflush(stdout);
}

void printRow(const std::string& what, const Rounds& rounds, const std::string& target) {
    std::array<char, 32> spread{};
    std::snprintf(spread.data(), spread.size(), "(%.2f-%.2f)", rounds.least(), rounds.most());
    printRow(what, rounds.median(), spread.data(), target);
}

PairTime measurePair(int edge) {
    constexpr double enough = 1.0;
    constexpr std::size_t atLeast = 3;
    const std::vector<double> medians = inChild([edge] {
        const auto n = static_cast<std::size_t>(edge);
        TransformPair pair(edge, noiseField(n * n * n));
        Rounds cpu, wall;
        for (double total = 0.0; total < enough || wall.values.size() < atLeast;) {
            const auto start = std::chrono::steady_clock::now();
            const double cpuStart = threadSeconds();
            pair.execute();
            cpu.values.push_back(threadSeconds() - cpuStart);
            wall.values.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
            total += wall.values.back();
        }
        return std::vector<double>{cpu.median(), wall.median()};
    });
    return {medians.at(0), medians.at(1)};
}
