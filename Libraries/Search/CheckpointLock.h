// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_CHECKPOINTLOCK_H
#define SELVANE_SEARCH_CHECKPOINTLOCK_H

#include <string>

#include "IO/unfinishedFiles.h"

/// Keeps a second run off the checkpoint of a directory: an empty file beside it, checkpoint + ".lock",
/// locked as long as this object lives and removed with it, or by the signal that ends the run. What a killed
/// run leaves of it is locked by nobody, and the next run takes it over.
class CheckpointLock {
public:
    explicit CheckpointLock(const std::string& checkpoint);
    CheckpointLock(const CheckpointLock&) = delete;
    CheckpointLock& operator=(const CheckpointLock&) = delete;
    ~CheckpointLock();

    /// Whether another run has it. Where nothing can be locked, as in a directory that admits no file, nobody
    /// has.
    bool isOfAnotherRun() const { return m_isOfAnotherRun; }

private:
    bool tryFile();

    std::string m_path;
    unfinished::Entry m_entry;
    bool m_isHeld = false;
    int m_file = -1;
    bool m_isOfAnotherRun = false;
};

#endif
