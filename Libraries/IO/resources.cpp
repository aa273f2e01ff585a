// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/resources.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <system_error>

#include <malloc.h>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace {

constexpr double unknown = std::numeric_limits<double>::infinity();

/// The files of a control group that tell its memory, in the two versions of the interface.
struct GroupFiles {
    const char* limit;
    const char* used;
    const char* droppable; ///< key in memory.stat
};

constexpr GroupFiles unifiedFiles{"/memory.max", "/memory.current", "inactive_file"};
constexpr GroupFiles legacyFiles{"/memory.limit_in_bytes", "/memory.usage_in_bytes", "total_inactive_file"};

/// The number at the start of a file; infinite if there is none, as in "max".
double numberIn(const std::string& path) {
    std::ifstream file(path);
    double value = 0.0;
    if (!(file >> value)) {
        return unknown;
    }
    return value;
}

/// The number behind a key at the start of a line; `fallback` if there is none.
double numberBehind(const std::string& key, const std::string& path, double fallback) {
    std::ifstream file(path);
    std::string name;
    double value = 0.0;
    std::string rest;
    while (file >> name >> value && std::getline(file, rest)) {
        if (name == key) {
            return value;
        }
    }
    return fallback;
}

/// Lowers `memory` to what one control group leaves.
void applyGroup(const std::string& directory, const GroupFiles& files, resources::Memory& memory) {
    const double limit = numberIn(directory + files.limit);
    const double used = numberIn(directory + files.used);
    memory.total = std::min(memory.total, limit);
    if (limit < unknown && used < unknown) {
        const double droppable = numberBehind(files.droppable, directory + "/memory.stat", 0.0);
        const double free = std::clamp(limit - used + droppable, 0.0, limit);
        memory.available = std::min(memory.available, free);
    }
}

/// Applies the group at `path` below `mount` and all groups above it. In a container the path may be that of
/// the host, which isn't there; the mount itself is the group then.
void applyGroupAndParents(const std::string& mount, std::string path, const GroupFiles& files,
                          resources::Memory& memory) {
    while (!path.empty() && path != "/") {
        applyGroup(mount + path, files, memory);
        path.erase(path.find_last_of('/'));
    }
    applyGroup(mount, files, memory);
}

} // namespace

namespace resources {

Memory memory(const std::string& root) {
    const auto kilobytes = [&](const char* key) {
        return 1024.0 * numberBehind(key, root + "/proc/meminfo", unknown);
    };
    Memory memory{kilobytes("MemTotal:"), kilobytes("MemAvailable:")};
    // A line for each hierarchy: number, controllers, path; no controllers in the unified one.
    std::ifstream groups(root + "/proc/self/cgroup");
    std::string line;
    while (std::getline(groups, line)) {
        std::istringstream fields(line);
        std::string number;
        std::string controllers;
        std::string path;
        std::getline(std::getline(std::getline(fields, number, ':'), controllers, ':'), path);
        if (path.empty() || path.front() != '/') {
            continue;
        }
        if (controllers.empty()) {
            applyGroupAndParents(root + "/sys/fs/cgroup", path, unifiedFiles, memory);
        } else if (("," + controllers + ",").find(",memory,") != std::string::npos) {
            applyGroupAndParents(root + "/sys/fs/cgroup/memory", path, legacyFiles, memory);
        }
    }
    memory.available = std::min(memory.available, memory.total);
    return memory;
}

double freeAddressSpace() {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return unknown;
    }
    const double pages = numberIn("/proc/self/statm");
    const double taken = pages < unknown ? pages * static_cast<double>(sysconf(_SC_PAGESIZE)) : 0.0;
    return std::max(static_cast<double>(limit.rlim_cur) - taken, 0.0);
}

double threadStack() {
    pthread_attr_t attributes;
    std::size_t stack = 0;
    std::size_t guard = 0;
    if (pthread_attr_init(&attributes) == 0) {
        pthread_attr_getstacksize(&attributes, &stack);
        pthread_attr_getguardsize(&attributes, &guard);
        pthread_attr_destroy(&attributes);
    }
    return static_cast<double>(stack) + static_cast<double>(guard);
}

void spareAddressSpace(char** argv) {
    if (!(freeAddressSpace() < unknown)) {
        return;
    }
    const char* const threads = std::getenv("OPENBLAS_NUM_THREADS");
    if (threads == nullptr || std::string(threads) != "1") {
        std::error_code error;
        const std::string program = std::filesystem::read_symlink("/proc/self/exe", error).string();
        setenv("OPENBLAS_NUM_THREADS", "1", 1);
        execv(program.c_str(), argv);
        // The program's file may be gone; the run goes on with the threads that there are.
    }
    mallopt(M_ARENA_MAX, 1);
}

double cpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    constexpr double microseconds = 1e-6;
    const auto secondsOf = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + microseconds * static_cast<double>(time.tv_usec);
    };
    return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

std::size_t peakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    constexpr std::size_t bytesPerKibibyte = 1024;
    return static_cast<std::size_t>(usage.ru_maxrss) * bytesPerKibibyte;
}

double freeDisk(const std::string& directory) {
    struct statvfs status {};
    if (statvfs(directory.c_str(), &status) != 0) {
        return unknown;
    }
    return static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize);
}

} // namespace resources
