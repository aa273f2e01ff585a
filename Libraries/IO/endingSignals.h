// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_ENDINGSIGNALS_H
#define SELVANE_IO_ENDINGSIGNALS_H

#include <string>

/// How a process ends from outside. SIGINT and SIGTERM end it at once with a line on the standard error
/// stream and with the status of the signal: the hidden files that are open are removed, the default handling
/// is restored and the signal raised again. Only while results take their places does the signal wait. All of
/// it happens in the signal handler, from texts made ready before, so that no worker and no lock can hold it
/// up; once that is done a further signal finds the default handling and kills.
namespace endingSignals {

/// For the start of a program. A signal that is ignored then, as of a job in the background, stays ignored.
/// SIGPIPE is ignored from now on: a report that nobody reads costs no results. Standard streams that are
/// closed are opened on /dev/null, so that no result file takes their place and has the report written into
/// it. Hidden files that are open also go when a stage ends the run by std::exit().
void install();

/// The line of an ending is "program: interrupted by SIGINT, rest". Without a text there is none.
/// @param rest  what a terminal may be shown
void setText(const std::string& program, const std::string& rest);

} // namespace endingSignals

#endif
