// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_UNFINISHEDFILES_H
#define SELVANE_IO_UNFINISHEDFILES_H

#include <string>

/// The hidden files that this process has open, for endings that run no destructors: a signal, an abort, an
/// exit from the midst of a stage. The list holds a fixed number of names and is read without a lock, so that
/// a signal handler can remove what stands in it; a file that finds no place in it is simply not removed.
namespace unfinished {

/// A name in the list as long as this object lives. To be made before the file is, so that no moment leaves
/// the file behind.
class Entry {
public:
    Entry() = default;
    explicit Entry(const std::string& path);
    Entry(Entry&& other) noexcept;
    Entry& operator=(Entry&& other) noexcept;
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;
    ~Entry();

private:
    int m_slot = -1;
};

/// Removes the files of the list. Async-signal-safe.
void removeAll();

/// While one lives, a signal handler that asks mayEnd() puts the ending off until it goes: several files take
/// their places all or not at all. To be held for a few calls only. A process that is ending already waits in
/// the constructor for its end.
class EndingHold {
public:
    EndingHold();
    EndingHold(const EndingHold&) = delete;
    EndingHold& operator=(const EndingHold&) = delete;
    /// Raises the signal that was put off.
    ~EndingHold();
};

/// Whether the process may end by this signal now. If not, it is raised again when the hold goes; a third
/// signal is let through. Async-signal-safe.
bool mayEnd(int signal);

} // namespace unfinished

#endif
