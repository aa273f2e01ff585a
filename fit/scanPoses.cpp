// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/scanPoses.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <string>

#include "IO/resources.h"
#include "Math/pi.h"
#include "PDB/cPDBAtom.h"
#include "Sampler/evenRotations.h"
#include "Sampler/nearRotations.h"
#include "Search/ExhaustiveSearch.h"
#include "fit/rigidMotion.h"

namespace {

template <std::size_t size>
void copyName(const std::string& name, char (&field)[size]) {
    name.substr(0, size - 1).copy(field, size - 1);
}

SearchModel searchModel(const PreparedModel& model, const cVector3& middle) {
    SearchModel result;
    for (const ModelAtom& atom : model.atoms) {
        cPDBAtom record;
        copyName(atom.name, record.m_name);
        copyName(atom.residue, record.m_resName);
        copyName(atom.chain, record.m_chain);
        copyName(atom.element, record.m_element);
        record.m_resSeq = atom.residueNumber;
        record.m_mass = static_cast<float>(atom.mass);
        record.m_position = atom.position + middle;
        result.atoms.push_back(record);
        result.masses.push_back(atom.mass);
    }
    result.blockIds.assign(result.atoms.size(), 0);
    return result;
}

/// The search takes the low corner of a grid as one cell above the map's true place, as MapFrame tells.
SearchMap searchMap(const PreparedMap& map) {
    SearchMap result{map.values, map.grid};
    result.grid.m_box =
        cBBox(map.grid.m_box.m_min + map.grid.m_cellDim, map.grid.m_box.m_max + map.grid.m_cellDim);
    return result;
}

FitSettings searchSettings(const ScanChoice& choice, const ScanRequest& request, std::size_t workers) {
    FitSettings settings;
    settings.workers = workers;
    settings.score = request.score == FitScore::Local ? ScanScore::Local : ScanScore::Overlap;
    settings.singlePrecision = true; // of local scores; poses are polished afterwards
    settings.sigma = choice.sigma;
    settings.step = choice.step;
    settings.filterSigmas = ScanLimits::everyValue;
    settings.padding = false;
    settings.clustering = true;
    settings.clusters = request.places;
    settings.solutions = ScanLimits::solutions;
    settings.clusterThreshold = ScanLimits::placeDistance(choice);
    return settings;
}

/// The model's orientation in its file is the turn back from that of the prepared one.
std::vector<Rotation> rotationsOf(const PreparedModel& model, const ScanChoice& choice,
                                  const std::optional<double>& nearDegrees) {
    const std::vector<Rotation> all = evenRotations(choice.step);
    return nearDegrees ? rotationsNear(all, model.fromFile.rotation.getTranspose(), *nearDegrees) : all;
}

/// Before hours are spent on a scan that cannot end, or on one that starts to swap.
void requireMemory(const ExhaustiveSearch& search, std::size_t workers, std::size_t rotations) {
    constexpr double bytesPerGigabyte = 1e9;
    const double needed =
        search.bytesNeeded(workers) + static_cast<double>(rotations) * static_cast<double>(sizeof(Rotation));
    const double space = std::min(resources::memory().total, resources::freeAddressSpace());
    if (needed > space) {
        std::ostringstream text;
        text.precision(3);
        text << "the scan needs " << needed / bytesPerGigabyte << " GB of memory and the process may have "
             << space / bytesPerGigabyte
             << " GB: use fewer --threads or a coarser --scan-resolution, or raise the limits of the process "
                "(ulimit -v)";
        throw std::runtime_error(text.str());
    }
}

/// The refined place, or that on the lattice where the refinement left the neighbourhood that it stands for:
/// its quadratic model then means nothing.
PoseMove placeOf(const ExhaustiveSearch& search, const PoseRecord& pose, const ScanChoice& choice) {
    constexpr double cellsAway = 2.0;
    PoseMove move = search.frame().place(pose);
    const bool isNear =
        move.dRotation.norm() <= choice.step * pi / 180.0 && move.dTau.norm() <= cellsAway * choice.voxel;
    if (!isNear) {
        move.dRotation.setZero();
        move.dTau.setZero();
    }
    return move;
}

} // namespace

std::size_t rotationCount(const PreparedModel& model, const ScanChoice& choice,
                          const std::optional<double>& nearDegrees) {
    return nearDegrees ? rotationsOf(model, choice, nearDegrees).size() : evenRotationCount(choice.step);
}

std::vector<FoundPose> scanPoses(const PreparedMap& map, const PreparedModel& model, const ScanChoice& choice,
                                 const ScanRequest& request, SearchObserver& observer) {
    const std::size_t count = evenRotationCount(choice.step);
    const std::size_t threads = std::min(request.threads, count);
    const cVector3 middle = map.middle();
    ExhaustiveSearch search(searchMap(map), searchModel(model, middle),
                            searchSettings(choice, request, threads));
    requireMemory(search, threads, count);
    const std::vector<Rotation> rotations = rotationsOf(model, choice, request.nearDegrees);
    const std::size_t workers = std::min(threads, rotations.size());
    const std::vector<PoseRecord> records =
        search.finish(search.scan(rotations, 0, workers, workers, &observer), &observer);
    std::vector<FoundPose> poses;
    for (const PoseRecord& record : records) {
        const RigidMotion motion = rigidMotion(placeOf(search, record, choice));
        if ((motion(middle) - middle).norm() <= map.farthestCentre) {
            poses.push_back(
                {record.score, record.scoreKind == 0 ? request.score : FitScore::Laplacian, motion});
        }
    }
    return poses;
}
