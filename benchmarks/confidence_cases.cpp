// SPDX-License-Identifier: GPL-3.0-or-later
// How sure the program is of models that are in a map and of models that are not: the figures and the plot of
// docs/confidence.md.
//   confidence_cases [--pairs FOLDER] [--only TEXT] [--threads N] [--plot FILE]
// --pairs FOLDER  real and simulated pairs, described in FOLDER/pairs.json, beside the generated ones
// --plot FILE     draws z against gap of all cases as SVG
// "ranks" are those of the first right place by local correlation, correlation, mean density, atoms inside
// the level, atoms inside the map, overlap. Positives: models in their maps, one chain of six, half a chain,
// maps cut out of larger ones. Negatives: every model in the maps of others, in mirrored maps and in noise. A
// row a case; the rates come last.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Assessment/ScoringMap.h"
#include "Assessment/assessPoses.h"
#include "Assessment/equivalence.h"
#include "Assessment/polishedPlaces.h"
#include "Preparation/coarsen.h"
#include "Preparation/mirror.h"
#include "benchmarks/poseCases.h"
#include "examples/Random.h"

extern "C" void openblas_set_num_threads(int count);

namespace {

constexpr std::size_t casesPerMap = 8; // of complexCases()
constexpr std::size_t spoiltEvery = 5;
constexpr double rightAnswer = 4.5; // angstrom, after the polish: the best optimum of a real pair is 3.8 off

struct Options {
    std::string pairs;
    std::string only;
    std::string plot;
    std::size_t threads = 1;
};

enum class Kind { Positive, OtherMap, Mirrored, Noise };

const std::array<const char*, 4> kindNames = {"positive", "other map", "mirrored", "noise"};

struct Trial {
    Kind kind = Kind::Positive;
    PoseCase pair;
};

struct Result {
    Kind kind = Kind::Positive;
    Confidence confidence = Confidence::Low;
    double z = 0.0;
    double gap = 0.0;
    double score = 0.0;
};

PoseCase withoutPlace(PoseCase c, const std::string& name) {
    c.name = name;
    c.truths.clear();
    return c;
}

/// The first half of a chain's residues.
std::vector<ModelAtom> firstHalf(const std::vector<ModelAtom>& atoms) {
    const int middle = (atoms.front().residueNumber + atoms.back().residueNumber) / 2;
    std::vector<ModelAtom> half;
    std::copy_if(atoms.begin(), atoms.end(), std::back_inserter(half),
                 [middle](const ModelAtom& atom) { return atom.residueNumber <= middle; });
    return half;
}

/// A map of a case's size and resolution that shows nothing.
DensityMap noiseLike(const PoseCase& c, example::Random& random) {
    DensityMap map = c.map;
    for (float& value : map.values) {
        value = static_cast<float>(random.normal());
    }
    const double voxel = map.voxel.x;
    DensityMap smooth = coarsen(map, {2.0 * voxel, std::max(c.resolution, 2.0 * voxel), voxel, {}, nullptr});
    return smooth;
}

/// Beside the cases as they are, half a chain in the map of all of it and its neighbours.
void addPositives(std::vector<Trial>& trials, const std::vector<PoseCase>& given,
                  const std::vector<PoseCase>& generated) {
    for (const PoseCase& c : given) {
        trials.push_back({Kind::Positive, c});
    }
    for (std::size_t i = 0; i < generated.size(); ++i) {
        trials.push_back({Kind::Positive, generated[i]});
        if (i % casesPerMap == 0) {
            PoseCase half = generated[i];
            half.name += ", half of it";
            half.model = firstHalf(half.model);
            trials.push_back({Kind::Positive, half});
        }
    }
}

/// Whether two cases show the same molecule, by the first word of their names.
bool areRelated(const PoseCase& a, const PoseCase& b) {
    return a.name.substr(0, a.name.find('_')) == b.name.substr(0, b.name.find('_'));
}

void addNegatives(std::vector<Trial>& trials, const std::vector<PoseCase>& given,
                  const std::vector<PoseCase>& generated, example::Random& random) {
    const auto exchange = [&](const PoseCase& mapOf, const PoseCase& modelOf) {
        PoseCase c = withoutPlace(mapOf, modelOf.name + " in the map of " + mapOf.name);
        c.model = modelOf.model;
        trials.push_back({Kind::OtherMap, c});
    };
    for (const PoseCase& map : given) {
        for (const PoseCase& model : given) {
            if (!areRelated(map, model)) {
                exchange(map, model);
            }
        }
    }
    const std::size_t maps = generated.size() / casesPerMap;
    for (std::size_t i = 0; i < given.size(); ++i) {
        exchange(given[i], generated[(5 * i) % casesPerMap]);
        for (std::size_t m = i % 2; m < maps; m += 2) {
            exchange(generated[m * casesPerMap], given[i]);
        }
    }
    for (std::size_t m = 0; m < maps; ++m) { // chains of one complex in the maps of the other
        for (const std::size_t chain : {0U, 4U, 7U}) {
            exchange(generated[m * casesPerMap], generated[((m + maps / 2) % maps) * casesPerMap + chain]);
        }
    }
    const auto addSpoilt = [&](const PoseCase& c) {
        PoseCase mirrored = withoutPlace(c, c.name + ", mirrored");
        mirrored.map = mirror(c.map);
        trials.push_back({Kind::Mirrored, mirrored});
        PoseCase noise = withoutPlace(c, c.name + ", noise");
        noise.map = noiseLike(c, random);
        trials.push_back({Kind::Noise, noise});
    };
    for (const PoseCase& c : given) {
        addSpoilt(c);
    }
    for (std::size_t i = 1; i < generated.size(); i += spoiltEvery) {
        addSpoilt(generated[i]);
    }
}

double distanceToTruth(const PoseCase& c, const RigidMotion& motion) {
    double nearest = std::numeric_limits<double>::infinity();
    for (const RigidMotion& truth : c.truths) {
        nearest = std::min(nearest, rmsd(c.model, motion, truth));
    }
    return nearest;
}

/// The whole road, from the map to the judged places.
Assessment assessed(const PoseCase& c, const PreparedModel& model, std::size_t threads) {
    std::vector<ScanPlace> places;
    for (const FoundPose& pose : scanCase(c, model, {}, threads)) {
        places.push_back({pose.motion, pose.score});
    }
    const ScanChoice choice = choiceOf(c, model, {});
    const ScoringMap map = makeScoringMap(c.map, {choice.mapResolution, {}, nullptr});
    SearchObserver silent;
    std::vector<AssessedPose> poses =
        polishedPlaces(map, c.model, places, {choice.resolution, PlacesRequest().keep, threads}, silent);
    AssessmentRequest request;
    request.threads = threads;
    const double shown = equivalence::resolutionFor(map.resolution, model.radiusOfGyration);
    const ScoringMap coarse = makeScoringMap(c.map, {shown, {}, nullptr});
    return assessPoses(map, coarse, c.model, std::move(poses), request, silent);
}

/// Rank of the first right place if places were ranked by this score, from 1; 0: none.
template <class ScoreOf>
std::size_t rankBy(const PoseCase& c, std::vector<AssessedPose> poses, ScoreOf scoreOf) {
    std::stable_sort(poses.begin(), poses.end(),
                     [&](const AssessedPose& a, const AssessedPose& b) { return scoreOf(a) > scoreOf(b); });
    for (std::size_t i = 0; i < poses.size(); ++i) {
        if (distanceToTruth(c, poses[i].motion) < rightAnswer) {
            return i + 1;
        }
    }
    return 0;
}

std::string ranksText(const PoseCase& c, const std::vector<AssessedPose>& poses) {
    std::string text;
    const auto add = [&](auto scoreOf) {
        const std::size_t rank = rankBy(c, poses, scoreOf);
        text += (text.empty() ? "" : " ") + (rank == 0 ? std::string("-") : std::to_string(rank));
    };
    add([](const AssessedPose& pose) { return pose.scores.localCorrelation; });
    add([](const AssessedPose& pose) { return pose.scores.correlation; });
    add([](const AssessedPose& pose) { return pose.scores.meanDensity; });
    add([](const AssessedPose& pose) { return pose.scores.inside; });
    add([](const AssessedPose& pose) { return -pose.scores.outside; });
    add([](const AssessedPose& pose) { return pose.polishValue; });
    return text;
}

/// Cells of a row that tell of a right place.
std::string truthText(const PoseCase& c, const Assessment& answer) {
    if (c.truths.empty() || answer.poses.empty()) {
        return "- | -";
    }
    char away[32];
    std::snprintf(away, sizeof away, "%.3f | ", distanceToTruth(c, answer.poses.front().motion));
    return away + ranksText(c, answer.poses);
}

Result resultOf(Kind kind, const Assessment& answer) {
    Result result;
    result.kind = kind;
    if (!answer.poses.empty()) {
        result.confidence = answer.confidence;
        result.z = answer.poses.front().z;
        result.gap = answer.poses.front().gap;
        result.score = answer.poses.front().scores.localCorrelation;
    }
    return result;
}

Result assess(const Trial& trial, std::size_t threads) {
    const auto begin = std::chrono::steady_clock::now();
    const PoseCase& c = trial.pair;
    Assessment answer;
    try {
        answer = assessed(c, prepareModel(c.model), threads);
    } catch (const std::invalid_argument& error) { // such as a map of noise without content
        std::fprintf(stderr, "%s: %s\n", c.name.c_str(), error.what());
    }
    const Result result = resultOf(trial.kind, answer);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("| %s | %s | %s | %.1f | %.1f | %.3f | %s | %zu | %.1f |\n",
                kindNames[static_cast<std::size_t>(trial.kind)], c.name.c_str(),
                textOf(result.confidence).c_str(), result.z, result.gap, result.score,
                truthText(c, answer).c_str(), answer.poses.size(), seconds);
    std::fflush(stdout);
    return result;
}

void printRates(const std::vector<Result>& results) {
    std::printf("\n| | cases | high | medium | low |\n|---|---|---|---|---|\n");
    for (std::size_t kind = 0; kind < kindNames.size(); ++kind) {
        std::array<std::size_t, 3> counts{};
        std::size_t all = 0;
        for (const Result& result : results) {
            if (static_cast<std::size_t>(result.kind) == kind) {
                ++counts[static_cast<std::size_t>(result.confidence)];
                ++all;
            }
        }
        std::printf("| %s | %zu | %zu | %zu | %zu |\n", kindNames[kind], all, counts[0], counts[1],
                    counts[2]);
    }
}

/// A logarithmic axis from a half to two hundred.
double onAxis(double value, double length) {
    constexpr double low = 0.5, high = 200.0;
    return std::log(std::clamp(value, low, high) / low) / std::log(high / low) * length;
}

void plot(const std::vector<Result>& results, const std::string& path) {
    constexpr double side = 440.0, left = 60.0, top = 20.0;
    const std::array<const char*, 4> colours = {"#2a7de1", "#d1495b", "#edae49", "#8d8d8d"};
    std::ofstream svg(path);
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 640 520\" font-family=\"sans-serif\" "
           "font-size=\"13\">\n<rect width=\"640\" height=\"520\" fill=\"white\"/>\n";
    for (const double tick : {0.5, 1.0, 2.0, 5.0, 10.0, 20.0, 50.0, 100.0, 200.0}) {
        const double at = onAxis(tick, side);
        svg << "<path d=\"M" << left + at << " " << top << "v" << side << "M" << left << " "
            << top + side - at << "h" << side << "\" stroke=\"#ddd\" fill=\"none\"/>\n<text x=\"" << left + at
            << "\" y=\"" << top + side + 18 << "\" text-anchor=\"middle\">" << tick << "</text>\n<text x=\""
            << left - 8 << "\" y=\"" << top + side - at + 4 << "\" text-anchor=\"end\">" << tick
            << "</text>\n";
    }
    for (const Result& result : results) {
        svg << "<circle cx=\"" << left + onAxis(result.z, side) << "\" cy=\""
            << top + side - onAxis(result.gap, side) << "\" r=\"4\" fill-opacity=\"0.6\" fill=\""
            << colours[static_cast<std::size_t>(result.kind)] << "\"/>\n";
    }
    for (std::size_t kind = 0; kind < kindNames.size(); ++kind) {
        const double y = 40.0 + 22.0 * static_cast<double>(kind);
        svg << "<circle cx=\"520\" cy=\"" << y << "\" r=\"5\" fill=\"" << colours[kind]
            << "\"/><text x=\"532\" y=\"" << y + 4 << "\">" << kindNames[kind] << "</text>\n";
    }
    const ConfidenceRule rule;
    svg << "<path d=\"M" << left + onAxis(rule.highZ, side) << " " << top << "V"
        << top + side - onAxis(rule.highGap, side) << "H" << left + side
        << "\" stroke=\"#2a7de1\" stroke-dasharray=\"5 4\" fill=\"none\"/>\n<text x=\"" << left + side / 2
        << "\" y=\"508\" text-anchor=\"middle\">z: the best place above the middle of all others, in their "
           "deviations</text>\n<text transform=\"translate(16 "
        << top + side / 2
        << ") rotate(-90)\" text-anchor=\"middle\">gap: above its best rival, in the same</text>\n</svg>\n";
    if (!svg.flush()) {
        throw std::runtime_error(path + ": cannot be written");
    }
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (i + 1 >= argc) {
            throw std::invalid_argument(word + " needs a value or is no option");
        }
        const std::string value = argv[++i];
        if (word == "--pairs") {
            options.pairs = value;
        } else if (word == "--only") {
            options.only = value;
        } else if (word == "--plot") {
            options.plot = value;
        } else if (word == "--threads") {
            options.threads = static_cast<std::size_t>(std::max(1, std::atoi(value.c_str())));
        } else {
            throw std::invalid_argument(word + " is no option");
        }
    }
    return options;
}

void run(const Options& options) {
    example::Random random(29);
    const std::vector<PoseCase> given =
        options.pairs.empty() ? std::vector<PoseCase>() : readPairs(options.pairs);
    const std::vector<PoseCase> generated = complexCases({8.0, 12.0, 16.0, 20.0}, 0.3);
    std::vector<Trial> trials;
    addPositives(trials, given, generated);
    addNegatives(trials, given, generated, random);
    std::printf("| kind | case | confidence | z | gap | local correlation | RMSD/A | ranks | places | s |\n"
                "|---|---|---|---|---|---|---|---|---|---|\n");
    std::vector<Result> results;
    for (const Trial& trial : trials) {
        const std::string label =
            std::string(kindNames[static_cast<std::size_t>(trial.kind)]) + " " + trial.pair.name;
        if (label.find(options.only) != std::string::npos) {
            results.push_back(assess(trial, options.threads));
        }
    }
    printRates(results);
    if (!options.plot.empty()) {
        plot(results, options.plot);
    }
}

} // namespace

int main(int argc, char** argv) {
    openblas_set_num_threads(1);
    try {
        run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "confidence_cases: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
