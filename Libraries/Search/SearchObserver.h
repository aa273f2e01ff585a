// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_SEARCHOBSERVER_H
#define SELVANE_SEARCH_SEARCHOBSERVER_H

#include <cstddef>
#include <stdexcept>
#include <string>

/// What a search tells of its progress, and how it is asked to end. A caller derives from it; each call has
/// an implementation that does nothing. Calls come from one thread at a time, which may be any of the
/// search's.
class SearchObserver {
public:
    virtual ~SearchObserver() = default;

    /// A stage begins.
    /// @param total  of its tasks, which progress() counts; 0 where it counts none
    virtual void stageBegins(const std::string& /*stage*/, std::size_t /*total*/) {}

    /// So many tasks of the stage are done.
    virtual void progress(std::size_t /*done*/) {}

    /// Something that the caller should know, as a sentence.
    virtual void warn(const std::string& /*text*/) {}

    /// Asked between two tasks. After true the search ends as soon as all workers have, with SearchCancelled.
    virtual bool isCancelled() { return false; }
};

/// A search that its observer ended.
class SearchCancelled : public std::runtime_error {
public:
    SearchCancelled() : std::runtime_error("the search was cancelled") {}
};

#endif
