// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/road.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "Formats/readMap.h"
#include "Sampler/evenRotations.h"
#include "fit/OutputFolder.h"
#include "fit/preparedFiles.h"
#include "fit/results.h"
#include "fit/scanPoses.h"
#include "fit/textFile.h"

namespace {

template <class... Parts>
std::string join(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// A length or a density without the noise of its last bits.
double rounded(double value) {
    constexpr double digits = 1e4;
    return std::round(value * digits) / digits + 0.0; // no negative zero
}

std::string textOf(const cVector3& v, const std::string& between) {
    return join(rounded(v.x), between, rounded(v.y), between, rounded(v.z));
}

void warnOf(Journal& journal, const std::string& path, const std::vector<std::string>& remarks) {
    for (const std::string& remark : remarks) {
        journal.warn(path + ": " + remark);
    }
}

DensityMap readMapOf(const std::string& path, Journal& journal) {
    MapFile file = readMap(path);
    warnOf(journal, path, file.remarks);
    const DensityMap& map = file.map;
    journal.choose(join(path, ": ", map.size[0], " x ", map.size[1], " x ", map.size[2], " voxels of ",
                        textOf(map.voxel, " x "), " A, the first at ", textOf(map.origin, " "), " A"));
    return std::move(file.map);
}

AtomicModel readModel(const FitOptions& options, Journal& journal) {
    AtomicModel model = AtomicModel::read(options.model, options.choice);
    warnOf(journal, options.model, model.remarks());
    journal.choose(join(options.model, ": ", model.atomCount(), " atoms, ", model.searchAtoms().size(),
                        " of them searched for"));
    return model;
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

PreparedMap prepareMapOf(const DensityMap& map, const PreparedModel& model, const ScanChoice& choice,
                         const FitOptions& options, Journal& journal) {
    std::optional<DensityMap> mask;
    if (!options.mask.empty()) {
        mask = readMapOf(options.mask, journal);
        if (!isSameFrame(map, *mask)) {
            throw std::runtime_error(options.mask +
                                     ": the mask has another frame than the map: give one with "
                                     "the size, voxels and place of " +
                                     options.map);
        }
    }
    PreparedMap prepared = prepareOrThrow(
        map, model, choice,
        {options.level, mask ? &*mask : nullptr, fieldOf(options.score), neighbourhoodOf(model, options)},
        options.map);
    warnOf(journal, options.map, prepared.remarks);
    journal.choose(join("level ", prepared.level, options.level ? ", as given" : ", chosen",
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
    journal.choose(join("scan at ", choice.resolution, " A with voxels of ", rounded(choice.voxel),
                        " A, atoms of width ", choice.sigma, " A and ", evenRotationCount(choice.step),
                        " rotations in steps of ", choice.step, " degrees"));
    return choice;
}

PreparedPair prepare(const FitOptions& options, const AtomicModel& model, Journal& journal) {
    journal.stage("reading the map");
    const DensityMap map = readMapOf(options.map, journal);
    journal.stage("preparing");
    PreparedModel prepared = prepareModel(model.searchAtoms());
    const ScanChoice choice = chooseScanOf(map, prepared, options, journal);
    PreparedMap field = prepareMapOf(map, prepared, choice, options, journal);
    return {std::move(field), std::move(prepared), choice};
}

/// Writes the whole model at the first places.
/// @return the names of the files
std::vector<std::string> writePoses(const OutputFolder& folder, const AtomicModel& model,
                                    const std::vector<FoundPose>& poses, const FitOptions& options,
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
            join(options.model, ": ", instead, " of ", count,
                 " poses are written as mmCIF, since they do not fit the PDB format (more than 99,999 "
                 "atoms, names of chains of several letters, or places beyond its columns)"));
    }
    return names;
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
    writeTextFile(folder.of("log.txt"), logText(options, journal));
    folder.removeEarlier(preparedNames);
    return "The prepared files are in " + folder.of("prepared") +
           "; the line in command.txt there scans them, and frame.json says how its poses go back into the "
           "frame of " +
           options.map + ".";
}

ScanRequest requestOf(const FitOptions& options) {
    ScanRequest request{options.score, std::nullopt, options.threads};
    if (options.near && options.near->degrees < NearOption::everyOrientation) {
        request.nearDegrees = options.near->degrees;
    }
    return request;
}

std::vector<FoundPose> scan(const PreparedPair& pair, const FitOptions& options, Journal& journal) {
    if (options.near && options.near->isPolishOnly()) {
        return {FoundPose{0.0, options.score, RigidMotion()}};
    }
    std::vector<FoundPose> poses = scanPoses(pair.map, pair.model, pair.choice, requestOf(options), journal);
    if (poses.empty()) {
        throw std::runtime_error(options.map +
                                 ": no place of the model was found in it. Check that both show "
                                 "the same molecule, and the --level.");
    }
    const FrameBack back(pair.map, pair.model);
    for (FoundPose& pose : poses) {
        pose.motion = back.toUser(pose.motion);
    }
    return poses;
}

} // namespace

std::string runFit(const FitOptions& options, Journal& journal) {
    std::vector<std::string> inputs = {options.map, options.model};
    if (!options.mask.empty()) {
        inputs.push_back(options.mask);
    }
    OutputFolder folder(options.output, options.restart, inputs);
    journal.stage("reading the model");
    const AtomicModel model = readModel(options, journal);
    const PreparedPair pair = prepare(options, model, journal);
    if (options.prepareOnly) {
        return finishPrepared(folder, pair, options, journal);
    }
    const std::vector<FoundPose> poses = scan(pair, options, journal);
    journal.stage("writing");
    writePrepared(folder, pair, options);
    const std::vector<std::string> files = writePoses(folder, model, poses, options, journal);
    writeTextFile(folder.of("poses.csv"), posesTable(poses, files));
    journal.end();
    writeTextFile(folder.of("log.txt"), logText(options, journal));
    std::set<std::string> written = preparedNames;
    written.insert("poses.csv");
    written.insert(files.begin(), files.end());
    folder.removeEarlier(written);
    return join(poses.size(), poses.size() == 1 ? " place was" : " places were", " found, the best ",
                files.size(), " written into ", options.output, ": open ", folder.of(files.front()),
                " together with ", options.map, ".");
}
