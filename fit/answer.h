// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_ANSWER_H
#define SELVANE_FIT_ANSWER_H

#include "Assessment/assessPoses.h"
#include "fit/FitOptions.h"
#include "fit/Journal.h"
#include "fit/inputs.h"
#include "fit/preparedFiles.h"

/// Map and model made ready for the scan.
/// @throws std::runtime_error with the file and the remedy for what cannot be searched
PreparedPair prepare(const FitInputs& inputs, const FitOptions& options, Journal& journal);

/// The places of the model in the map: scanned, or taken as they are, polished and judged. Poses lead from
/// the model's file to the frame of the map.
/// @throws std::runtime_error when there are none
Assessment findPlaces(const FitInputs& inputs, const PreparedPair& pair, const FitOptions& options,
                      Journal& journal);

#endif
