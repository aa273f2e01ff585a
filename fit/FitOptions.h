// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_FITOPTIONS_H
#define SELVANE_FIT_FITOPTIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Preparation/PreparedMap.h"

/// What the scan ranks places by.
enum class FitScore {
    Local, ///< the correlation of Laplacian-filtered fields under the model's mask, and their overlap beside
           ///< it
    Laplacian, ///< the overlap of the Laplacian-filtered map with the model
    Overlap    ///< that of the map itself
};

/// What a score wants the map to be turned to.
MapField fieldOf(FitScore score);

/// As the command line names it.
std::string nameOf(FitScore score);

/// That of a name, if there is one.
std::optional<FitScore> scoreNamed(const std::string& name);

/// How far from the model's present orientation and place it is looked for.
struct NearOption {
    static constexpr double everyOrientation = 180.0;
    double degrees = everyOrientation;
    std::optional<double> distance; ///< angstrom, of the model's middle; none: everywhere

    /// The present place is polished and nothing else is looked for.
    bool isPolishOnly() const { return degrees == 0.0 && distance == 0.0; }
};

/// What a run is asked for.
struct FitOptions {
    std::string map;   ///< path
    std::string model; ///< path
    std::string output;
    double resolution = 0.0; ///< angstrom
    ModelChoice choice;
    std::optional<double> level; ///< in units of the map
    std::string mask;            ///< path; empty: none
    FitScore score = FitScore::Local;
    std::optional<double> step;           ///< degrees
    std::optional<double> scanResolution; ///< angstrom
    std::optional<NearOption> near;
    std::size_t copies = 1;            ///< wanted in the map; 0: as many as there are
    bool bothHands = false;            ///< try the mirrored map, too
    std::size_t poses = 10;            ///< written
    std::optional<ModelFormat> format; ///< none: that of the model
    std::size_t threads = 1;
    bool prepareOnly = false;
    bool quiet = false;
    bool restart = false;
    std::vector<std::string> command; ///< as it was given, for the log

    /// How far from the model's present orientation; none: every orientation.
    std::optional<double> nearDegrees() const;
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
