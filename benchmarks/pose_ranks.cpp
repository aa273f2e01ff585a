// SPDX-License-Identifier: GPL-3.0-or-later
// Where the right place of a model comes to stand among all that a scan finds, against how finely the scan
// looks.
//   pose_ranks [--pairs FOLDER] [--generated] [--only TEXT] [--turns N] [--threads N] [SETTING...]
//   pose_ranks --noise   how much of the Laplacian of a noisy map of 3 A is signal, by the scan's resolution
// A SETTING is score:resolution:voxels:step, for example laplacian:14:4:18: what places are ranked by, the
// scan's resolution in angstrom, its voxels per resolution and the step in degrees; 0 leaves the choice to
// the program.
// --pairs FOLDER  real and simulated pairs, described in FOLDER/pairs.json
// --generated     one chain of complexes of six that are made here, at several resolutions, without and with
// noise Each model is turned at random N times (8), so that no luck with the nearest rotation decides.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Preparation/coarsen.h"
#include "benchmarks/poseCases.h"
#include "examples/complex.h"

extern "C" void openblas_set_num_threads(int count);

namespace {

struct Options {
    std::string pairs;
    bool generated = false;
    bool noise = false;
    std::string only;
    int turns = 8;
    std::size_t threads = 1;
    std::vector<ScanSetting> settings;
};

std::vector<PoseCase> generateCases() {
    struct Kind {
        double resolution, voxel, noise;
    };
    std::vector<PoseCase> cases;
    example::Random random(11);
    const example::Model complex = example::buildComplex({320, 180, 240, 120, 280, 150}, random);
    for (const Kind& kind :
         {Kind{3.0, 1.0, 0.0}, Kind{3.0, 1.0, 1.0}, Kind{8.0, 2.0, 0.0}, Kind{8.0, 2.0, 1.0},
          Kind{12.0, 3.0, 0.0}, Kind{12.0, 3.0, 1.0}, Kind{16.0, 4.0, 0.0}}) {
        const DensityMap map = simulatedMap(complex, kind.resolution, kind.voxel, kind.noise, random);
        for (const char name : {'B', 'E'}) {
            PoseCase c;
            std::ostringstream text;
            text << "chain " << name << " of six, " << kind.resolution << " A"
                 << (kind.noise > 0.0 ? ", noise 1" : "");
            c.name = text.str();
            c.map = map;
            c.resolution = kind.resolution;
            c.model = modelAtoms(example::chainOf(complex, name));
            c.truths.emplace_back();
            cases.push_back(std::move(c));
        }
    }
    return cases;
}

struct Outcome {
    Standing standing;
    double seconds = 0.0;
};

Outcome scanOnce(const PoseCase& c, const cMatrix33& turn, const ScanSetting& setting, std::size_t threads) {
    const PreparedModel model = turned(c.model, turn);
    const auto begin = std::chrono::steady_clock::now();
    const std::vector<FoundPose> poses = scanCase(c, model, setting, threads);
    Outcome outcome;
    outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    outcome.standing = standing(c, poses, setting.score);
    return outcome;
}

void report(const PoseCase& c, const ScanSetting& setting, const Options& options) {
    example::Random random(3);
    std::vector<Outcome> outcomes;
    for (int turn = 0; turn < options.turns; ++turn) {
        outcomes.push_back(scanOnce(c, drawRotation(random), setting, options.threads));
    }
    const auto within = [&](std::size_t rank) {
        return std::count_if(outcomes.begin(), outcomes.end(), [rank](const Outcome& o) {
            return o.standing.rank > 0 && o.standing.rank <= rank;
        });
    };
    std::sort(outcomes.begin(), outcomes.end(), [](const Outcome& a, const Outcome& b) {
        return a.standing.rightOverWrong < b.standing.rightOverWrong;
    });
    double seconds = 0.0;
    for (const Outcome& outcome : outcomes) {
        seconds += outcome.seconds / static_cast<double>(outcomes.size());
    }
    std::printf("| %-34s | %-9s | %4g | %3g | %3g | %2ld %2ld %2ld of %d | %5.2f | %5.2f | %6.2f |\n",
                c.name.c_str(), nameOf(setting.score).c_str(), setting.resolution, setting.voxels,
                setting.step, within(1), within(5), within(20), options.turns,
                outcomes.front().standing.rightOverWrong,
                outcomes[outcomes.size() / 2].standing.rightOverWrong, seconds);
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

ScanSetting settingOf(const std::string& text) {
    ScanSetting setting;
    std::istringstream in(text);
    char colon = ':';
    std::string score;
    const bool isNamed = std::getline(in, score, ':') && scoreNamed(score);
    if (!isNamed || !(in >> setting.resolution >> colon >> setting.voxels >> colon >> setting.step)) {
        throw std::invalid_argument("a setting is score:resolution:voxels:step, not '" + text + "'");
    }
    setting.score = *scoreNamed(score);
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
        std::vector<PoseCase> cases =
            options.pairs.empty() ? std::vector<PoseCase>() : readPairs(options.pairs);
        if (options.generated) {
            for (PoseCase& c : generateCases()) {
                cases.push_back(std::move(c));
            }
        }
        std::printf(
            "| case | score | scan resolution | voxels per resolution | step | right first, in 5, in 20 | "
            "right over wrong, least | median | s |\n|---|---|---|---|---|---|---|---|---|\n");
        for (const ScanSetting& setting : options.settings) {
            for (const PoseCase& c : cases) {
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
