// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_RESULTFILE_H
#define SELVANE_IO_RESULTFILE_H

#include <cstdio>
#include <string>

/// A file that appears under its name only when it is complete, so that neither a full disk nor a killed run
/// costs the file that stood there before: it is written beside its place, as
/// ".selvane-<process>-<n>.partial", and renamed by commit(). Otherwise it behaves as one opened by
/// fopen(path, "w"):
/// - It cannot be opened exactly when that call would fail, with the same errno.
/// - Symbolic links stay; the file they lead to is replaced.
/// - Owner and mode of an existing file stay; a new one has those of any new file.
/// - What is no regular file (a FIFO, a device), what a link of /proc leads to (/dev/stdout) and a file whose
///   directory admits no new one are written in place, from the opening on.
/// - A file with several hard links, an access list or an owner that the copy can't be given keeps them:
///   commit() copies the complete content into it, for which the disk must have room first. Only then can
///   another program meet a half of it.
///
/// A process that is killed leaves the hidden file behind; it may be deleted.
class ResultFile {
public:
    /// Opens the file. On failure stream() is null and errno tells why.
    explicit ResultFile(const std::string& path);
    /// Discards the file unless it was committed; what stood under its name stays.
    ~ResultFile();
    ResultFile(const ResultFile&) = delete;
    ResultFile& operator=(const ResultFile&) = delete;

    /// What to write to; owned, and null when the file could not be opened or is closed again.
    std::FILE* stream() const { return m_stream; }

    /// Closes the file and puts it in its place.
    /// @return whether it is there with every byte that was written; if not, what stood there before still
    ///         does, but for a file that is written in place
    bool commit();

private:
    bool createBeside();
    void openInPlace();
    bool isLike(int copy) const;
    bool takesPlace();
    bool copyIntoPlace();
    void removeCopy();

    std::string m_path;
    std::string m_name;       ///< m_path behind its links
    std::string m_copy;       ///< path of the hidden file; empty when there is none
    int m_existing = -1;      ///< the file that is to be replaced, open
    bool m_renamable = true;  ///< whether the copy may stand for the existing file
    bool m_hasNoRoom = false; ///< the disk is too full for a hidden file
    std::FILE* m_stream = nullptr;
};

#endif
