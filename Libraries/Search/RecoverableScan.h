// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_RECOVERABLESCAN_H
#define SELVANE_SEARCH_RECOVERABLESCAN_H

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Search/CheckpointFile.h"
#include "Search/CheckpointLock.h"
#include "Search/ScanCheckpoints.h"

/// A scan that an interruption does not lose: takes checkpoints of the workers' sets while they work, and
/// takes up the scan of an earlier process from its checkpoint. One scan per object, in the order
///   construction - attach() - start() - the workers' calls of clock() - stop() - close(),
/// of which everything but the workers' calls is for one thread. Without close(), as after an interruption,
/// the checkpoint stays.
///
/// What another process has locked is left alone: the scan then takes no checkpoints.
class RecoverableScan {
public:
    struct Settings {
        std::string path; ///< of the checkpoint; the lock and the draft lie beside it
        bool isResumed = false;
        std::chrono::milliseconds interval{60000}; ///< from one checkpoint to the next
        /// Takes what the user is to know, of any thread; tell() of IO/message.h if empty.
        std::function<void(const std::string& text)> tell;
        /// Takes the path of the checkpoint that stands from now on, or an empty text once none does; of any
        /// thread.
        std::function<void(const std::string& path)> standing;
    };

    /// What the checkpoints are of.
    struct Subject {
        checkpoint::Identity identity;
        checkpoint::Shape shape;
        std::pair<std::string, std::string> inputs; ///< names of map and model, for the texts of errors
    };

    /// Takes the lock, and tells of a checkpoint that this scan would replace.
    /// @throws checkpoint::Error if it is to be resumed from a file that is not there or that another process
    ///         is using
    explicit RecoverableScan(Settings settings);
    RecoverableScan(const RecoverableScan&) = delete;
    RecoverableScan& operator=(const RecoverableScan&) = delete;

    /// Fills the sets from the checkpoint, if the scan is resumed.
    /// @param sets  empty ones, shape.setsPerWorker per worker, worker after worker; not owned. They belong
    ///              to their worker between the calls of clock().begin() and clock().end().
    /// @throws checkpoint::Error if the scan cannot go on from the file, and the sets are as they were
    /// @throws std::invalid_argument if there are more or fewer sets than the shape has
    void attach(Subject subject, std::vector<CandidateSet>& sets);

    /// Per worker, the rotations of its share that were done before; zeros unless the scan is resumed.
    const std::vector<unsigned long>& done() const { return m_done; }
    /// Their sum.
    unsigned long doneInAll() const;

    /// Starts the clock.
    /// @param rotations  of all workers together, dealt as by ScanShare
    /// @throws checkpoint::Error if a worker has done more than its share
    void start(std::size_t rotations);

    /// Where the workers tell how far they are. From start() on.
    ScanCheckpoints& clock() { return *m_clock; }

    /// Ends the clock; for when the workers are done.
    void stop();

    /// Removes the checkpoint, which a complete scan has no use for, or tells that it can be resumed from. A
    /// checkpoint that is neither of this scan nor resumed by it is left alone.
    /// @param isComplete  whether all that follows from the scan is where it belongs, too
    void close(bool isComplete);

private:
    void tell(const std::string& text) const;
    void setStanding(const std::string& path) const;
    void checkLeftover() const;
    void checkShares(std::size_t rotations) const;
    ScanCheckpoints::Steps steps() const;

    Settings m_settings;
    CheckpointLock m_lock;
    Subject m_subject;
    std::vector<CandidateSet>* m_sets = nullptr;
    std::vector<unsigned long> m_done;
    std::optional<ScanCheckpoints> m_clock; ///< last, so that it ends before what it reads
};

#endif
