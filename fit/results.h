// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_RESULTS_H
#define SELVANE_FIT_RESULTS_H

#include <cstddef>
#include <string>

#include "fit/FitOptions.h"
#include "fit/Journal.h"

/// The name of a pose's file without its extension: pose_01, with as many digits as the last one needs.
std::string poseName(std::size_t rank, std::size_t count);

/// What was done: version, command, settings, choices, warnings, seconds of the stages.
/// @param verdict  what the run ends with; empty: nothing was searched
std::string logText(const FitOptions& options, const Journal& journal, const std::string& verdict);

#endif
