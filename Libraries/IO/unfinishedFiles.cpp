// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/unfinishedFiles.h"

#include <array>
#include <atomic>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace {

enum class SlotState { Free, Taken, Listed, Removed };

struct Slot {
    std::atomic<SlotState> state{SlotState::Free};
    char path[PATH_MAX];
};

constexpr std::size_t slotCount = 32; // a run has some five hidden files at most
std::array<Slot, slotCount> slots;

enum class Phase { Running, Held, Ending };
std::atomic<Phase> phase{Phase::Running};
std::atomic<int> signalPutOff{0};
std::atomic<int> signalsPutOff{0};
constexpr int mostPutOff = 2; // some senders reach a process twice, by its number and by its group

static_assert(std::atomic<SlotState>::is_always_lock_free && std::atomic<Phase>::is_always_lock_free &&
              std::atomic<int>::is_always_lock_free);

} // namespace

namespace unfinished {

Entry::Entry(const std::string& path) {
    if (path.size() >= PATH_MAX) {
        return;
    }
    for (std::size_t i = 0; i < slotCount; ++i) {
        SlotState expected = SlotState::Free;
        if (slots[i].state.compare_exchange_strong(expected, SlotState::Taken)) {
            std::memcpy(slots[i].path, path.c_str(), path.size() + 1);
            slots[i].state = SlotState::Listed;
            m_slot = static_cast<int>(i);
            return;
        }
    }
}

Entry::Entry(Entry&& other) noexcept : m_slot(std::exchange(other.m_slot, -1)) {}

Entry& Entry::operator=(Entry&& other) noexcept {
    std::swap(m_slot, other.m_slot);
    return *this;
}

Entry::~Entry() {
    if (m_slot >= 0) {
        // A slot that the handler has taken stays its own: the name in it may be read this moment.
        SlotState expected = SlotState::Listed;
        slots[static_cast<std::size_t>(m_slot)].state.compare_exchange_strong(expected, SlotState::Free);
    }
}

void removeAll() {
    for (Slot& slot : slots) {
        SlotState expected = SlotState::Listed;
        if (slot.state.compare_exchange_strong(expected, SlotState::Removed)) {
            unlink(slot.path);
        }
    }
}

EndingHold::EndingHold() {
    Phase expected = Phase::Running;
    while (!phase.compare_exchange_strong(expected, Phase::Held)) {
        if (expected == Phase::Ending) {
            pause();
        }
        expected = Phase::Running;
    }
}

EndingHold::~EndingHold() {
    phase = Phase::Running;
    if (const int signal = signalPutOff.exchange(0); signal != 0) {
        raise(signal);
    }
}

bool mayEnd(int signal) {
    Phase expected = Phase::Running;
    if (phase.compare_exchange_strong(expected, Phase::Ending) || expected == Phase::Ending) {
        return true;
    }
    signalPutOff = signal;
    return signalsPutOff.fetch_add(1) >= mostPutOff;
}

} // namespace unfinished
