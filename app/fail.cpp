// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/fail.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

#include <poll.h>
#include <unistd.h>

#include "IO/printable.h"
#include "IO/unfinishedFiles.h"

namespace {

void flushReport() {
    std::cout.flush();
    std::fflush(stdout);
}

/// Whether the standard output is a pipe, a socket or a terminal that nobody reads any more.
bool isReportUnread() {
    pollfd stream{STDOUT_FILENO, POLLOUT, 0};
    return poll(&stream, 1, 0) > 0 && (stream.revents & (POLLERR | POLLHUP)) != 0;
}

void tellLostReport() {
    flushReport();
    if (std::ferror(stdout) != 0 && !isReportUnread()) {
        warn("the report on the standard output could not be written completely. Check the free space of its "
             "disk and the limits of file sizes.");
    }
}

std::string textOfCurrentException() {
    const std::exception_ptr current = std::current_exception();
    if (!current) {
        return "terminated without an exception";
    }
    try {
        std::rethrow_exception(current);
    } catch (const std::exception& error) {
        return error.what();
    } catch (const std::string& text) {
        return text;
    } catch (const char* text) {
        return text;
    } catch (...) {
        return "an exception of unknown type";
    }
}

bool isOutOfMemory() {
    try {
        if (const std::exception_ptr current = std::current_exception()) {
            std::rethrow_exception(current);
        }
    } catch (const std::bad_alloc&) {
        return true;
    } catch (...) {
        return false;
    }
    return false;
}

/// Asks for no memory itself. Neither destructors nor what exit() calls can be trusted in the midst of a
/// stage whose other workers go on.
[[noreturn]] void endWithoutMemory() {
    flushReport();
    std::fputs(
        "selvane: out of memory. Use fewer workers (--nthread), no padding (--nopadding), fewer poses "
        "(--nsolutions) or a larger step (--dangle), or raise the limits of the process (ulimit -v).\n",
        stderr);
    std::fflush(stderr);
    _exit(1);
}

[[noreturn]] void reportAndAbort() {
    unfinished::removeAll();
    if (isOutOfMemory()) {
        endWithoutMemory();
    }
    warn(textOfCurrentException());
    std::abort();
}

[[noreturn]] void endRun(const std::string& message, int status) {
    warn(message);
    std::exit(status);
}

} // namespace

void warn(const std::string& message) {
    flushReport();
    std::fprintf(stderr, "selvane: %s\n", printable(message).c_str());
    std::fflush(stderr);
}

void fail(const std::string& message) {
    endRun(message, 1);
}

void endWithoutNetwork(const std::string& message) {
    // Deliberate: the status is 0.
    endRun(message, 0);
}

void installTerminateHandler() {
    std::set_terminate(reportAndAbort);
}

void installReportCheck() {
    std::atexit(tellLostReport);
}
