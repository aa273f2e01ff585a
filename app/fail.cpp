// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/fail.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>

namespace {

void flushReport() {
    std::cout.flush();
    std::fflush(stdout);
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

[[noreturn]] void reportAndAbort() {
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
    std::fprintf(stderr, "selvane: %s\n", message.c_str());
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
