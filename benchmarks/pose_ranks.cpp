// SPDX-License-Identifier: GPL-3.0-or-later
// Where the right place of a model comes to stand among all that a scan finds, against how finely the scan
// looks.
//   pose_ranks [--pairs FOLDER] [--generated] [--only TEXT] [--turns N] [--threads N] [SETTING...]
//   pose_ranks --noise   how much of the Laplacian of a noisy map of 3 A is signal, by the scan's resolution
// A SETTING is field:resolution:voxels:step, for example laplacian:14:4:18: what the map is turned to, the
// scan's resolution in angstrom, its voxels per resolution and the step in degrees; 0 leaves the choice to
// the program.
// --pairs FOLDER  real and simulated pairs, described in FOLDER/pairs.json
// --generated     one chain of complexes of six that are made here, at several resolutions, without and with
// noise Each model is turned at random N times (8), so that no luck with the nearest rotation decides.
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Formats/AtomicModel.h"
#include "Formats/readMap.h"
#include "Preparation/FrameBack.h"
#include "Preparation/PreparedMap.h"
#include "Preparation/ScanChoice.h"
#include "Preparation/coarsen.h"
#include "examples/complex.h"
#include "examples/density.h"
#include "fit/scanPoses.h"

#include <nlohmann/json.hpp>

extern "C" void openblas_set_num_threads(int count);

namespace {

constexpr double isRight = 7.0; // angstrom, before any polish
constexpr double isWrong = 10.0;

struct Case {
    std::string name;
    DensityMap map;
    double resolution = 0.0;
    std::vector<ModelAtom> model;
    std::vector<RigidMotion> truths; ///< from the model to each of its equivalent places
};

struct Setting {
    std::string field = "laplacian";
    double resolution = 0.0;
    double voxels = 0.0;
    double step = 0.0;
};

struct Options {
    std::string pairs;
    bool generated = false;
    bool noise = false;
    std::string only;
    int turns = 8;
    std::size_t threads = 1;
    std::vector<Setting> settings;
};

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

std::vector<Case> readPairs(const std::string& folder) {
    std::ifstream file(folder + "/pairs.json");
    std::vector<Case> cases;
    const nlohmann::json pairs = nlohmann::json::parse(file);
    for (const auto& [name, pair] : pairs.items()) {
        if (!pair.contains("ref_from_start") || name.find("4ake") != std::string::npos) {
            continue; // a model that has to bend is no question of the scan
        }
        Case c;
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

std::vector<Case> generateCases() {
    struct Kind {
        double resolution, voxel, noise;
    };
    std::vector<Case> cases;
    example::Random random(11);
    const example::Model complex = example::buildComplex({320, 180, 240, 120, 280, 150}, random);
    for (const Kind& kind :
         {Kind{3.0, 1.0, 0.0}, Kind{3.0, 1.0, 1.0}, Kind{8.0, 2.0, 0.0}, Kind{8.0, 2.0, 1.0},
          Kind{12.0, 3.0, 0.0}, Kind{12.0, 3.0, 1.0}, Kind{16.0, 4.0, 0.0}}) {
        const DensityMap map = simulatedMap(complex, kind.resolution, kind.voxel, kind.noise, random);
        for (const char name : {'B', 'E'}) {
            Case c;
            std::ostringstream text;
            text << "chain " << name << " of six, " << kind.resolution << " A"
                 << (kind.noise > 0.0 ? ", noise 1" : "");
            c.name = text.str();
            c.map = map;
            c.resolution = kind.resolution;
            for (const example::Atom& atom : example::chainOf(complex, name)) {
                ModelAtom made;
                made.position = vectorOf(atom.position);
                made.name = atom.name;
                made.residue = atom.residue;
                made.chain = std::string(1, atom.chain);
                made.element = std::string(1, atom.element);
                made.mass = 12.0;
                c.model.push_back(made);
            }
            c.truths.emplace_back();
            cases.push_back(std::move(c));
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

struct Outcome {
    std::size_t rank = std::numeric_limits<std::size_t>::max(); ///< of the first right place
    double rightOverWrong = 0.0;
    double seconds = 0.0;
};

/// @param turn  of the prepared model, which otherwise always has the same orientation
Outcome scanOnce(const Case& c, const cMatrix33& turn, const Setting& setting, std::size_t threads) {
    PreparedModel prepared = prepareModel(c.model);
    prepared.fromFile = chain(prepared.fromFile, {turn, cVector3(0.0)});
    for (ModelAtom& atom : prepared.atoms) {
        atom.position = turn * atom.position;
    }
    ScanNeeds needs;
    needs.resolution = c.resolution;
    needs.mapVoxel = std::max({c.map.voxel.x, c.map.voxel.y, c.map.voxel.z});
    needs.radiusOfGyration = prepared.radiusOfGyration;
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
    MapRequest request;
    request.field = setting.field == "density" ? MapField::Density : MapField::Laplacian;
    const auto begin = std::chrono::steady_clock::now();
    const PreparedMap map = prepareMap(c.map, prepared, choice, request);
    SearchObserver silent;
    const std::vector<FoundPose> poses = scanPoses(map, prepared, choice, threads, silent);
    Outcome outcome;
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    const FrameBack back(map, prepared);
    double right = 0.0, wrong = 0.0;
    for (std::size_t i = 0; i < poses.size(); ++i) {
        double nearest = std::numeric_limits<double>::infinity();
        const RigidMotion found = back.toUser(poses[i].motion);
        for (const RigidMotion& truth : c.truths) {
            nearest = std::min(nearest, rmsd(c.model, found, truth));
        }
        if (nearest < isRight && right == 0.0) {
            right = poses[i].score;
            outcome.rank = i + 1;
        }
        if (nearest > isWrong && wrong == 0.0) {
            wrong = poses[i].score;
        }
    }
    outcome.rightOverWrong = wrong > 0.0 ? right / wrong : 0.0;
    return outcome;
}

void report(const Case& c, const Setting& setting, const Options& options) {
    example::Random random(3);
    std::vector<Outcome> outcomes;
    for (int turn = 0; turn < options.turns; ++turn) {
        outcomes.push_back(scanOnce(c, drawRotation(random), setting, options.threads));
    }
    const auto within = [&](std::size_t rank) {
        return std::count_if(outcomes.begin(), outcomes.end(),
                             [rank](const Outcome& o) { return o.rank <= rank; });
    };
    std::sort(outcomes.begin(), outcomes.end(),
              [](const Outcome& a, const Outcome& b) { return a.rightOverWrong < b.rightOverWrong; });
    double seconds = 0.0;
    for (const Outcome& outcome : outcomes) {
        seconds += outcome.seconds / static_cast<double>(outcomes.size());
    }
    std::printf("| %-34s | %-9s | %4g | %3g | %3g | %2ld %2ld %2ld of %d | %5.2f | %5.2f | %6.2f |\n",
                c.name.c_str(), setting.field.c_str(), setting.resolution, setting.voxels, setting.step,
                within(1), within(5), within(20), options.turns, outcomes.front().rightOverWrong,
                outcomes[outcomes.size() / 2].rightOverWrong, seconds);
    std::fflush(stdout);
}

double correlation(const std::vector<float>& a, const std::vector<float>& b) {
    double ab = 0.0, aa = 0.0, bb = 0.0;
    for (std::size_t v = 0; v < a.size(); ++v) {
        const double p = static_cast<double>(a[v]), q = static_cast<double>(b[v]);
        ab += p * q;
        aa += p * p;
        bb += q * q;
    }
    return ab / std::sqrt(aa * bb);
}

/// Both fields have mean zero.
void reportNoise() {
    constexpr double resolution = 3.0, voxel = 1.0;
    example::Random random(11);
    const example::Model complex = example::buildComplex({150, 120}, random);
    const DensityMap clean = simulatedMap(complex, resolution, voxel, 0.0, random);
    const DensityMap noisy = simulatedMap(complex, resolution, voxel, 1.0, random);
    std::printf("| scan resolution | correlation of the Laplacians with and without noise |\n|---|---|\n");
    for (const double to : {3.0, 4.0, 5.0, 6.0, 8.0, 10.0, 14.0}) {
        const auto field = [&](const DensityMap& map) {
            return negativeLaplacian(coarsen(map, {resolution, to, to / 3.0, {}, nullptr})).values;
        };
        std::printf("| %g | %.3f |\n", to, correlation(field(clean), field(noisy)));
    }
}

Setting settingOf(const std::string& text) {
    Setting setting;
    std::istringstream in(text);
    char colon = ':';
    if (!std::getline(in, setting.field, ':') ||
        !(in >> setting.resolution >> colon >> setting.voxels >> colon >> setting.step)) {
        throw std::invalid_argument("a setting is field:resolution:voxels:step, not '" + text + "'");
    }
    return setting;
}

Options parse(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const auto value = [&] {
            if (i + 1 >= argc) {
                throw std::invalid_argument(word + " needs a value");
            }
            return std::string(argv[++i]);
        };
        if (word == "--pairs") {
            options.pairs = value();
        } else if (word == "--generated") {
            options.generated = true;
        } else if (word == "--noise") {
            options.noise = true;
        } else if (word == "--only") {
            options.only = value();
        } else if (word == "--turns") {
            options.turns = std::max(1, std::atoi(value().c_str()));
        } else if (word == "--threads") {
            options.threads = static_cast<std::size_t>(std::max(1, std::atoi(value().c_str())));
        } else {
            options.settings.push_back(settingOf(word));
        }
    }
    if (options.settings.empty()) {
        options.settings.emplace_back();
    }
    return options;
}

} // namespace

int main(int argc, char** argv) {
    openblas_set_num_threads(1);
    try {
        const Options options = parse(argc, argv);
        if (options.noise) {
            reportNoise();
            return EXIT_SUCCESS;
        }
        std::vector<Case> cases = options.pairs.empty() ? std::vector<Case>() : readPairs(options.pairs);
        if (options.generated) {
            for (Case& c : generateCases()) {
                cases.push_back(std::move(c));
            }
        }
        std::printf(
            "| case | field | scan resolution | voxels per resolution | step | right first, in 5, in 20 | "
            "right over wrong, least | median | s |\n|---|---|---|---|---|---|---|---|---|\n");
        for (const Setting& setting : options.settings) {
            for (const Case& c : cases) {
                if (c.name.find(options.only) == std::string::npos) {
                    continue;
                }
                report(c, setting, options);
            }
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pose_ranks: %s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
