// SPDX-License-Identifier: GPL-3.0-or-later
// What each option does to a run.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "Math/pi.h"
#include "app/tests/RunFixture.h"
#include "app/tests/solutionFile.h"

namespace {

constexpr std::size_t headerSize = 1024;

class Options : public RunFixture {
protected:
    std::vector<WrittenPose> poses(const std::string& name = "Solution.pdb") const {
        return readPoses(read(name));
    }

    /// Voxels of a written map of the input's size, in the order of TestMap; x runs fastest in the file.
    std::vector<double> voxels(const std::string& name) const {
        const std::string bytes = read(name);
        std::vector<double> values(m_map.values.size());
        std::size_t offset = headerSize;
        for (int k = 0; k < m_map.size[2]; ++k) {
            for (int j = 0; j < m_map.size[1]; ++j) {
                for (int i = 0; i < m_map.size[0]; ++i, offset += 4) {
                    values[m_map.index(i, j, k)] = static_cast<double>(floatAt(bytes, offset));
                }
            }
        }
        return values;
    }

    double bestDirectSum(double filterSigma) const;
};

/// Both solution files of a run.
std::string solutionsOf(const RunResult& result, const std::string& rigid, const std::string& refined) {
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_FALSE(rigid.empty());
    return rigid + refined;
}

TEST_F(Options, NumberOfWorkersMakesNoDifferenceToThePoses) {
    writeInputs();
    const Arguments rest = {"--dangle", "60", "--nsolutions", "30"};
    std::vector<std::string> solutions;
    for (const char* count : {"1", "2", "3"}) {
        Arguments options = rest;
        options.insert(options.end(), {"--nthread", count});
        const RunResult result = fit(options);
        EXPECT_TRUE(contains(result.out, " Merging " + std::string(count) + " local conformations"));
        solutions.push_back(solutionsOf(result, read("Rigid_solution.pdb"), read("Solution.pdb")));
    }
    EXPECT_EQ(solutions[1], solutions[0]);
    EXPECT_EQ(solutions[2], solutions[0]);
}

TEST_F(Options, MoreWorkersThanRotationsAreIdle) {
    writeInputs();
    const RunResult one = fit({"--dangle", "180", "--nsolutions", "9", "--nthread", "1"});
    const std::string expected = solutionsOf(one, read("Rigid_solution.pdb"), read("Solution.pdb"));
    const RunResult six = fit({"--dangle", "180", "--nsolutions", "9", "--nthread", "6"});
    EXPECT_TRUE(contains(six.out, " Scaning 4 rotations "));
    EXPECT_EQ(solutionsOf(six, read("Rigid_solution.pdb"), read("Solution.pdb")), expected);
}

TEST_F(Options, WorkersBeyondAnyMemoryAreRefused) {
    writeInputs();
    const RunResult result = fit({"--nthread", "99999999999999"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "selvane: 99999999999999 workers")) << result.err;
    EXPECT_TRUE(contains(result.err, "--nthread")) << result.err;
}

TEST_F(Options, NSolutionsIsTheNumberOfPoses) {
    writeInputs();
    ASSERT_EQ(fit({"--nthread", "1", "--dangle", "180", "--nsolutions", "7"}).status, 0);
    for (const char* name : {"Rigid_solution.pdb", "Solution.pdb"}) {
        EXPECT_EQ(poses(name).size(), 7U);
    }
}

TEST_F(Options, DefaultsKeepAThousandPosesInTheWorkingDirectory) {
    writeInputs();
    ASSERT_EQ(fit({}).status, 0);
    EXPECT_EQ(poses("Rigid_solution.pdb").size(), 1000U);
    EXPECT_EQ(poses("Solution.pdb").size(), 1000U);
}

TEST_F(Options, SigmaWidensTheSimulatedDensity) {
    writeInputs();
    const auto peakFor = [&](const char* sigma) {
        EXPECT_EQ(fit(quick({"--sigma", sigma})).status, 0);
        const std::vector<double> density = voxels("density.map");
        return *std::max_element(density.begin(), density.end());
    };
    const double narrow = peakFor("2");
    const double middle = peakFor("2.5");
    EXPECT_GT(narrow, middle);
    ASSERT_EQ(fit(quick()).status, 0);
    const std::vector<double> byDefault = voxels("density.map");
    EXPECT_EQ(*std::max_element(byDefault.begin(), byDefault.end()), middle)
        << "the default is the voxel edge";
}

/// The map's voxels as the scan sees them at the identity: the outermost ones read 0, and what does not rise
/// above the mean by `sigmas` standard deviations is cut.
std::vector<double> filteredVoxels(const TestMap& map, double sigmas) {
    std::vector<double> values(map.values.size(), 0.0);
    for (int i = 1; i + 1 < map.size[0]; ++i) {
        for (int j = 1; j + 1 < map.size[1]; ++j) {
            for (int k = 1; k + 1 < map.size[2]; ++k) {
                values[map.index(i, j, k)] =
                    static_cast<double>(static_cast<float>(map.values[map.index(i, j, k)]));
            }
        }
    }
    double sum = 0.0;
    double squares = 0.0;
    for (const double value : values) {
        sum += value;
        squares += value * value;
    }
    const double mean = sum / static_cast<double>(values.size());
    const double deviation = std::sqrt(squares / static_cast<double>(values.size()) - mean * mean);
    for (double& value : values) {
        if (deviation * sigmas > value - mean) {
            value = 0.0;
        }
    }
    return values;
}

/// The largest sum of map times simulated density over the shifts of the model's grid, whose corner lies up
/// to 15 nodes above that of the map, on the scale of scores.
double Options::bestDirectSum(double filterSigma) const {
    const std::vector<double> target = filteredVoxels(m_map, filterSigma);
    const std::vector<double> density = voxels("density.map");
    double best = 0.0;
    for (int di = -15; di <= 1; ++di) {
        for (int dj = -15; dj <= 1; ++dj) {
            for (int dk = -15; dk <= 1; ++dk) {
                double sum = 0.0;
                for (int i = std::max(0, -di); i < std::min(m_map.size[0], m_map.size[0] - di); ++i) {
                    for (int j = std::max(0, -dj); j < std::min(m_map.size[1], m_map.size[1] - dj); ++j) {
                        for (int k = std::max(0, -dk); k < std::min(m_map.size[2], m_map.size[2] - dk); ++k) {
                            sum +=
                                target[m_map.index(i, j, k)] * density[m_map.index(i + di, j + dj, k + dk)];
                        }
                    }
                }
                best = std::max(best, sum);
            }
        }
    }
    return best / (8.0 * pi * pi * pi);
}

TEST_F(Options, FilterSigmaDecidesWhichVoxelsCount) {
    const TestMap empty;
    const std::vector<TestAtom> atoms = makeModel(empty.centre() + Vec{1.3, -2.1, 0.7});
    writeInputs(atoms, simulate(empty, atoms, 2.5, 0.05));
    std::vector<double> scores;
    for (const double sigmas : {-3.0, 0.0, 1.0, 3.0}) {
        ASSERT_EQ(fit(coarse({"--filtersigma", std::to_string(sigmas)})).status, 0);
        const WrittenPose best = poses("Rigid_solution.pdb").at(0);
        EXPECT_EQ(squaredNorm(best.angles()), 0.0);
        EXPECT_NEAR(best.score(), bestDirectSum(sigmas), 2e-6) << sigmas;
        scores.push_back(best.score());
    }
    EXPECT_GT(scores[0], scores[1]);
    EXPECT_GT(scores[1], scores[2]);
    EXPECT_GT(scores[2], scores[3]);
}

TEST_F(Options, NoPaddingLeavesTheGridAsLargeAsTheMap) {
    writeInputs();
    const std::string label = " Best grid size " + std::string(64, '.') + " : ";
    EXPECT_TRUE(contains(fit(quick()).out, label + "[32, 32, 32]\n"));
    const RunResult result = fit(quick({"--nopadding"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.out, label + "[20, 24, 18]\n"));
    EXPECT_TRUE(contains(result.out, "= Zero padding the grids and densities ="));
}

TEST_F(Options, OutputDirectoryMayHaveAnyName) {
    writeInputs();
    const std::set<std::string> results = {"Rigid_solution.pdb", "Solution.pdb", "original.pdb", "edm.map",
                                           "log.txt"};
    std::set<std::string> expected = {"model.pdb", "map.ccp4", "density.map"};
    for (const std::string name : {"two words", "it's", "\"quoted\"", "a; touch b", "$(touch c)", "`touch d`",
                                   "-p", "*", "$HOME", "tab\tand\nline"}) {
        const RunResult result = fit(quick({"--odir", name}));
        ASSERT_EQ(result.status, 0) << name << result.err;
        EXPECT_EQ(besidesTheStep(result.err), "") << name;
        expected.insert(name);
        EXPECT_EQ(entries(), expected);
        EXPECT_EQ(entries("./" + name), results);
    }
}

TEST_F(Options, OutputDirectoryMayEndInASlashAndExist) {
    writeInputs();
    for (int repetition = 0; repetition < 2; ++repetition) {
        ASSERT_EQ(fit(quick({"--odir", "out/"})).status, 0);
    }
    EXPECT_EQ(entries("out").size(), 5U);
    EXPECT_TRUE(contains(read("out/log.txt"), " --odir out/\n"));
}

/// A run without modes never solves the network, so its constants cannot change the poses.
TEST_F(Options, NetworkConstantsMakeNoDifferenceWithoutModes) {
    writeInputs();
    ASSERT_EQ(fit(coarse()).status, 0);
    const std::string expected = read("Solution.pdb");
    ASSERT_EQ(fit(coarse({"--cutoff", "15", "--stiffness", "4", "--nmodes", "0"})).status, 0);
    EXPECT_EQ(read("Solution.pdb"), expected);
}

TEST_F(Options, ModesBendTheModelByTheirAmplitudes) {
    writeInputs();
    const RunResult result = fit(coarse({"--nmodes", "5", "--maxrmsd", "2"}));
    ASSERT_EQ(result.status, 0) << result.err;
    const double mass = totalMass(m_model);
    char squaredShare[40];
    std::snprintf(squaredShare, sizeof squaredShare, " : %g\n", 4.0 * mass);
    EXPECT_TRUE(contains(result.out, " sqEtaNorm Norm" + std::string(65, '.') + squaredShare));

    for (const WrittenPose& pose : poses("Rigid_solution.pdb")) {
        ASSERT_EQ(pose.eta().size(), 5U);
        EXPECT_EQ(pose.lines[7], "REMARK  12 CCF eta        : 0.000000 0.000000 0.000000 0.000000 0.000000 ");
    }
    bool bent = false;
    for (const WrittenPose& pose : poses()) {
        ASSERT_EQ(pose.eta().size(), 5U);
        double amplitude = 0.0;
        for (const double eta : pose.eta()) {
            amplitude += eta * eta;
        }
        // The modes are orthonormal under the masses: the mass-weighted square of the bending is that of the
        // amplitudes. What a coordinate was rounded by is all that may differ.
        double bending = 0.0;
        double roundings = 0.0;
        for (std::size_t a = 0; a < m_model.size(); ++a) {
            const Vec u = pose.positions[a] - placed(pose, m_model[a].position, m_map.centre());
            bending += massOf(m_model[a]) * squaredNorm(u);
            roundings += massOf(m_model[a]) * 3.0 * 0.001 * 0.001;
        }
        EXPECT_NEAR(std::sqrt(bending), std::sqrt(amplitude), 2.0 * std::sqrt(roundings));
        EXPECT_LE(std::sqrt(amplitude), 1.01 * std::sqrt(4.0 * mass + 2.0 * squaredNorm(m_map.voxel)));
        bent = bent || amplitude > 0.0;
    }
    EXPECT_TRUE(bent);
}

TEST_F(Options, CutoffAndStiffnessReachTheModes) {
    writeInputs();
    const auto solution = [&](const char* cutoff, const char* stiffness) {
        EXPECT_EQ(
            fit(quick({"--nmodes", "3", "--maxrmsd", "1", "--cutoff", cutoff, "--stiffness", stiffness}))
                .status,
            0);
        return poses().at(0);
    };
    const auto amplitudes = [](const WrittenPose& pose) {
        double sum = 0.0;
        for (const double eta : pose.eta()) {
            sum += eta * eta;
        }
        return sum;
    };
    const WrittenPose reference = solution("10", "1");
    EXPECT_NE(solution("15", "1").eta(), reference.eta());
    // Other springs of one constant have the same modes, however stiff they are; their order and size stay.
    EXPECT_NEAR(amplitudes(solution("10", "4")), amplitudes(reference), 0.02 * amplitudes(reference));
}

TEST_F(Options, HelpGoesToTheOutputAndMakesNoDirectory) {
    const RunResult help = run({"--odir", "out", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_TRUE(contains(help.out, "\nUSAGE: \n"));
    EXPECT_TRUE(contains(help.out, "\nWhere: \n"));
    for (const char* listed :
         {"--ipdb <string>", "--iedm <string>", "--nthread <unsigned integer>", "--sigma <double>",
          "--filtersigma <double>", "--dangle <double>", "--clusterThreshold <double>", "--odir <string>",
          "--nsolutions <integer>", "--nclusters <integer>", "--clustering", "--nopadding"}) {
        EXPECT_TRUE(contains(help.out, listed)) << listed;
    }
    for (const char* hidden : {"--nmodes", "--cutoff", "--stiffness", "--maxrmsd", "--multistep", "--help",
                               "--version", "--changelog", "Selvane", "****"}) {
        EXPECT_FALSE(contains(help.out, hidden)) << hidden;
    }
    EXPECT_EQ(entries(), std::set<std::string>{});

    EXPECT_EQ(run({"-h"}).out, run({"--help"}).out);
}

TEST_F(Options, VersionAndChangelogPrintTheirTexts) {
    const RunResult version = run({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "\n" + binaryPath() + "  version: No version set.\n\n");
    for (const char* flag : {"--changelog", "-log"}) {
        const RunResult changelog = run({flag});
        EXPECT_EQ(changelog.status, 0);
        EXPECT_EQ(changelog.out, binaryPath() + "  ChangeLog:\n");
        EXPECT_EQ(changelog.err, "");
    }
}

TEST_F(Options, WordsBehindTheDoubleDashAreIgnored) {
    writeInputs();
    EXPECT_EQ(fit(quick({"--", "--nosuchoption", "rest"})).status, 0);
    EXPECT_TRUE(exists("Solution.pdb"));
}

TEST_F(Options, ErrorsOfTheCommandLineEndBeforeTheRun) {
    writeInputs();
    const std::set<std::string> before = entries();
    const std::vector<std::pair<Arguments, std::string>> cases = {
        {{}, "Required arguments missing"},
        {{"--ipdb", "model.pdb"}, "iedm"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--nosuchoption"}, "--nosuchoption"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--dangle", "wide"}, "dangle"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--odir", "out"},
         "Argument already set!"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--nthread", "0"}, "nthread"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--nthread", "-1"}, "nthread"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--nsolutions", "0"}, "nsolutions"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--dangle", "0"}, "dangle"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--dangle", "0.01"}, "dangle"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--dangle", "nan"}, "dangle"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--sigma", "0"}, "sigma"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--sigma", "75"}, "sigma"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--filtersigma", "inf"},
         "filtersigma"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--cutoff", "0"}, "cutoff"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--stiffness", "-1"}, "stiffness"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", "out", "--nmodes", "-5"}, "nmodes"},
        {{"--ipdb", "model.pdb", "--iedm", "map.ccp4", "--odir", ""}, "odir"},
    };
    for (const auto& [arguments, text] : cases) {
        const RunResult result = run(arguments);
        EXPECT_EQ(result.status, 1) << text;
        EXPECT_EQ(result.out, "") << text;
        for (const std::string& part : {std::string("PARSE ERROR: "), text, std::string("Brief USAGE: "),
                                        std::string("For complete USAGE and HELP type: ")}) {
            EXPECT_TRUE(contains(result.err, part)) << part << " in " << result.err;
        }
        EXPECT_EQ(entries(), before) << text;
    }
}

TEST_F(Options, InputThatIsAlsoAnOutputIsRefused) {
    writeInputs();
    const std::vector<std::pair<std::string, std::string>> maps = {
        {"edm.map", "./"}, {"density.map", "out"}, {"out/edm.map", "out"}};
    ASSERT_EQ(fit(quick({"--odir", "out"})).status, 0);
    for (const auto& [name, directory] : maps) {
        write(name, read("map.ccp4"));
        const RunResult result = run(quick({"--ipdb", "model.pdb", "--iedm", name, "--odir", directory}));
        EXPECT_EQ(result.status, 1) << name;
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(contains(result.err, name)) << result.err;
        EXPECT_EQ(read(name), read("map.ccp4"));
    }
    for (const char* name : {"out/original.pdb", "out/Solution.pdb", "out/Rigid_solution.pdb"}) {
        const std::string before = read(name);
        EXPECT_EQ(run(quick({"--ipdb", name, "--iedm", "map.ccp4", "--odir", "out"})).status, 1) << name;
        EXPECT_EQ(read(name), before);
    }
}

} // namespace
