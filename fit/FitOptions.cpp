// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/FitOptions.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "IO/printable.h"
#include "Sampler/evenRotations.h"
#include "fit/usableCores.h"

#include <CLI/CLI.hpp>

namespace {

constexpr double mostPoses = 100000;
constexpr double mostThreads = 4096;
constexpr double mostCopies = 1000;
constexpr double farthestNear = 1e5;  ///< angstrom
constexpr std::size_t nameWidth = 26; ///< columns of the help for names
constexpr std::size_t textWidth = 54; ///< and for texts

/// A number that takes up all of a text.
std::optional<double> numberOf(const std::string& text) {
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    const bool isWhole = !text.empty() && end == text.c_str() + text.size();
    return isWhole && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

/// Refuses a value with a sentence unless it is a number that holds.
template <class Holds>
CLI::Validator number(Holds holds, const std::string& remedy) {
    return CLI::Validator(
        [holds, remedy](std::string& text) {
            const std::optional<double> value = numberOf(text);
            return value && holds(*value) ? std::string() : "'" + text + "' is " + remedy;
        },
        "");
}

CLI::Validator aboveZero(const std::string& unit, const std::string& example) {
    return number([](double value) { return value > 0.0; },
                  "no number of " + unit + " above 0: give one such as " + example);
}

CLI::Validator anyNumber(const std::string& remedy) {
    return number([](double) { return true; }, remedy);
}

CLI::Validator count(double most, const std::string& example) {
    std::ostringstream limit;
    limit << most;
    return number(
        [most](double value) { return value >= 1.0 && value <= most && value == std::floor(value); },
        "no whole number from 1 to " + limit.str() + ": give one such as " + example);
}

CLI::Validator oneOf(const std::string& first, const std::string& second) {
    return CLI::Validator(
        [first, second](std::string& text) {
            return text == first || text == second ? std::string()
                                                   : "'" + text + "' is neither " + first + " nor " + second;
        },
        "");
}

/// DEG or DEG,A.
std::optional<NearOption> nearOf(const std::string& text) {
    const std::size_t comma = text.find(',');
    const std::optional<double> degrees = numberOf(text.substr(0, comma));
    NearOption near;
    if (!degrees || !(*degrees >= 0.0 && *degrees <= NearOption::everyOrientation)) {
        return std::nullopt;
    }
    near.degrees = *degrees;
    if (comma != std::string::npos) {
        near.distance = numberOf(text.substr(comma + 1));
        if (!near.distance || !(*near.distance >= 0.0 && *near.distance <= farthestNear)) {
            return std::nullopt;
        }
    }
    return near;
}

CLI::Validator nearText() {
    return CLI::Validator(
        [](std::string& text) {
            return nearOf(text)
                       ? std::string()
                       : "'" + text +
                             "' is not DEG or DEG,A with 0 to 180 degrees and 0 to 100000 A: give one "
                             "such as 30,10";
        },
        "");
}

CLI::Validator scoreName() {
    return CLI::Validator(
        [](std::string& text) {
            return scoreNamed(text) ? std::string()
                                    : "'" + text + "' is none of local, laplacian and overlap";
        },
        "");
}

CLI::Validator notEmpty() {
    return CLI::Validator(
        [](std::string& text) { return text.empty() ? std::string("the value is empty") : std::string(); },
        "");
}

/// The text in lines that fit the columns of the help.
std::string wrapped(const std::string& text) {
    std::istringstream words(text);
    std::string lines;
    std::size_t used = 0;
    for (std::string word; words >> word;) {
        const bool fits = used == 0 || used + 1 + word.size() <= textWidth;
        lines += used == 0 ? word : (fits ? " " : "\n") + word;
        used = (fits && used > 0 ? used + 1 : 0) + word.size();
    }
    return lines;
}

/// A value as the command line gives it, for options that may be absent.
struct Texts {
    std::string level;
    std::string step;
    std::string scanResolution;
    std::string near;
    std::string copies;
    std::string hand;
    std::string plddt;
    std::string model;
    std::string score = "local";
    std::string format;
    std::string resolution;
    std::string poses;
    std::string threads;
};

void addInputs(CLI::App& app, FitOptions& options, Texts& texts) {
    const std::string group = "Input";
    app.add_option(
           "MAP", options.map,
           wrapped("the map, CCP4 or MRC of mode 0, 1, 2, 6 or 12, plain or gzipped; poses are written in "
                   "its frame"))
        ->required()
        ->check(notEmpty())
        ->type_name("")
        ->group(group);
    app.add_option("MODEL", options.model, wrapped("the model, PDB or mmCIF, plain or gzipped"))
        ->required()
        ->check(notEmpty())
        ->type_name("")
        ->group(group);
    app.add_option("-r,--resolution", texts.resolution, wrapped("resolution of the map in A; required"))
        ->required()
        ->check(aboveZero("A", "8"))
        ->option_text("R")
        ->group(group);
    app.add_option(
           "--level", texts.level,
           wrapped("density at or below L, in units of the map, counts as empty (default: chosen and told)"))
        ->check(anyNumber("no number: give a density of the map, such as 0.02"))
        ->option_text("L")
        ->group(group);
    app.add_option(
           "--mask", options.mask,
           wrapped(
               "a map of the same frame; where it is not above 0.5 the map counts as empty (default: none)"))
        ->check(notEmpty())
        ->option_text("FILE")
        ->group(group);
}

/// Which atoms of the model are meant.
void addChoice(CLI::App& app, FitOptions& options, Texts& texts) {
    const std::string group = "Input";
    app.add_option("--select", options.choice.selection,
                   wrapped("part of the model: A,B for chains, A/10-200 for residues (default: all)"))
        ->check(notEmpty())
        ->option_text("TEXT")
        ->group(group);
    app.add_option("--model", texts.model,
                   wrapped("which model of a file of several, by its number (default: the first)"))
        ->check(notEmpty())
        ->option_text("N")
        ->group(group);
    app.add_option(
           "--assembly", options.choice.assembly,
           wrapped(
               "a biological assembly of the model's file, by its name (default: the atoms as they stand)"))
        ->check(notEmpty())
        ->option_text("NAME")
        ->group(group);
    app.add_option(
           "--plddt", texts.plddt,
           wrapped("residues with a mean B factor below N, 0 to 100, are carried along and not searched for: "
                   "predicted models tell their confidence there (default: off)"))
        ->check(number([](double value) { return value >= 0.0 && value <= 100.0; },
                       "no number from 0 to 100: give one such as 70"))
        ->option_text("N")
        ->group(group);
}

void addSearch(CLI::App& app, Texts& texts) {
    const std::string group = "Search";
    app.add_option(
           "--score", texts.score,
           wrapped(
               "local: correlation of edges within the model's mask; laplacian: the map's edges against the "
               "model's density; overlap: the density itself (default: local)"))
        ->check(scoreName())
        ->option_text("NAME")
        ->group(group);
    app.add_option(
           "--step", texts.step,
           wrapped("the farthest, in degrees, that an orientation may be from the nearest rotation tried "
                   "(default: chosen and told)"))
        ->check(number([](double value) { return value >= evenRotationLimit && value <= 180.0; },
                       "no number of degrees from 0.5 to 180: give one such as 15"))
        ->option_text("DEG")
        ->group(group);
    app.add_option(
           "--scan-resolution", texts.scanResolution,
           wrapped("resolution in A that the map is brought to for the scan (default: chosen and told)"))
        ->check(aboveZero("A", "10"))
        ->option_text("R")
        ->group(group);
    app.add_option("--threads", texts.threads,
                   wrapped("workers (default: the cores that this process may use)"))
        ->check(count(mostThreads, "4"))
        ->option_text("N")
        ->group(group);
}

/// Where, how often and in which hand the model is looked for.
void addExtent(CLI::App& app, Texts& texts) {
    const std::string group = "Search";
    app.add_option(
           "--near", texts.near,
           wrapped("look only at orientations within DEG degrees of the model's present one and, if given, "
                   "places within A angstrom of its present place; 0,0 polishes it where it is (default: "
                   "everywhere)"))
        ->check(nearText())
        ->option_text("DEG[,A]")
        ->group(group);
    app.add_option(
           "--copies", texts.copies,
           wrapped("find N places of the model that do not clash; 0: as many as there are (default: 1)"))
        ->check(number(
            [](double value) { return value >= 0.0 && value <= mostCopies && value == std::floor(value); },
            "no whole number from 0 to 1000: give one such as 4"))
        ->option_text("N")
        ->group(group);
    app.add_option("--hand", texts.hand,
                   wrapped("both: try the mirrored map, too, and say which hand fits (default: given)"))
        ->check(oneOf("given", "both"))
        ->option_text("NAME")
        ->group(group);
}

void addOutput(CLI::App& app, FitOptions& options, Texts& texts) {
    const std::string group = "Output";
    app.add_option(
           "-o,--output", options.output,
           wrapped("folder of results, made if need be (default: fit-MODEL-in-MAP by the files' names)"))
        ->check(notEmpty())
        ->option_text("DIR")
        ->group(group);
    app.add_option("--poses", texts.poses, wrapped("poses written (default: 10)"))
        ->check(count(mostPoses, "10"))
        ->option_text("N")
        ->group(group);
    app.add_option("--format", texts.format, wrapped("of the poses, pdb or cif (default: that of the model)"))
        ->check(oneOf("pdb", "cif"))
        ->option_text("NAME")
        ->group(group);
    app.add_flag("--prepare-only", options.prepareOnly,
                 wrapped("write the prepared files and the selvane command line that scans them, and stop "
                         "(default: off)"))
        ->group(group);
    app.add_flag(
           "--restart", options.restart,
           wrapped("replace the results of an earlier run in the folder; other files stay (default: off)"))
        ->group(group);
    app.add_flag("--quiet", options.quiet,
                 wrapped("no progress, only warnings and the verdict (default: off)"))
        ->group(group);
}

/// The values of texts that the validators have let through.
void takeTexts(const Texts& texts, FitOptions& options) {
    options.resolution = numberOf(texts.resolution).value_or(0.0);
    options.level = numberOf(texts.level);
    options.near = nearOf(texts.near);
    options.copies = static_cast<std::size_t>(numberOf(texts.copies).value_or(1.0));
    options.bothHands = texts.hand == "both";
    options.step = numberOf(texts.step);
    options.scanResolution = numberOf(texts.scanResolution);
    options.choice.plddt = numberOf(texts.plddt);
    if (!texts.model.empty()) {
        options.choice.model = texts.model;
    }
    options.score = scoreNamed(texts.score).value_or(FitScore::Local);
    if (!texts.format.empty()) {
        options.format = texts.format == "cif" ? ModelFormat::Cif : ModelFormat::Pdb;
    }
    if (const auto poses = numberOf(texts.poses)) {
        options.poses = static_cast<std::size_t>(*poses);
    }
    const auto threads = numberOf(texts.threads);
    options.threads = threads ? static_cast<std::size_t>(*threads) : usableCores();
}

[[noreturn]] void endOf(const CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
        std::ostringstream out;
        std::ostringstream ignored;
        app.exit(error, out, ignored);
        throw CommandLineEnd{0, out.str(), ""};
    }
    throw CommandLineEnd{1, "", printable(error.what()) + ". selvane-fit --help lists the options."};
}

std::string stemOf(const std::string& path) {
    std::filesystem::path name = std::filesystem::path(path).filename();
    if (name.extension() == ".gz") {
        name = name.stem();
    }
    return name.stem().string();
}

} // namespace

std::optional<double> FitOptions::nearDegrees() const {
    const bool isBounded = near && near->degrees < NearOption::everyOrientation;
    return isBounded ? std::optional<double>(near->degrees) : std::nullopt;
}

MapField fieldOf(FitScore score) {
    return score == FitScore::Overlap ? MapField::Density : MapField::Laplacian;
}

std::optional<FitScore> scoreNamed(const std::string& name) {
    for (const FitScore score : {FitScore::Local, FitScore::Laplacian, FitScore::Overlap}) {
        if (nameOf(score) == name) {
            return score;
        }
    }
    return std::nullopt;
}

std::string nameOf(FitScore score) {
    switch (score) {
    case FitScore::Local:
        return "local";
    case FitScore::Laplacian:
        return "laplacian";
    case FitScore::Overlap:
        break;
    }
    return "overlap";
}

std::string defaultOutput(const std::string& model, const std::string& map) {
    return "fit-" + stemOf(model) + "-in-" + stemOf(map);
}

FitOptions parseFitOptions(int argc, const char* const* argv) {
    CLI::App app("Fits an atomic model into a cryo-EM density map: prepares both, scans\n"
                 "rotations and translations, and writes the best places of the model in\n"
                 "the map's frame.",
                 "selvane-fit");
    FitOptions options;
    Texts texts;
    app.get_formatter()->column_width(nameWidth);
    app.set_help_flag("-h,--help", "this text")->group("Help");
    app.set_version_flag("--version", "selvane-fit " SELVANE_VERSION, "the version")->group("Help");
    addInputs(app, options, texts);
    addChoice(app, options, texts);
    addSearch(app, texts);
    addExtent(app, texts);
    addOutput(app, options, texts);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        endOf(app, error);
    }
    takeTexts(texts, options);
    if (options.bothHands && options.near) {
        throw CommandLineEnd{
            1, "",
            "--hand both looks everywhere, for the model's present place means nothing in the mirrored "
            "map: leave out --near"};
    }
    if (options.output.empty()) {
        options.output = defaultOutput(options.model, options.map);
    }
    options.command.assign(argv, argv + argc);
    return options;
}
