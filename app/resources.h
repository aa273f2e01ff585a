// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_RESOURCES_H
#define SELVANE_APP_RESOURCES_H

#include <string>

/// What the machine, or the control group that the process runs in, has to offer.
namespace resources {

struct Memory {
    double total;     ///< bytes that the process may ever have
    double available; ///< bytes that are free now
};

/// From /proc/meminfo and the limits of the process's control group and of all groups above it; infinite
/// where none can be read. Pages of files that the system can drop count as free.
/// @param root directory in which /proc and /sys are looked for
Memory memory(const std::string& root = "");

/// Bytes free for an unprivileged user in the file system of a directory; infinite where that is unknown.
double freeDisk(const std::string& directory);

} // namespace resources

#endif
