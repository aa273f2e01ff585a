// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/answer.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Assessment/ScoringMap.h"
#include "Assessment/equivalence.h"
#include "Assessment/polishedPlaces.h"
#include "Preparation/FrameBack.h"
#include "Sampler/evenRotations.h"
#include "fit/joinText.h"
#include "fit/scanPoses.h"

namespace {

void warnOf(Journal& journal, const std::string& path, const std::vector<std::string>& remarks) {
    for (const std::string& remark : remarks) {
        journal.warn(path + ": " + remark);
    }
}

const DensityMap* maskOf(const FitInputs& inputs) {
    return inputs.mask ? &*inputs.mask : nullptr;
}

/// What cannot be prepared is told with the file that it is the fault of.
PreparedMap prepareOrThrow(const DensityMap& map, const PreparedModel& model, const ScanChoice& choice,
                           const MapRequest& request, const std::string& path) {
    try {
        return prepareMap(map, model, choice, request);
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(path + ": " + error.what());
    }
}

/// The middle of the model where its file has it.
std::optional<Neighbourhood> neighbourhoodOf(const PreparedModel& model, const FitOptions& options) {
    if (!options.near || !options.near->distance) {
        return std::nullopt;
    }
    return Neighbourhood{model.fromFile.inverse()(cVector3(0.0)), *options.near->distance};
}

PreparedMap prepareMapOf(const FitInputs& inputs, const PreparedModel& model, const ScanChoice& choice,
                         const FitOptions& options, Journal& journal) {
    PreparedMap prepared = prepareOrThrow(
        inputs.map, model, choice,
        {options.level, maskOf(inputs), fieldOf(options.score), neighbourhoodOf(model, options)},
        options.map);
    warnOf(journal, options.map, prepared.remarks);
    journal.choose(joinText("level ", prepared.level, options.level ? ", as given" : ", chosen",
                            "; the scan's map has ", prepared.grid.m_size[0], " x ", prepared.grid.m_size[1],
                            " x ", prepared.grid.m_size[2], " voxels"));
    return prepared;
}

ScanChoice chooseScanOf(const DensityMap& map, const PreparedModel& model, const FitOptions& options,
                        Journal& journal) {
    const double edge = std::max({map.voxel.x, map.voxel.y, map.voxel.z});
    ScanChoice choice;
    try {
        choice = chooseScan(
            {options.resolution, edge, model.radiusOfGyration, options.step, options.scanResolution});
    } catch (const std::invalid_argument& error) {
        throw std::runtime_error(options.map + ": " + error.what());
    }
    warnOf(journal, options.map, choice.remarks);
    journal.choose(joinText("scan at ", choice.resolution, " A with voxels of ", rounded(choice.voxel),
                            " A, atoms of width ", choice.sigma, " A and ", evenRotationCount(choice.step),
                            " rotations in steps of ", choice.step, " degrees"));
    return choice;
}

/// Places that have to be told apart: twice the copies, for as many may be wrong, and some to judge them by.
/// Where as many as there are were asked for, as many as a shell of the highest symmetry of proteins has.
std::size_t placesWanted(const FitOptions& options) {
    constexpr std::size_t ofShell = 60, toJudgeBy = 30;
    return 2 * (options.copies == 0 ? ofShell : options.copies) + toJudgeBy;
}

/// In the frames of the user's files.
std::vector<ScanPlace> scan(const PreparedPair& pair, const FitOptions& options, Journal& journal) {
    if (options.near && options.near->isPolishOnly()) {
        return {ScanPlace{RigidMotion(), 0.0}};
    }
    const ScanRequest request{options.score, options.nearDegrees(), options.threads,
                              std::max(ScanLimits::places, static_cast<int>(placesWanted(options)))};
    const FrameBack back(pair.map, pair.model);
    std::vector<ScanPlace> places;
    for (const FoundPose& pose : scanPoses(pair.map, pair.model, pair.choice, request, journal)) {
        places.push_back({back.toUser(pose.motion), pose.score});
    }
    if (places.empty()) {
        throw std::runtime_error(options.map +
                                 ": no place of the model was found in it. Check that both show "
                                 "the same molecule, and the --level.");
    }
    return places;
}

PlacesRequest placesRequest(const PreparedPair& pair, const FitOptions& options) {
    PlacesRequest request;
    request.scanResolution = pair.choice.resolution;
    request.keep = std::max(request.keep, placesWanted(options));
    request.threads = options.threads;
    return request;
}

/// Places whose climb ended before it came to rest.
void warnOfUnfinished(const std::vector<AssessedPose>& poses, const FitOptions& options, Journal& journal) {
    const auto countOf = [&](PolishEnd end) {
        return std::count_if(poses.begin(), poses.end(),
                             [end](const AssessedPose& pose) { return pose.end == end; });
    };
    if (const auto count = countOf(PolishEnd::Iterations)) {
        journal.warn(
            joinText(options.map, ": ", count, " of ", poses.size(),
                     " places were still moving when their polish was ended: they may be off by more than "
                     "0.001 A and 0.01 degrees"));
    }
    if (const auto count = countOf(PolishEnd::OutOfMap)) {
        journal.warn(joinText(options.map, ": ", count, " of ", poses.size(),
                              " places have no atom in the map's content and were left as they were"));
    }
}

/// What a user who looks at the first pose alone would miss.
void warnOfAnswer(const Assessment& assessment, const FitOptions& options, Journal& journal) {
    if (assessment.copies.size() < options.copies && options.copies > 1) {
        journal.warn(joinText(options.map, ": ", options.copies, " copies were asked for, but only ",
                              assessment.copies.size(), " places were found that do not clash"));
    }
    constexpr double percent = 100.0, least = 1.0;
    const double outside = percent * assessment.poses.front().scores.outside;
    if (outside >= least) {
        journal.warn(joinText(options.map, ": ", std::round(outside),
                              " % of the atoms of the best place are beyond the faces of the map"));
    }
}

/// The scoring of a place lays the whole model on a lattice, as finely as the map is resolved.
void requireLattice(const PreparedPair& pair, const FitOptions& options) {
    constexpr double mostNodes = 1200.0; // a side: 7 GB
    constexpr double voxelsPerResolution = 3.0;
    const double nodes = 2.0 * pair.model.reach * voxelsPerResolution / pair.choice.mapResolution;
    if (nodes > mostNodes) {
        throw std::runtime_error(joinText(options.model, ": its atoms reach ", rounded(pair.model.reach),
                                          " A from their middle, too far to be judged at a resolution of ",
                                          pair.choice.mapResolution,
                                          " A: --select what belongs together, or check for stray atoms"));
    }
}

} // namespace

PreparedPair prepare(const FitInputs& inputs, const FitOptions& options, Journal& journal) {
    journal.stage("preparing");
    PreparedModel model = prepareModel(inputs.model.searchAtoms());
    const ScanChoice choice = chooseScanOf(inputs.map, model, options, journal);
    PreparedMap map = prepareMapOf(inputs, model, choice, options, journal);
    return {std::move(map), std::move(model), choice};
}

Assessment findPlaces(const FitInputs& inputs, const PreparedPair& pair, const FitOptions& options,
                      Journal& journal) {
    requireLattice(pair, options);
    const std::vector<ScanPlace> places = scan(pair, options, journal);
    journal.stage("the map at its own resolution");
    const ScoringMap map =
        makeScoringMap(inputs.map, {pair.choice.mapResolution, options.level, maskOf(inputs)});
    const std::vector<ModelAtom>& atoms = inputs.model.searchAtoms();
    std::vector<AssessedPose> poses =
        polishedPlaces(map, atoms, places, placesRequest(pair, options), journal);
    warnOfUnfinished(poses, options, journal);
    AssessmentRequest request;
    request.copies = options.copies;
    request.threads = options.threads;
    const double shown = equivalence::resolutionFor(map.resolution, pair.model.radiusOfGyration);
    const ScoringMap coarse = makeScoringMap(inputs.map, {shown, options.level, maskOf(inputs)});
    Assessment assessment = assessPoses(map, coarse, atoms, std::move(poses), request, journal);
    warnOfAnswer(assessment, options, journal);
    return assessment;
}
