// SPDX-License-Identifier: GPL-3.0-or-later
#include "benchmarks/poseCases.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <limits>
#include <optional>
#include <sstream>
#include <utility>

#include "Formats/readMap.h"
#include "Preparation/FrameBack.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/ScanChoice.h"
#include "examples/complex.h"
#include "examples/density.h"

#include <nlohmann/json.hpp>

namespace {

cVector3 vectorOf(const example::Vec3& v) {
    return cVector3(v.x, v.y, v.z);
}

RigidMotion motionOf(const nlohmann::json& json) {
    RigidMotion motion;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            motion.rotation(r, c) = json["R"][static_cast<std::size_t>(r)][static_cast<std::size_t>(c)];
        }
    }
    motion.translation = cVector3(json["t"][0], json["t"][1], json["t"][2]);
    return motion;
}

} // namespace

std::vector<PoseCase> readPairs(const std::string& folder) {
    std::ifstream file(folder + "/pairs.json");
    std::vector<PoseCase> cases;
    const nlohmann::json pairs = nlohmann::json::parse(file);
    for (const auto& [name, pair] : pairs.items()) {
        if (!pair.contains("ref_from_start") || name.find("4ake") != std::string::npos) {
            continue; // a model that has to bend is no question of the scan
        }
        PoseCase c;
        c.name = name;
        c.map = readMap(folder + "/" + pair["map"].get<std::string>()).map;
        c.resolution = pair["resolution"];
        c.model = AtomicModel::read(folder + "/" + pair["start_model"].get<std::string>()).searchAtoms();
        const RigidMotion truth = motionOf(pair["ref_from_start"]);
        c.truths.push_back(truth);
        for (const auto& symmetry : pair.value("symmetry", nlohmann::json::array())) {
            c.truths.push_back(chain(truth, motionOf(symmetry)));
        }
        cases.push_back(std::move(c));
    }
    return cases;
}

DensityMap simulatedMap(const example::Model& model, double resolution, double voxel, double noise,
                        example::Random& random) {
    example::Vec3 low = model.front().position, high = low;
    for (const example::Atom& atom : model) {
        low = {std::min(low.x, atom.position.x), std::min(low.y, atom.position.y),
               std::min(low.z, atom.position.z)};
        high = {std::max(high.x, atom.position.x), std::max(high.y, atom.position.y),
                std::max(high.z, atom.position.z)};
    }
    const double margin = 1.5 * resolution + 5.0;
    example::Lattice lattice{{}, {}, voxel};
    const std::array<double, 3> lows = {low.x, low.y, low.z}, highs = {high.x, high.y, high.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        lattice.start[axis] = static_cast<int>(std::floor((lows[axis] - margin) / voxel));
        const auto end = static_cast<int>(std::ceil((highs[axis] + margin) / voxel));
        lattice.extents[axis] = end - lattice.start[axis] + 1;
    }
    std::vector<double> values = example::simulatedDensity(model, lattice, resolution);
    example::addNoise(values, noise, random);
    DensityMap map;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        map.size[axis] = static_cast<std::size_t>(lattice.extents[axis]);
    }
    map.voxel = cVector3(voxel);
    map.origin = vectorOf(lattice.position(0, 0, 0));
    map.values.resize(lattice.nodes());
    for (int i = 0; i < lattice.extents[0]; ++i) {
        for (int j = 0; j < lattice.extents[1]; ++j) {
            for (int k = 0; k < lattice.extents[2]; ++k) {
                map.values[map.index(static_cast<std::size_t>(i), static_cast<std::size_t>(j),
                                     static_cast<std::size_t>(k))] =
                    static_cast<float>(values[lattice.flatIndex(i, j, k)]);
            }
        }
    }
    return map;
}

std::vector<ModelAtom> modelAtoms(const example::Model& model) {
    constexpr double carbon = 12.0; // dalton
    std::vector<ModelAtom> atoms;
    for (const example::Atom& atom : model) {
        ModelAtom made;
        made.position = vectorOf(atom.position);
        made.name = atom.name;
        made.residue = atom.residue;
        made.residueNumber = atom.residueNumber;
        made.chain = std::string(1, atom.chain);
        made.element = std::string(1, atom.element);
        made.mass = carbon;
        atoms.push_back(made);
    }
    return atoms;
}

DensityMap cutAround(const DensityMap& map, const std::vector<ModelAtom>& atoms, double margin) {
    std::array<std::size_t, 3> first{};
    DensityMap cut;
    cut.voxel = map.voxel;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto a = static_cast<int>(axis);
        double low = std::numeric_limits<double>::infinity(), high = -low;
        for (const ModelAtom& atom : atoms) {
            low = std::min(low, atom.position[a]);
            high = std::max(high, atom.position[a]);
        }
        const auto voxelOf = [&](double x) {
            const double last = static_cast<double>(map.size[axis] - 1);
            return static_cast<std::size_t>(
                std::clamp(std::round((x - map.origin[a]) / map.voxel[a]), 0.0, last));
        };
        first[axis] = voxelOf(low - margin);
        cut.size[axis] = voxelOf(high + margin) - first[axis] + 1;
        cut.origin[a] = map.origin[a] + static_cast<double>(first[axis]) * map.voxel[a];
    }
    cut.values.reserve(cut.size[0] * cut.size[1] * cut.size[2]);
    for (std::size_t i = 0; i < cut.size[0]; ++i) {
        for (std::size_t j = 0; j < cut.size[1]; ++j) {
            const float* const row = map.values.data() + map.index(first[0] + i, first[1] + j, first[2]);
            cut.values.insert(cut.values.end(), row, row + cut.size[2]);
        }
    }
    return cut;
}

std::vector<PoseCase> complexCases(const std::vector<double>& resolutions, double noise) {
    const std::vector<std::vector<int>> complexes = {{320, 180, 240, 120, 280, 150},
                                                     {400, 100, 210, 350, 160, 260}};
    constexpr double voxelsPerResolution = 4.0;
    std::vector<PoseCase> cases;
    example::Random random(17);
    for (std::size_t number = 0; number < complexes.size(); ++number) {
        const example::Model complex = example::buildComplex(complexes[number], random);
        for (const double resolution : resolutions) {
            const DensityMap map =
                simulatedMap(complex, resolution, resolution / voxelsPerResolution, noise, random);
            for (const char name : {'A', 'B', 'C', 'D', 'E', 'F'}) {
                PoseCase c;
                std::ostringstream text;
                text << "complex " << number + 1 << ", " << resolution << " A, chain " << name;
                c.name = text.str();
                c.map = map;
                c.resolution = resolution;
                c.model = modelAtoms(example::chainOf(complex, name));
                c.truths.emplace_back();
                cases.push_back(c);
                if (name == 'B' || name == 'E') {
                    c.name += ", cut out";
                    c.map = cutAround(map, c.model, resolution);
                    cases.push_back(std::move(c));
                }
            }
        }
    }
    return cases;
}

cMatrix33 drawRotation(example::Random& random) {
    const example::Mat3 m = random.rotation();
    return {m[0][0], m[0][1], m[0][2], m[1][0], m[1][1], m[1][2], m[2][0], m[2][1], m[2][2]};
}

double rmsd(const std::vector<ModelAtom>& model, const RigidMotion& a, const RigidMotion& b) {
    double sum = 0.0;
    for (const ModelAtom& atom : model) {
        sum += (a(atom.position) - b(atom.position)).norm2();
    }
    return std::sqrt(sum / static_cast<double>(model.size()));
}

Standing standing(const PoseCase& c, const std::vector<FoundPose>& poses, FitScore list) {
    Standing result;
    double right = 0.0, wrong = 0.0;
    std::size_t rank = 0;
    for (const FoundPose& pose : poses) {
        if (pose.list != list) {
            continue;
        }
        ++rank;
        double nearest = std::numeric_limits<double>::infinity();
        for (const RigidMotion& truth : c.truths) {
            nearest = std::min(nearest, rmsd(c.model, pose.motion, truth));
        }
        if (nearest < rightPose && result.rank == 0) {
            right = pose.score;
            result.rank = rank;
        }
        if (nearest > wrongPose && wrong == 0.0) {
            wrong = pose.score;
        }
    }
    result.rightOverWrong = wrong > 0.0 ? right / wrong : 0.0;
    return result;
}

PreparedModel turned(const std::vector<ModelAtom>& model, const cMatrix33& turn) {
    PreparedModel prepared = prepareModel(model);
    prepared.fromFile = chain(prepared.fromFile, {turn, cVector3(0.0)});
    for (ModelAtom& atom : prepared.atoms) {
        atom.position = turn * atom.position;
    }
    return prepared;
}

ScanChoice choiceOf(const PoseCase& c, const PreparedModel& model, const ScanSetting& setting) {
    ScanNeeds needs;
    needs.resolution = c.resolution;
    needs.mapVoxel = std::max({c.map.voxel.x, c.map.voxel.y, c.map.voxel.z});
    needs.radiusOfGyration = model.radiusOfGyration;
    if (setting.step > 0.0) {
        needs.step = setting.step;
    }
    if (setting.resolution > 0.0) {
        needs.scanResolution = std::max(setting.resolution, c.resolution);
    }
    ScanChoice choice = chooseScan(needs);
    if (setting.voxels > 0.0) {
        choice.voxel = choice.resolution / setting.voxels;
    }
    return choice;
}

std::vector<FoundPose> scanCase(const PoseCase& c, const PreparedModel& model, const ScanSetting& setting,
                                std::size_t threads) {
    const ScanChoice choice = choiceOf(c, model, setting);
    MapRequest request;
    request.field = fieldOf(setting.score);
    const PreparedMap map = prepareMap(c.map, model, choice, request);
    SearchObserver silent;
    std::vector<FoundPose> poses =
        scanPoses(map, model, choice, {setting.score, std::nullopt, threads}, silent);
    const FrameBack back(map, model);
    for (FoundPose& pose : poses) {
        pose.motion = back.toUser(pose.motion);
    }
    return poses;
}
