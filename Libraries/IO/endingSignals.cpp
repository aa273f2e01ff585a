// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/endingSignals.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <set>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "IO/unfinishedFiles.h"

namespace {

constexpr std::array<int, 2> signals = {SIGINT, SIGTERM};
constexpr std::array<const char*, 2> namesOfSignals = {"SIGINT", "SIGTERM"};

/// Of a standard error stream that nobody reads.
constexpr int longestWaitMilliseconds = 500;

/// What the handler may read at any moment: texts that live as long as the process.
using Text = std::atomic<const std::string*>;
Text textOfSignal[2];
std::atomic<int> signalsHandled{0};
static_assert(Text::is_always_lock_free && std::atomic<int>::is_always_lock_free);

/// The text at an address that stays. Only few different ones are ever asked for.
const std::string* keep(const std::string& text) {
    static std::mutex mutex;
    static auto* const texts = new std::set<std::string>; // outlives the destructors of statics
    const std::lock_guard<std::mutex> lock(mutex);
    return &*texts->insert(text).first;
}

/// @return whether the stream took the text within the time
bool writeWithin(int milliseconds, const std::string& text) {
    pollfd stream{STDERR_FILENO, POLLOUT, 0};
    if (poll(&stream, 1, milliseconds) <= 0) {
        return false;
    }
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    return true;
}

void restoreDefaultHandling() {
    sigset_t ending;
    sigemptyset(&ending);
    for (const int each : signals) {
        std::signal(each, SIG_DFL);
        sigaddset(&ending, each);
    }
    // The signal itself is blocked while it is handled, and others may be.
    pthread_sigmask(SIG_UNBLOCK, &ending, nullptr);
}

// Only what is async-signal-safe.
extern "C" void endBySignal(int signal) {
    if (!unfinished::mayEnd(signal)) {
        return;
    }
    // Queues and timeout(1) reach a process twice, by its number and by its group: the second signal must not
    // kill before the first has been dealt with. A third one does.
    const int before = signalsHandled.fetch_add(1);
    if (before == 1) {
        return;
    }
    const std::string* text = before == 0 ? textOfSignal[signal == SIGTERM ? 1 : 0].load() : nullptr;
    if (before == 0) {
        unfinished::removeAll();
    }
    if (text != nullptr && writeWithin(0, *text)) {
        text = nullptr;
    }
    restoreDefaultHandling();
    if (text != nullptr) {
        writeWithin(longestWaitMilliseconds, *text);
    }
    raise(signal);
}

void handle(int signal) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action {};
    action.sa_handler = endBySignal;
    sigaction(signal, &action, nullptr);
}

void openClosedStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) < 0 && errno == EBADF) {
            open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY); // takes the lowest free number
        }
    }
}

} // namespace

namespace endingSignals {

void install() {
    openClosedStreams();
    std::signal(SIGPIPE, SIG_IGN);
    std::atexit(unfinished::removeAll);
    for (const int signal : signals) {
        handle(signal);
    }
}

void setText(const std::string& program, const std::string& rest) {
    // Behind the progress bar, on a terminal.
    const std::string start = isatty(STDERR_FILENO) == 1 ? "\n" : "";
    for (std::size_t i = 0; i < signals.size(); ++i) {
        textOfSignal[i].store(
            keep(start + program + ": interrupted by " + namesOfSignals[i] + ", " + rest + "\n"));
    }
}

} // namespace endingSignals
