// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_INPUTS_H
#define SELVANE_FIT_INPUTS_H

#include <optional>
#include <string>

#include "Formats/AtomicModel.h"
#include "Formats/DensityMap.h"
#include "fit/FitOptions.h"
#include "fit/Journal.h"

/// What a run reads.
struct FitInputs {
    AtomicModel model;
    DensityMap map;
    std::optional<DensityMap> mask; ///< of the same frame as the map
    std::string modelDigest;        ///< SHA-256 of the files
    std::string mapDigest;
};

/// Reads the files of the options and tells what is in them.
/// @throws InputError, std::runtime_error with the file and the remedy
FitInputs readInputs(const FitOptions& options, Journal& journal);

#endif
