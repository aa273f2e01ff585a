// SPDX-License-Identifier: GPL-3.0-or-later
#include "Search/RecoverableScan.h"

#include <cstdio>
#include <numeric>
#include <stdexcept>
#include <utility>

#include "IO/message.h"
#include "Search/ScanShare.h"

RecoverableScan::RecoverableScan(Settings settings)
    : m_settings(std::move(settings)), m_lock(m_settings.path) {
    if (m_lock.isOfAnotherRun()) {
        const std::string text = m_settings.path + " is in use by another run with the same --odir";
        if (m_settings.isResumed) {
            throw checkpoint::Error(text + ". Wait for its end, or give another --odir without --resume.");
        }
        tell(text + ". This run takes no checkpoints, and whichever ends last leaves its results.");
    } else if (m_settings.isResumed) {
        checkpoint::require(m_settings.path);
        setStanding(m_settings.path);
    } else {
        checkLeftover();
    }
}

void RecoverableScan::checkLeftover() const {
    if (checkpoint::exists(m_settings.path)) {
        tell(m_settings.path +
             " is left of an interrupted run. This run begins anew and will replace it if it takes "
             "more than a minute; the command of that run with --resume would continue it.");
    }
}

void RecoverableScan::attach(Subject subject, std::vector<CandidateSet>& sets) {
    const std::size_t perWorker = subject.shape.setsPerWorker;
    if (sets.size() != subject.shape.workers * perWorker) {
        throw std::invalid_argument("RecoverableScan: " + std::to_string(sets.size()) + " sets for " +
                                    std::to_string(subject.shape.workers) + " workers");
    }
    m_subject = std::move(subject);
    m_sets = &sets;
    m_done.assign(m_subject.shape.workers, 0);
    if (!m_settings.isResumed) {
        return;
    }
    std::vector<checkpoint::Worker> workers =
        checkpoint::read(m_settings.path, m_subject.identity, m_subject.shape, m_subject.inputs);
    for (std::size_t i = 0; i < sets.size(); ++i) {
        m_done[i / perWorker] = workers[i].done;
        sets[i] = std::move(workers[i].candidates);
    }
}

unsigned long RecoverableScan::doneInAll() const {
    return std::accumulate(m_done.begin(), m_done.end(), 0UL);
}

void RecoverableScan::start(std::size_t rotations) {
    checkShares(rotations);
    if (m_settings.isResumed) {
        tell("going on from " + m_settings.path + ", where " + std::to_string(doneInAll()) + " of " +
             std::to_string(rotations) + " rotations are done");
    }
    m_clock.emplace(m_settings.interval, m_done, steps());
    if (!m_lock.isOfAnotherRun()) {
        m_clock->start();
    }
}

void RecoverableScan::checkShares(std::size_t rotations) const {
    for (std::size_t i = 0; i < m_done.size(); ++i) {
        if (m_done[i] > ScanShare::of(i, m_done.size(), rotations).count) {
            throw checkpoint::Error(
                m_settings.path +
                ": the checkpoint is damaged. Remove it and start from the beginning without --resume.");
        }
    }
}

ScanCheckpoints::Steps RecoverableScan::steps() const {
    return {[this](unsigned long worker, unsigned long done) {
                const std::size_t perWorker = m_subject.shape.setsPerWorker;
                return checkpoint::encodeAll(done, &(*m_sets)[worker * perWorker], perWorker);
            },
            [this](const std::vector<std::string>& parts) {
                checkpoint::write(m_settings.path, m_subject.identity, parts,
                                  [this] { setStanding(m_settings.path); });
            },
            [this](const std::string& reason) {
                tell("no checkpoint could be written (" + reason +
                     "); the scan goes on, but an interruption loses what it has done since the last one.");
            }};
}

void RecoverableScan::stop() {
    if (m_clock) {
        m_clock->stop();
    }
}

void RecoverableScan::close(bool isComplete) {
    const bool isStored = m_clock && m_clock->isStored();
    if (!m_settings.isResumed && !isStored) {
        return;
    }
    if (!isComplete) {
        tell("this run is not complete; the same command with --resume goes on from " + m_settings.path);
        return;
    }
    std::remove(m_settings.path.c_str());
    setStanding("");
}

void RecoverableScan::tell(const std::string& text) const {
    if (m_settings.tell) {
        m_settings.tell(text);
    } else {
        ::tell(text);
    }
}

void RecoverableScan::setStanding(const std::string& path) const {
    if (m_settings.standing) {
        m_settings.standing(path);
    }
}
