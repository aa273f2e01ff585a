// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/usableCores.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <thread>

#include <sched.h>

namespace {

constexpr double unlimited = std::numeric_limits<double>::infinity();

/// The quotient of two numbers of files; infinite where there is none, as of "max" and of -1.
double quotient(std::istream& quota, std::istream& period) {
    double granted = 0.0;
    double length = 0.0;
    return quota >> granted && period >> length && granted > 0.0 && length > 0.0 ? granted / length
                                                                                 : unlimited;
}

double coresOfGroup(const std::string& folder) {
    std::ifstream unified(folder + "/cpu.max");
    std::ifstream quota(folder + "/cpu.cfs_quota_us");
    std::ifstream period(folder + "/cpu.cfs_period_us");
    return std::min(quotient(unified, unified), quotient(quota, period));
}

/// The group at `path` below a mount and all groups above it. In a container the path may be that of the
/// host, which isn't there; the mount itself is the group then.
double coresOfGroups(const std::string& mount, std::string path) {
    double cores = coresOfGroup(mount);
    while (!path.empty() && path != "/") {
        cores = std::min(cores, coresOfGroup(mount + path));
        path.erase(path.find_last_of('/'));
    }
    return cores;
}

/// The folder below /sys/fs/cgroup of a line "number:controllers:path" of /proc/self/cgroup.
double coresOfLine(const std::string& root, const std::string& line) {
    std::istringstream fields(line);
    std::string number;
    std::string controllers;
    std::string path;
    std::getline(std::getline(std::getline(fields, number, ':'), controllers, ':'), path);
    const bool hasCores = ("," + controllers + ",").find(",cpu,") != std::string::npos;
    if (path.empty() || path.front() != '/' || !(controllers.empty() || hasCores)) {
        return unlimited;
    }
    return coresOfGroups(root + "/sys/fs/cgroup" + (controllers.empty() ? "" : "/" + controllers), path);
}

std::size_t boundCores() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    // A machine of more cores than the set has room for refuses; then all of them count.
    if (sched_getaffinity(0, sizeof(cores), &cores) == 0 && CPU_COUNT(&cores) > 0) {
        return static_cast<std::size_t>(CPU_COUNT(&cores));
    }
    return std::max(std::thread::hardware_concurrency(), 1U);
}

} // namespace

std::size_t usableCores(const std::string& root) {
    auto cores = static_cast<double>(boundCores());
    std::ifstream groups(root + "/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        cores = std::min(cores, std::ceil(coresOfLine(root, line)));
    }
    return static_cast<std::size_t>(std::max(cores, 1.0));
}
