// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_MESSAGE_H
#define SELVANE_IO_MESSAGE_H

#include <string>

/// Takes one message of a library, without a line end.
using MessageSink = void (*)(const std::string& message);

/// Sets where messages go from now on; for a program, before it starts threads. At first they are lines of
/// the standard error stream.
/// @return the sink of before
MessageSink setMessageSink(MessageSink sink);

/// Tells the user of the program something that no result and no exception says. Libraries do not know whose
/// line it will be: the program's name stands in front of it only if its sink puts it there.
void tell(const std::string& message);

#endif
