// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_RESULTFILE_H
#define SELVANE_IO_RESULTFILE_H

#include <cstdio>
#include <string>
#include <vector>

#include "IO/HiddenFile.h"

/// A file that appears under its name only when it is complete, so that neither a full disk nor a killed run
/// costs the file that stood there before: it is written beside its place, as
/// ".selvane-<process>-<n>.partial", and renamed by commit(). Otherwise it behaves as one opened by
/// fopen(path, "w"):
/// - It cannot be opened when that call would fail, with the same errno; nor when the hidden file cannot be
/// made
///   for a reason that the earlier content should not pay for, as on a full disk.
/// - Symbolic links stay; the file they lead to is replaced.
/// - Owner and mode of an existing file stay; a new one has those of any new file.
/// - What is no regular file (a FIFO, a device), what a link of /proc leads to (/dev/stdout) and a file whose
///   directory admits no new one for want of permission are written in place, from the opening on.
/// - A file with several hard links, an access list or an owner that the copy can't be given keeps them:
///   commit() copies the complete content into it, for which the disk must have room first. Only then can
///   another program meet a half of it.
///
/// A process that is killed by SIGKILL leaves the hidden file behind; it may be deleted.
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

    const std::string& path() const { return m_path; }

    /// Whether what stood under its name still does, and a hidden file waits to replace it.
    bool isHidden() const { return !m_hidden.path().empty(); }

    /// Closes the file; it waits on the disk, still hidden, for commit() or commitTogether().
    /// @return whether every byte is there that was written
    bool complete();

    /// Completes the file and puts it in its place.
    /// @return whether it is there with every byte that was written; if not, what stood there before still
    ///         does, but for a file that is written in place
    bool commit();

    /// Puts all of them in place or none, as far as renames allow: what takes its place by a rename is put
    /// back when a later one fails. What is copied into a file that stays (hard links, access lists) or was
    /// written in place cannot be. Another process that does the same in the same directory waits.
    /// @return whether all are in place
    static bool commitTogether(const std::vector<ResultFile*>& files);

private:
    enum class State { Open, Complete, Failed, InPlace };

    bool createBeside();
    void openInPlace();
    bool isLike(int copy) const;
    bool mayBeRenamed() const { return isHidden() && m_renamable; }
    static bool takePlaces(std::vector<ResultFile*> files);
    bool changesPlace();
    void keepEarlier();
    void putBack();
    bool takesPlace();
    bool copyIntoPlace();

    std::string m_path;
    std::string m_name;          ///< m_path behind its links
    HiddenFile m_hidden;         ///< the copy beside; none for what is written in place
    HiddenFile m_earlier;        ///< a further name of what stood there, for putBack()
    bool m_mayBePutBack = false; ///< set once what stood there is known and kept
    bool m_isRenamed = false;
    bool m_isExchanged = false;    ///< m_hidden holds what stood there
    int m_existing = -1;           ///< the file that is to be replaced, open
    bool m_renamable = true;       ///< whether the copy may stand for the existing file
    State m_state = State::Failed; ///< until the file is open
    std::FILE* m_stream = nullptr;
};

#endif
