// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/ResultFile.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <optional>

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

/// Everything up to the last slash, the slash included; "./" for a bare name.
std::string directoryOf(const std::string& path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string::npos ? "./" : path.substr(0, slash + 1);
}

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

bool isOutOfRoom(int error) {
    return error == ENOSPC || error == EDQUOT;
}

/// Brings the bytes to the disk, where it can do so. Without this a power cut soon after the renaming could
/// leave an empty file in the place of an earlier result, and a network disk could find itself full too late.
/// It costs the time of the writing, seconds at the end of a run of hours.
bool reachesDisk(int file) {
    return fsync(file) == 0 || errno == EINVAL || errno == EROFS || errno == ENOTSUP;
}

bool writeAll(int file, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        bytes += written < 0 ? 0 : written;
        count -= written < 0 ? 0 : static_cast<std::size_t>(written);
    }
    return true;
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
        if (count > 0 && !writeAll(to, block, static_cast<std::size_t>(count))) {
            return false;
        }
    }
}

/// Makes sure that a file can take so many bytes before its own are touched.
bool reserve(int file, off_t size) {
    return size == 0 || fallocate(file, FALLOC_FL_KEEP_SIZE, 0, size) == 0 || !isOutOfRoom(errno);
}

} // namespace

ResultFile::ResultFile(const std::string& path) : m_path(path) {
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
}

ResultFile::~ResultFile() {
    if (m_stream != nullptr) {
        std::fclose(m_stream);
    }
    if (m_existing >= 0) {
        close(m_existing);
    }
    removeCopy();
}

/// Opens the hidden file, if its directory admits one.
bool ResultFile::createBeside() {
    const std::optional<std::string> name = behindLinks(m_path);
    if (!name || name->empty() || name->back() == '/') {
        return false;
    }
    static std::atomic<unsigned> count{0};
    const std::string start = directoryOf(*name) + ".selvane-" + std::to_string(getpid()) + "-";
    const mode_t mode = m_existing < 0 ? newFileMode : privateMode;
    std::string path;
    int copy = -1;
    do {
        path = start + std::to_string(count++) + ".partial";
        copy = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    } while (copy < 0 && errno == EEXIST);
    if (copy < 0) {
        m_hasNoRoom = m_existing >= 0 && isOutOfRoom(errno);
        return false;
    }
    m_name = *name;
    m_copy = path;
    m_renamable = m_existing < 0 || isLike(copy);
    m_stream = fdopen(copy, "w");
    if (m_stream == nullptr) {
        close(copy);
    }
    return true;
}

/// Gives the copy the owner and the mode of the existing file.
/// @return whether nobody can tell the two apart then
bool ResultFile::isLike(int copy) const {
    struct stat old {};
    struct stat fresh {};
    if (fstat(m_existing, &old) != 0 || fstat(copy, &fresh) != 0 || old.st_nlink != 1) {
        return false;
    }
    const bool isOwned = old.st_uid == fresh.st_uid && old.st_gid == fresh.st_gid;
    return (isOwned || fchown(copy, old.st_uid, old.st_gid) == 0) &&
           fchmod(copy, old.st_mode & permissionBits) == 0 && !hasAccessList(m_existing) &&
           !hasAccessList(copy);
}

void ResultFile::openInPlace() {
    if (m_hasNoRoom) {
        // The earlier result is worth more than the try to get a new one onto a full disk.
        m_stream = std::fopen("/dev/null", "w");
        return;
    }
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

bool ResultFile::commit() {
    if (m_stream == nullptr) {
        return false;
    }
    bool isComplete = std::fflush(m_stream) == 0 && std::ferror(m_stream) == 0 && !m_hasNoRoom;
    isComplete = isComplete && (m_copy.empty() || reachesDisk(fileno(m_stream)));
    isComplete = std::fclose(m_stream) == 0 && isComplete;
    m_stream = nullptr;
    if (isComplete && !m_copy.empty()) {
        isComplete = takesPlace();
    }
    removeCopy();
    return isComplete;
}

bool ResultFile::takesPlace() {
    if (m_renamable && std::rename(m_copy.c_str(), m_name.c_str()) == 0) {
        m_copy.clear();
        return true;
    }
    // A mount point, for one, cannot be renamed over.
    return copyIntoPlace();
}

bool ResultFile::copyIntoPlace() {
    const Descriptor from(open(m_copy.c_str(), O_RDONLY | O_CLOEXEC));
    if (m_existing < 0) {
        m_existing = open(m_path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, newFileMode);
    }
    struct stat copy {};
    return from >= 0 && m_existing >= 0 && fstat(from, &copy) == 0 && reserve(m_existing, copy.st_size) &&
           copyBytes(from, m_existing) && ftruncate(m_existing, copy.st_size) == 0 && reachesDisk(m_existing);
}

void ResultFile::removeCopy() {
    if (!m_copy.empty()) {
        unlink(m_copy.c_str());
        m_copy.clear();
    }
}
