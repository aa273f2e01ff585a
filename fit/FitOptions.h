// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_FITOPTIONS_H
#define SELVANE_FIT_FITOPTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Preparation/PreparedMap.h"

/// What a run is asked for.
struct FitOptions {
    std::string map;   ///< path
    std::string model; ///< path
    std::string output;
    double resolution = 0.0; ///< angstrom
    ModelChoice choice;
    std::optional<double> level; ///< in units of the map
    std::string mask;            ///< path; empty: none
    MapField field = MapField::Laplacian;
    std::optional<double> step;           ///< degrees
    std::optional<double> scanResolution; ///< angstrom
    std::size_t poses = 10;               ///< written
    std::optional<ModelFormat> format;    ///< none: that of the model
    std::size_t threads = 1;
    bool prepareOnly = false;
    bool quiet = false;
    bool restart = false;
    std::vector<std::string> command; ///< as it was given, for the log
};

/// The command line asks for no run: help, version, or a mistake.
struct CommandLineEnd {
    int status = 0;
    std::string out; ///< for the standard output
    std::string err; ///< one line without its end, for the standard error stream
};

/// @throws CommandLineEnd
FitOptions parseFitOptions(int argc, const char* const* argv);

/// The folder of the results where none is given: fit-MODEL-in-MAP, from the names of the files without
/// folders, ".gz" and extensions.
std::string defaultOutput(const std::string& model, const std::string& map);

#endif
