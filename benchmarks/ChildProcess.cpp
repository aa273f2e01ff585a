// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/ChildProcess.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Runs a function that need not return in a new process and waits for its end.
rusage waitFor(const std::function<void()>& body, const std::string& name) {
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child < 0) {
        throw std::runtime_error("no process for " + name);
    }
    if (child == 0) {
        try {
            body();
            _exit(EXIT_SUCCESS);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
            _exit(EXIT_FAILURE);
        }
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) ||
        WEXITSTATUS(status) != EXIT_SUCCESS) {
        throw std::runtime_error(name + " failed");
    }
    return usage;
}

double secondsOf(const timeval& time) {
    return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

void become(const std::vector<std::string>& words, const std::string& directory, const std::string& output) {
    std::vector<char*> arguments;
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    if (chdir(directory.c_str()) == 0 && std::freopen(output.c_str(), "w", stdout) != nullptr) {
        execv(arguments[0], arguments.data());
    }
    throw std::runtime_error("cannot start " + words[0]);
}

} // namespace

ProcessCost runProgram(const std::vector<std::string>& words, const std::string& directory) {
    const std::string path = directory + "/output.txt";
    std::string commandLine;
    for (const std::string& word : words) {
        commandLine += word + ' ';
    }
    const rusage usage = waitFor([&] { become(words, directory, path); }, commandLine);
    std::ostringstream output;
    output << std::ifstream(path).rdbuf();
    std::remove(path.c_str());
    constexpr double kibibyte = 1024.0;
    return {secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime),
            kibibyte * static_cast<double>(usage.ru_maxrss), output.str()};
}

std::vector<double> inChild(const std::function<std::vector<double>()>& function) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> numbers(std::tmpfile(), std::fclose);
    if (!numbers) {
        throw std::runtime_error("no temporary file could be made");
    }
    waitFor(
        [&] {
            const std::vector<double> values = function();
            std::fwrite(values.data(), sizeof(double), values.size(), numbers.get());
            std::fflush(numbers.get());
        },
        "a child process");
    std::rewind(numbers.get());
    std::vector<double> values;
    for (double value = 0.0; std::fread(&value, sizeof(double), 1, numbers.get()) == 1;) {
        values.push_back(value);
    }
    return values;
}
