// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/HiddenFile.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

HiddenFile::~HiddenFile() {
    remove();
}

/// Lists the name before the file is made; a file of others that has it already is never listed.
bool HiddenFile::makeUnder(const std::string& path, const std::function<bool(const char*)>& make) {
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0) {
        errno = EEXIST;
        return false;
    }
    unfinished::Entry entry(path);
    if (!make(path.c_str())) {
        return false;
    }
    m_entry = std::move(entry);
    m_path = path;
    return true;
}

bool HiddenFile::makeIn(const std::string& directory, const std::function<bool(const char*)>& make) {
    static std::atomic<unsigned> count{0};
    const std::string start = directory + ".selvane-" + std::to_string(getpid()) + "-";
    bool isMade = false;
    do {
        isMade = makeUnder(start + std::to_string(count++) + ".partial", make);
    } while (!isMade && errno == EEXIST);
    return isMade;
}

bool HiddenFile::create(const std::string& path, mode_t mode) {
    return makeUnder(path, [&](const char* name) {
        m_file = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        return m_file >= 0;
    });
}

bool HiddenFile::createIn(const std::string& directory, mode_t mode) {
    return makeIn(directory, [&](const char* name) {
        m_file = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        return m_file >= 0;
    });
}

bool HiddenFile::linkIn(const std::string& directory, const std::string& existing) {
    return makeIn(directory, [&](const char* name) { return link(existing.c_str(), name) == 0; });
}

int HiddenFile::takeDescriptor() {
    return std::exchange(m_file, -1);
}

bool HiddenFile::write(std::string_view bytes) {
    return writeAll(m_file, bytes);
}

bool HiddenFile::finish() {
    const bool isOnDisk = reachesDisk(m_file);
    const int reason = errno;
    const bool isClosed = close(takeDescriptor()) == 0;
    if (!isOnDisk) {
        errno = reason;
    }
    return isOnDisk && isClosed;
}

bool HiddenFile::renameTo(const std::string& path) {
    if (std::rename(m_path.c_str(), path.c_str()) != 0) {
        return false;
    }
    m_path.clear();
    m_entry = {};
    return true;
}

bool HiddenFile::exchangeWith(const std::string& path) {
    return renameat2(AT_FDCWD, m_path.c_str(), AT_FDCWD, path.c_str(), RENAME_EXCHANGE) == 0;
}

void HiddenFile::remove() {
    if (m_file >= 0) {
        close(takeDescriptor());
    }
    if (!m_path.empty()) {
        unlink(m_path.c_str());
        m_path.clear();
        m_entry = {};
    }
}

std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(file, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return true;
}

bool reachesDisk(int file) {
    return fsync(file) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

void syncDirectoryOf(const std::string& path) {
    const int file = open(directoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (file >= 0) {
        fsync(file);
        close(file);
    }
}

bool isOutOfRoom(int error) {
    return error == ENOSPC || error == EDQUOT;
}

DirectoryLock::DirectoryLock(const std::string& directory)
    : m_file(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    constexpr int mostTries = 100;
    constexpr std::chrono::milliseconds pauseBetween{10};
    for (int i = 0; i < mostTries && m_file >= 0; ++i) {
        if (flock(m_file, LOCK_EX | LOCK_NB) == 0 || (errno != EWOULDBLOCK && errno != EINTR)) {
            return;
        }
        std::this_thread::sleep_for(pauseBetween);
    }
}

DirectoryLock::~DirectoryLock() {
    if (m_file >= 0) {
        close(m_file);
    }
}
