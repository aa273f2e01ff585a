// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/interruption.h"

#include "IO/endingSignals.h"
#include "IO/printable.h"

namespace interruption {

void install() {
    setCheckpoint("");
    endingSignals::install();
}

void setCheckpoint(const std::string& path) {
    endingSignals::setText("selvane", path.empty() ? "there is no checkpoint to resume from"
                                                   : "the last checkpoint is " + printable(path) +
                                                         "; the same command with --resume goes on from it");
}

} // namespace interruption
