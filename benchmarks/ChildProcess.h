// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_CHILDPROCESS_H
#define SELVANE_BENCHMARKS_CHILDPROCESS_H

#include <functional>
#include <string>
#include <vector>

/// What a process used from its start to its end.
struct ProcessCost {
    double cpuSeconds;  ///< of all threads, in user mode and in the kernel
    double peakBytes;   ///< maximum resident set
    std::string output; ///< what it wrote to its standard output
};

/// Runs a program to its end. A process starts with the peak of the one it came from, so the caller must be
/// small; see inChild() for the work that isn't.
/// @param words      the path of the program and its arguments
/// @param directory  its working directory; takes a file with its output for the time of the run
/// @throws std::runtime_error if it cannot be started or does not end with status 0
ProcessCost runProgram(const std::vector<std::string>& words, const std::string& directory);

/// Numbers that a function gives, called in a process of its own, whose memory goes with it.
/// @throws std::runtime_error if the process fails
std::vector<double> inChild(const std::function<std::vector<double>()>& function);

#endif
