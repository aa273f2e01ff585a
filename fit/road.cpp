// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/road.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Assessment/copies.h"
#include "Assessment/hand.h"
#include "Preparation/mirror.h"
#include "Report/posesCsv.h"
#include "Report/summaryJson.h"
#include "fit/OutputFolder.h"
#include "fit/answer.h"
#include "fit/inputs.h"
#include "fit/joinText.h"
#include "fit/preparedFiles.h"
#include "fit/results.h"
#include "fit/summary.h"
#include "fit/textFile.h"

namespace {

/// Writes the whole model at the first places.
/// @return the names of the files
std::vector<std::string> writePoses(const OutputFolder& folder, const AtomicModel& model,
                                    const std::vector<AssessedPose>& poses, const FitOptions& options,
                                    Journal& journal) {
    const std::size_t count = std::min(options.poses, poses.size());
    const ModelFormat format = options.format.value_or(model.format());
    std::vector<std::string> names;
    std::size_t instead = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::filesystem::path path =
            model.writeMoved(folder.of(poseName(i + 1, count)), poses[i].motion, format);
        names.push_back(path.filename().string());
        instead += format == ModelFormat::Pdb && path.extension() != ".pdb" ? 1 : 0;
    }
    if (instead > 0) {
        journal.warn(
            joinText(options.model, ": ", instead, " of ", count,
                     " poses are written as mmCIF, since they do not fit the PDB format (more than 99,999 "
                     "atoms, names of chains of several letters, or places beyond its columns)"));
    }
    return names;
}

/// All copies in one file.
/// @return its name
std::string writeAssembly(const OutputFolder& folder, const AtomicModel& model, const Assessment& assessment,
                          const FitOptions& options, Journal& journal) {
    std::vector<RigidMotion> places;
    for (const std::size_t copy : assessment.copies) {
        places.push_back(assessment.poses[copy].motion);
    }
    const ModelFormat format = options.format.value_or(model.format());
    const std::filesystem::path path =
        model.writeAssembly(folder.of("assembly"), places, chainNames(model.chains(), places.size()), format);
    if (format == ModelFormat::Pdb && path.extension() != ".pdb") {
        journal.warn(options.model +
                     ": the assembly is written as mmCIF, since it does not fit the PDB format "
                     "(99,999 atoms, 62 chains of one letter, or its columns)");
    }
    return path.filename().string();
}

const std::set<std::string> preparedNames = {"log.txt", "prepared/map.ccp4", "prepared/model.pdb",
                                             "prepared/frame.json", "prepared/command.txt"};

void writePrepared(OutputFolder& folder, const PreparedPair& pair, const FitOptions& options) {
    folder.makePrepared();
    writePreparedFiles(folder.of("prepared"), pair, options);
}

std::string finishPrepared(OutputFolder& folder, const PreparedPair& pair, const FitOptions& options,
                           Journal& journal) {
    journal.stage("writing");
    writePrepared(folder, pair, options);
    journal.end();
    writeTextFile(folder.of("log.txt"), logText(options, journal, ""));
    folder.removeEarlier(preparedNames);
    return "The prepared files are in " + folder.of("prepared") +
           "; the line in command.txt there scans them, and frame.json says how its poses go back into the "
           "frame of " +
           options.map + ".";
}

/// The same search in the mirrored map. Nothing that is wrong with that one costs the answer that there is.
HandVerdict tryOtherHand(FitInputs& inputs, const Assessment& given, const FitOptions& options,
                         Journal& journal) {
    journal.setContext("the mirrored map: ");
    inputs.map = mirror(std::move(inputs.map));
    if (inputs.mask) {
        inputs.mask = mirror(std::move(*inputs.mask));
    }
    HandVerdict verdict;
    try {
        const PreparedPair pair = prepare(inputs, options, journal);
        verdict = compareHands(given, findPlaces(inputs, pair, options, journal));
    } catch (const std::runtime_error& error) {
        journal.warn(error.what());
        verdict.reason = "The mirrored map could not be searched, so that nothing is told of the hand.";
    }
    journal.setContext("");
    return verdict;
}

/// What the run found, as a sentence each.
std::string verdictText(const FitSummary& summary, const std::optional<HandVerdict>& hand,
                        const std::string& first, const FitOptions& options) {
    const Assessment& assessment = summary.assessment;
    std::string text = joinText("Confidence ", textOf(assessment.confidence), ": ", assessment.reason, " ");
    if (hand) {
        text += hand->reason + " ";
    }
    if (options.copies != 1) {
        const std::size_t found = assessment.copies.size();
        text += joinText(found, found == 1 ? " copy was found. " : " copies were found. ");
    }
    return text + "The poses are in " + options.output + ": open " + first + " together with " + options.map +
           ".";
}

void removeOthers(const OutputFolder& folder, const std::vector<std::string>& written) {
    std::set<std::string> kept = preparedNames;
    kept.insert(written.begin(), written.end());
    folder.removeEarlier(kept);
}

} // namespace

std::string runFit(const FitOptions& options, Journal& journal) {
    std::vector<std::string> files = {options.map, options.model};
    if (!options.mask.empty()) {
        files.push_back(options.mask);
    }
    OutputFolder folder(options.output, options.restart, files);
    FitInputs inputs = readInputs(options, journal);
    const PreparedPair pair = prepare(inputs, options, journal);
    if (options.prepareOnly) {
        return finishPrepared(folder, pair, options, journal);
    }
    const Assessment assessment = findPlaces(inputs, pair, options, journal);
    std::optional<HandVerdict> hand;
    if (options.bothHands) {
        hand = tryOtherHand(inputs, assessment, options, journal);
    }
    journal.stage("writing");
    writePrepared(folder, pair, options);
    std::vector<std::string> written = writePoses(folder, inputs.model, assessment.poses, options, journal);
    const std::string first = folder.of(written.front());
    writeTextFile(folder.of("poses.csv"), posesCsv(assessment.poses, written));
    if (options.copies != 1) {
        written.push_back(writeAssembly(folder, inputs.model, assessment, options, journal));
    }
    journal.end();
    const FitSummary summary =
        summarise(options, inputs, pair, assessment,
                  hand ? std::optional<std::string>(nameOf(hand->better)) : std::nullopt, journal);
    writeTextFile(folder.of("summary.json"), summaryJson(summary));
    const std::string verdict = verdictText(summary, hand, first, options);
    writeTextFile(folder.of("log.txt"), logText(options, journal, verdict));
    written.insert(written.end(), {"poses.csv", "summary.json"});
    removeOthers(folder, written);
    return verdict;
}
