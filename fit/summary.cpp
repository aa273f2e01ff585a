// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/summary.h"

#include "IO/resources.h"
#include "IO/shellQuote.h"
#include "fit/scanPoses.h"

namespace {

std::string commandText(const FitOptions& options) {
    std::string text;
    for (const std::string& word : options.command) {
        text += (text.empty() ? "" : " ") + shellQuote(word);
    }
    return text;
}

MapSummary mapSummary(const FitOptions& options, const FitInputs& inputs, double level) {
    const DensityMap& map = inputs.map;
    return {options.map, inputs.mapDigest, map.size, map.voxel, map.origin, level};
}

ModelSummary modelSummary(const FitOptions& options, const FitInputs& inputs, double radiusOfGyration) {
    const AtomicModel& model = inputs.model;
    return {options.model, inputs.modelDigest, model.atomCount(), model.searchAtoms().size(),
            radiusOfGyration};
}

std::size_t rotationsTried(const FitOptions& options, const PreparedPair& pair) {
    if (options.near && options.near->isPolishOnly()) {
        return 0;
    }
    return rotationCount(pair.model, pair.choice, options.nearDegrees());
}

SettingsSummary settingsSummary(const FitOptions& options, const PreparedPair& pair) {
    const ScanChoice& choice = pair.choice;
    SettingsSummary settings;
    settings.resolution = options.resolution;
    settings.scanResolution = choice.resolution;
    settings.voxelSize = choice.voxel;
    settings.step = choice.step;
    settings.rotations = rotationsTried(options, pair);
    settings.score = nameOf(options.score);
    settings.threads = options.threads;
    return settings;
}

} // namespace

FitSummary summarise(const FitOptions& options, const FitInputs& inputs, const PreparedPair& pair,
                     const Assessment& assessment, const std::optional<std::string>& hand,
                     const Journal& journal) {
    FitSummary summary;
    summary.version = SELVANE_VERSION;
    summary.command = commandText(options);
    summary.map = mapSummary(options, inputs, pair.map.level);
    summary.model = modelSummary(options, inputs, pair.model.radiusOfGyration);
    summary.settings = settingsSummary(options, pair);
    summary.assessment = assessment;
    summary.hand = hand;
    summary.warnings = journal.warnings();
    summary.seconds = journal.seconds();
    summary.cpuSeconds = resources::cpuSeconds();
    summary.peakBytes = resources::peakBytes();
    return summary;
}
