// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_FAIL_H
#define SELVANE_APP_FAIL_H

#include <string>

/// Ends the run: flushes the report, writes "selvane: message" on the standard error stream, exits with
/// status 1.
[[noreturn]] void fail(const std::string& message);

/// Ends the run with status 0 after the message: the ending of a network with an atom that nothing holds.
[[noreturn]] void endWithoutNetwork(const std::string& message);

/// Writes "selvane: message" on the standard error stream behind what the report holds so far, as one line:
/// the message may hold names and contents from outside, see printable().
void warn(const std::string& message);

/// Makes std::terminate flush the report, remove hidden files that are open and name the exception that
/// nobody caught before it aborts. Where memory ran out there is nothing to look for in a core: that ends the
/// run with status 1 and what to do.
void installTerminateHandler();

/// Lets every exit of the process tell of a report that could not be written to the standard output. A report
/// that nobody reads any more is none.
void installReportCheck();

#endif
