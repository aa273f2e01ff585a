// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_RESOURCES_H
#define SELVANE_IO_RESOURCES_H

#include <cstddef>
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

/// Bytes of address space that the process may still take up; infinite without a limit (ulimit -v).
double freeAddressSpace();

/// Bytes of address space that the stack of a new thread takes up.
double threadStack();

/// Address space, in bytes, that the matrix library takes for a thread that is inside it. It keeps it for the
/// next one, and under a limit that refuses it, it asks again without an end.
constexpr double blasBuffer = 134217728.0;

/// Keeps what needs no memory from taking address space, if that is limited: the matrix library's threads,
/// of which there is one per core with a buffer and a stack each as soon as the library is loaded, so that
/// the program is loaded anew; and the heaps of the workers, 64 MiB each.
/// @param argv  of main(), whose first act this is
void spareAddressSpace(char** argv);

/// Seconds that all threads of the process have computed so far.
double cpuSeconds();

/// Bytes of memory that the process held at its largest.
std::size_t peakBytes();

/// Bytes free for an unprivileged user in the file system of a directory; infinite where that is unknown.
double freeDisk(const std::string& directory);

} // namespace resources

#endif
