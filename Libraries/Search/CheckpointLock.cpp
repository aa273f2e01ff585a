// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/CheckpointLock.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t newFileMode = 0666; // less the umask

/// For writing, which network disks ask of an exclusive lock; else as files of others can be opened.
int openLockFile(const std::string& path) {
    constexpr int neverElsewhere = O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    const int file = open(path.c_str(), O_RDWR | O_CREAT | neverElsewhere, newFileMode);
    return file >= 0 || errno != EACCES ? file : open(path.c_str(), O_RDONLY | neverElsewhere);
}

/// A file of this name with content, or with another name, is no lock of this program.
bool isLockFile(const struct stat& file) {
    return S_ISREG(file.st_mode) && file.st_size == 0 && file.st_nlink <= 1;
}

} // namespace

CheckpointLock::CheckpointLock(const std::string& checkpoint) : m_path(checkpoint + ".lock") {
    constexpr int mostTries = 10;
    for (int i = 0; i < mostTries; ++i) {
        if (tryFile()) {
            return;
        }
    }
}

/// @return false if the file was removed by its owner in between, and is to be tried again
bool CheckpointLock::tryFile() {
    m_file = openLockFile(m_path);
    struct stat opened {};
    if (m_file < 0 || fstat(m_file, &opened) != 0 || !isLockFile(opened)) {
        return true;
    }
    if (flock(m_file, LOCK_EX | LOCK_NB) != 0) {
        m_isOfAnotherRun = errno == EWOULDBLOCK;
        return true;
    }
    struct stat named {};
    if (lstat(m_path.c_str(), &named) != 0 || named.st_ino != opened.st_ino ||
        named.st_dev != opened.st_dev) {
        close(m_file);
        m_file = -1;
        return false;
    }
    m_isHeld = true;
    m_entry = unfinished::Entry(m_path);
    return true;
}

CheckpointLock::~CheckpointLock() {
    if (m_isHeld) {
        unlink(m_path.c_str());
        m_entry = {};
    }
    if (m_file >= 0) {
        close(m_file);
    }
}
