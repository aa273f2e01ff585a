// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_ROAD_H
#define SELVANE_FIT_ROAD_H

#include <string>

#include "fit/FitOptions.h"
#include "fit/Journal.h"

/// The whole run, from the files that were given to the folder of results.
/// @return the verdict: one sentence that says what there is to see
/// @throws InputError, std::runtime_error with the file, the reason and the remedy; std::invalid_argument for
///         a pair that no scan can be made with. Files of an earlier run stay as they were then, unless the
///         writing itself fails.
std::string runFit(const FitOptions& options, Journal& journal);

#endif
