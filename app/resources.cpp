// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/resources.h"

#include <algorithm>
#include <fstream>
#include <limits>

#include <sys/statvfs.h>

namespace {

constexpr double unknown = std::numeric_limits<double>::infinity();

/// The number at the start of a file; infinite if there is none, as in "max".
double numberIn(const char* path) {
    std::ifstream file(path);
    double value = 0.0;
    return file >> value ? value : unknown;
}

double memInfo(const std::string& key) {
    std::ifstream file("/proc/meminfo");
    std::string name;
    double kilobytes = 0.0;
    std::string unit;
    while (file >> name >> kilobytes && std::getline(file, unit)) {
        if (name == key + ":") {
            return kilobytes * 1024.0;
        }
    }
    return unknown;
}

} // namespace

namespace resources {

Memory memory() {
    Memory memory{memInfo("MemTotal"), memInfo("MemAvailable")};
    const double limit = std::min(numberIn("/sys/fs/cgroup/memory.max"),
                                  numberIn("/sys/fs/cgroup/memory/memory.limit_in_bytes"));
    const double used = std::min(numberIn("/sys/fs/cgroup/memory.current"),
                                 numberIn("/sys/fs/cgroup/memory/memory.usage_in_bytes"));
    memory.total = std::min(memory.total, limit);
    if (limit < unknown && used < unknown) {
        memory.available = std::min(memory.available, std::max(0.0, limit - used));
    }
    return memory;
}

double freeDisk(const std::string& directory) {
    struct statvfs status {};
    if (statvfs(directory.c_str(), &status) != 0) {
        return unknown;
    }
    return static_cast<double>(status.f_bavail) * static_cast<double>(status.f_frsize);
}

} // namespace resources
