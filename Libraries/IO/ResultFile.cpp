// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/ResultFile.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <optional>
#include <string_view>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {

constexpr mode_t newFileMode = 0666; ///< less the umask, as fopen has it
constexpr mode_t privateMode = 0600; ///< until the copy is given the mode of what it replaces
constexpr mode_t permissionBits = 07777;

/// A descriptor that is closed at the end of its scope.
class Descriptor {
public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() {
        if (m_number >= 0) {
            close(m_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    operator int() const { return m_number; }

private:
    int m_number;
};

/// The links of /proc are handles of open files; the name they show is not the way to these.
bool isOfProc(const std::string& path) {
    struct statfs system {};
    return statfs(directoryOf(path).c_str(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

/// The path at the end of a chain of links, where a file may be missing. Nothing if the chain has no such
/// end.
std::optional<std::string> behindLinks(std::string path) {
    constexpr int longestChain = 40; // of the kernel
    for (int link = 0; link <= longestChain; ++link) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0) {
            return path;
        }
        if (isOfProc(path)) {
            return std::nullopt;
        }
        const std::string next(target, static_cast<std::size_t>(length));
        path = next.front() == '/' ? next : directoryOf(path) + next;
    }
    return std::nullopt;
}

bool hasAccessList(int file) {
    return fgetxattr(file, "system.posix_acl_access", nullptr, 0) > 0;
}

bool copyBytes(int from, int to) {
    constexpr std::size_t blockSize = 1 << 16;
    char block[blockSize];
    for (;;) {
        const ssize_t count = read(from, block, blockSize);
        if (count == 0) {
            return true;
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count > 0 && !writeAll(to, std::string_view(block, static_cast<std::size_t>(count)))) {
            return false;
        }
    }
}

/// Makes sure that a file can take so many bytes before its own are touched.
bool reserve(int file, off_t size) {
    return size == 0 || fallocate(file, FALLOC_FL_KEEP_SIZE, 0, size) == 0 || !isOutOfRoom(errno);
}

/// Whether a directory that a hidden file could not be made in still lets its own files be written.
bool isForWantOfPermission(int error) {
    return error == EACCES || error == EPERM || error == EROFS || error == ENAMETOOLONG;
}

/// Whether the place of a file may be written although no rename reaches it: a mount point, a directory of
/// others.
bool isWritableWithoutRename(int error) {
    return error == EBUSY || error == EXDEV || error == EACCES || error == EPERM;
}

} // namespace

ResultFile::ResultFile(const std::string& path) : m_path(path), m_name(path) {
    struct stat existing {};
    const bool isThere = stat(path.c_str(), &existing) == 0;
    const bool isReplaceable = isThere ? S_ISREG(existing.st_mode) : errno == ENOENT;
    if (isThere) {
        // O_CREAT makes nothing here, but some systems refuse it for files of others in shared directories.
        m_existing = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, newFileMode);
        if (m_existing < 0) {
            return;
        }
    }
    if (!isReplaceable || !createBeside()) {
        openInPlace();
    }
    m_state = m_stream == nullptr ? State::Failed : State::Open;
}

ResultFile::~ResultFile() {
    if (m_stream != nullptr) {
        std::fclose(m_stream);
    }
    if (m_existing >= 0) {
        close(m_existing);
    }
}

/// Opens the hidden file.
/// @return false if the file is to be written in place
bool ResultFile::createBeside() {
    const std::optional<std::string> name = behindLinks(m_path);
    if (!name || name->empty() || name->back() == '/') {
        return false;
    }
    const mode_t mode = m_existing < 0 ? newFileMode : privateMode;
    if (!m_hidden.createIn(directoryOf(*name), mode)) {
        return !isForWantOfPermission(errno);
    }
    m_name = *name;
    const int copy = m_hidden.takeDescriptor();
    m_renamable = m_existing < 0 || isLike(copy);
    m_stream = fdopen(copy, "w");
    if (m_stream == nullptr) {
        const int reason = errno;
        close(copy);
        m_hidden.remove();
        errno = reason;
    }
    return true;
}

/// Gives the copy the owner and the mode of the existing file.
/// @return whether nobody can tell the two apart then
bool ResultFile::isLike(int copy) const {
    struct stat old {};
    struct stat fresh {};
    if (fstat(m_existing, &old) != 0 || fstat(copy, &fresh) != 0 || old.st_nlink > 1) {
        return false;
    }
    const bool isOwned = old.st_uid == fresh.st_uid && old.st_gid == fresh.st_gid;
    return (isOwned || fchown(copy, old.st_uid, old.st_gid) == 0) &&
           fchmod(copy, old.st_mode & permissionBits) == 0 && !hasAccessList(m_existing) &&
           !hasAccessList(copy);
}

void ResultFile::openInPlace() {
    if (m_existing < 0) {
        m_stream = std::fopen(m_path.c_str(), "we");
        return;
    }
    [[maybe_unused]] const int status = ftruncate(m_existing, 0); // EINVAL for all but regular files
    m_stream = fdopen(m_existing, "w");
    if (m_stream != nullptr) {
        m_existing = -1;
    }
}

bool ResultFile::complete() {
    if (m_state != State::Open) {
        return m_state == State::Complete;
    }
    bool isWritten = std::fflush(m_stream) == 0 && std::ferror(m_stream) == 0;
    isWritten = isWritten && (!isHidden() || reachesDisk(fileno(m_stream)));
    isWritten = std::fclose(m_stream) == 0 && isWritten;
    m_stream = nullptr;
    m_state = isWritten ? State::Complete : State::Failed;
    if (!isWritten) {
        m_hidden.remove();
    }
    return isWritten;
}

bool ResultFile::commit() {
    return commitTogether({this});
}

bool ResultFile::commitTogether(const std::vector<ResultFile*>& files) {
    bool isDone = true;
    for (ResultFile* file : files) {
        isDone = file->complete() && isDone;
    }
    isDone = isDone && takePlaces(files);
    for (ResultFile* file : files) {
        if (isDone && file->m_isRenamed) {
            syncDirectoryOf(file->m_name);
        }
        file->m_state = isDone ? State::InPlace : State::Failed;
        file->m_hidden.remove();
        file->m_earlier.remove();
    }
    return isDone;
}

bool ResultFile::takePlaces(std::vector<ResultFile*> files) {
    std::optional<DirectoryLock> others;
    if (files.size() > 1) {
        others.emplace(directoryOf(files.front()->m_name));
    }
    const unfinished::EndingHold signals;
    // What cannot be put back comes last, when the rest is in place.
    const auto last = std::stable_partition(files.begin(), files.end(),
                                            [](const ResultFile* file) { return file->mayBeRenamed(); });
    for (auto file = files.begin(); file != files.end(); ++file) {
        const bool mayHaveToGoBack = file < last && file + 1 != files.end();
        if (mayHaveToGoBack && (*file)->changesPlace()) {
            continue;
        }
        if (mayHaveToGoBack) {
            (*file)->keepEarlier();
        }
        if (!(*file)->takesPlace()) {
            std::for_each(files.begin(), file, [](ResultFile* placed) { placed->putBack(); });
            return false;
        }
    }
    return true;
}

/// The earlier file waits under the hidden name.
bool ResultFile::changesPlace() {
    struct stat earlier {};
    m_isRenamed = lstat(m_name.c_str(), &earlier) == 0 && S_ISREG(earlier.st_mode) && // not a directory
                  m_hidden.exchangeWith(m_name);
    m_isExchanged = m_isRenamed;
    return m_isExchanged;
}

/// Where names cannot be exchanged, the earlier file gets a second one; a process that opens it just then
/// takes it for one with several hard links.
void ResultFile::keepEarlier() {
    // Where nothing stood, putting back is removing.
    m_mayBePutBack = m_earlier.linkIn(directoryOf(m_name), m_name) || errno == ENOENT;
}

void ResultFile::putBack() {
    if (m_isExchanged) {
        m_hidden.exchangeWith(m_name);
        return;
    }
    if (!m_mayBePutBack) {
        return;
    }
    if (m_earlier.path().empty()) {
        unlink(m_name.c_str());
    } else {
        m_earlier.renameTo(m_name);
    }
}

bool ResultFile::takesPlace() {
    if (!isHidden()) {
        return true; // written in place
    }
    if (m_renamable) {
        m_isRenamed = m_hidden.renameTo(m_name);
        if (m_isRenamed) {
            return true;
        }
        if (!isWritableWithoutRename(errno)) {
            return false;
        }
        m_mayBePutBack = false;
    }
    return copyIntoPlace();
}

bool ResultFile::copyIntoPlace() {
    const Descriptor from(open(m_hidden.path().c_str(), O_RDONLY | O_CLOEXEC));
    if (m_existing < 0) {
        m_existing = open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, newFileMode);
    }
    struct stat copy {};
    return from >= 0 && m_existing >= 0 && fstat(from, &copy) == 0 && reserve(m_existing, copy.st_size) &&
           copyBytes(from, m_existing) && ftruncate(m_existing, copy.st_size) == 0 && reachesDisk(m_existing);
}
