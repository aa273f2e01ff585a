// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_SUMMARY_H
#define SELVANE_FIT_SUMMARY_H

#include <optional>
#include <string>

#include "Assessment/FitSummary.h"
#include "fit/FitOptions.h"
#include "fit/Journal.h"
#include "fit/inputs.h"
#include "fit/preparedFiles.h"

/// All that is told about a run, once its last stage has ended.
FitSummary summarise(const FitOptions& options, const FitInputs& inputs, const PreparedPair& pair,
                     const Assessment& assessment, const std::optional<std::string>& hand,
                     const Journal& journal);

#endif
