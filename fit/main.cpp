// SPDX-License-Identifier: GPL-3.0-or-later
// selvane-fit: from the files that a user has to the places of the model in the map.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

#include "IO/endingSignals.h"
#include "IO/message.h"
#include "IO/printable.h"
#include "IO/unfinishedFiles.h"
#include "fit/FitOptions.h"
#include "fit/Journal.h"
#include "fit/road.h"

// The workers are the parallelism of a run; a matrix library with threads of its own would only multiply
// them.
extern "C" void openblas_set_num_threads(int count);

namespace {

constexpr const char* outOfMemory =
    "selvane-fit: out of memory. Use fewer workers (--threads), a coarser scan (--scan-resolution), or raise "
    "the limits of the process (ulimit -v).\n";

void tellError(const std::string& text) {
    std::fprintf(stderr, "selvane-fit: %s\n", printable(text).c_str());
    std::fflush(stderr);
}

/// Neither destructors nor what exit() calls can be trusted while workers go on.
[[noreturn]] void removeAndAbort() {
    unfinished::removeAll();
    try {
        if (const std::exception_ptr current = std::current_exception()) {
            std::rethrow_exception(current);
        }
        tellError("terminated without an exception");
    } catch (const std::bad_alloc&) {
        std::fputs(outOfMemory, stderr);
        _exit(1);
    } catch (const std::exception& error) {
        tellError(error.what());
    } catch (...) {
        tellError("an exception of unknown type");
    }
    std::abort();
}

/// @return the exit status
int tellVerdict(const std::string& verdict) {
    const bool isTold = std::printf("%s\n", printable(verdict).c_str()) >= 0 && std::fflush(stdout) == 0;
    // A verdict that nobody reads costs nothing; the results are in place.
    static_cast<void>(isTold);
    return 0;
}

int run(int argc, char** argv) {
    try {
        const FitOptions options = parseFitOptions(argc, argv);
        Journal journal(stderr, Journal::mannerOf(options.quiet));
        return tellVerdict(runFit(options, journal));
    } catch (const CommandLineEnd& end) {
        std::fputs(end.out.c_str(), stdout);
        if (!end.err.empty()) {
            tellError(end.err);
        }
        return end.status;
    } catch (const std::bad_alloc&) {
        std::fputs(outOfMemory, stderr);
    } catch (const std::exception& error) {
        tellError(error.what());
    }
    return 1;
}

/// The matrix library starts threads of its own, each of which asks for its buffer until it is granted, and
/// waits for them at the end. Under a limit of the address space that may be never.
bool isAddressSpaceLimited() {
    rlimit limit{};
    return getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY;
}

} // namespace

int main(int argc, char** argv) {
    std::set_terminate(removeAndAbort);
    setMessageSink(tellError);
    endingSignals::setText("selvane-fit", "no results were written; the same command starts anew");
    endingSignals::install();
    // A file that would grow beyond the limit of the user fails as one on a full disk, with a message.
    std::signal(SIGXFSZ, SIG_IGN);
    openblas_set_num_threads(1);
    const int status = run(argc, argv);
    if (isAddressSpaceLimited()) {
        std::fflush(nullptr);
        _exit(status);
    }
    return status;
}
