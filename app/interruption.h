// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_INTERRUPTION_H
#define SELVANE_APP_INTERRUPTION_H

#include <string>

/// How a run ends from outside. SIGINT and SIGTERM end it at once with a line on the standard error stream
/// that tells where its checkpoint is, and with the status of the signal: the hidden files that are open are
/// removed, the default handling is restored and the signal raised again. Only while results take their
/// places does the signal wait. All of it happens in the signal handler, from texts made ready before, so
/// that no worker and no lock can hold it up; once that is done a further signal finds the default handling
/// and kills.
namespace interruption {

/// For the start of the program. A signal that is ignored then, as of a job in the background, stays ignored.
/// SIGPIPE is ignored from now on: a report that nobody reads costs no results. Standard streams that are
/// closed are opened on /dev/null, so that no result file takes their place and has the report written into
/// it. Hidden files that are open also go when a stage ends the run by std::exit().
void install();

/// The checkpoint that the line tells of; empty for none.
void setCheckpoint(const std::string& path);

} // namespace interruption

#endif
