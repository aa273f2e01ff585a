// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_HIDDENFILE_H
#define SELVANE_IO_HIDDENFILE_H

#include <functional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "IO/unfinishedFiles.h"

/// A file under a hidden name, beside the place that it is to take when it is complete. It goes away with
/// this object unless it took its place, and also when a signal ends the process.
///
/// Operations that fail return false and leave the reason in errno.
class HiddenFile {
public:
    HiddenFile() = default;
    HiddenFile(const HiddenFile&) = delete;
    HiddenFile& operator=(const HiddenFile&) = delete;
    ~HiddenFile();

    /// Creates it under this name, where nothing may be, not even a link; open for writing.
    bool create(const std::string& path, mode_t mode);

    /// Creates it as ".selvane-<process>-<n>.partial" in a directory whose name ends in a slash.
    bool createIn(const std::string& directory, mode_t mode);

    /// Makes it a further name, as of createIn(), of a file that exists. It is not open then.
    bool linkIn(const std::string& directory, const std::string& existing);

    /// Empty if there is no file.
    const std::string& path() const { return m_path; }

    /// @return the descriptor, which the caller closes from now on; -1 if it is closed
    int takeDescriptor();

    bool write(std::string_view bytes);

    /// Brings its bytes to the disk and closes it.
    bool finish();

    /// Gives it the name that it was made for, in place of what stands there. syncDirectoryOf() makes that
    /// last.
    bool renameTo(const std::string& path);

    /// Changes names with a file that stands there: both stay whole and each has one name throughout. Not
    /// every file system can.
    bool exchangeWith(const std::string& path);

    void remove();

private:
    bool makeUnder(const std::string& path, const std::function<bool(const char*)>& make);
    bool makeIn(const std::string& directory, const std::function<bool(const char*)>& make);

    unfinished::Entry m_entry;
    std::string m_path;
    int m_file = -1;
};

/// Everything up to the last slash, the slash included; "./" for a bare name.
std::string directoryOf(const std::string& path);

/// Writes all of it, however often the system takes a part only.
bool writeAll(int file, std::string_view bytes);

/// Brings the bytes of an open file to the disk, where it can do so. Without this a power cut soon after the
/// renaming could leave an empty file in the place of an earlier one, and a network disk could find itself
/// full too late. It costs the time of the writing, seconds at the end of a run of hours.
bool reachesDisk(int file);

/// Without this a power cut may take a renaming back; some file systems do not know how, and need not.
void syncDirectoryOf(const std::string& path);

/// Whether the error is one of a disk without room or entries, or of a user's share of it.
bool isOutOfRoom(int error);

/// Keeps other runs from putting files in place in the same directory. Where the directory cannot be locked,
/// or stays locked by others for a second, it does nothing.
class DirectoryLock {
public:
    explicit DirectoryLock(const std::string& directory);
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;
    ~DirectoryLock();

private:
    int m_file = -1;
};

#endif
