// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_APP_INTERRUPTION_H
#define SELVANE_APP_INTERRUPTION_H

#include <string>

/// How a run ends by SIGINT and SIGTERM: as IO/endingSignals.h says, with a line that tells where its
/// checkpoint is.
namespace interruption {

/// For the start of the program.
void install();

/// The checkpoint that the line tells of; empty for none.
void setCheckpoint(const std::string& path);

} // namespace interruption

#endif
