// SPDX-License-Identifier: GPL-3.0-or-later
// Whole runs on a map of known answer.
#include <array>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "IO/shellQuote.h"
#include "examples/ccp4.h"
#include "examples/example.h"
#include "examples/pdb.h"
#include "fit/tests/csv.h"
#include "fit/tests/runProgram.h"
#include "fit/tests/scratchFolder.h"

#include <nlohmann/json.hpp>

namespace {

using example::Model;
using example::Placement;
using example::Vec3;
using Words = std::vector<std::string>;

constexpr double resolution = 10.0; // angstrom, of the map

/// RMSD in angstrom of a right pose at most: the noise moves the maximum by some hundredths. Wrong places are
/// off by 15 A and more.
constexpr double rightPose = 0.2;

/// For what does not depend on how good the poses are.
const Words coarse = {"--step", "40", "--scan-resolution", "15"};

Words coarseWith(Words more) {
    more.insert(more.end(), coarse.begin(), coarse.end());
    return more;
}

const example::Example& scene() {
    static const example::Example made = [] {
        example::Options options;
        options.resolution = resolution;
        options.noise = 0.3;
        options.spacing = 3.4;
        return example::makeExample(options);
    }();
    return made;
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

Model shifted(Model model, const Vec3& by) {
    for (example::Atom& atom : model) {
        atom.position = atom.position + by;
    }
    return model;
}

/// The map with its place told by the ORIGIN words, which take any vector.
std::string mapAtOrigin(const Vec3& origin) {
    constexpr std::size_t startWords = 16;
    constexpr std::size_t originWords = 196;
    std::string bytes = example::ccp4Bytes(scene().map);
    std::memset(bytes.data() + startWords, 0, 12);
    const std::array<float, 3> words = {static_cast<float>(origin.x), static_cast<float>(origin.y),
                                        static_cast<float>(origin.z)};
    std::memcpy(bytes.data() + originWords, words.data(), sizeof(words));
    return bytes;
}

class SelvaneFit : public testing::Test {
protected:
    SelvaneFit() {
        m_scratch.write("map.ccp4", example::ccp4Bytes(scene().map));
        m_scratch.write("model.pdb", example::pdbText(scene().model, "model"));
    }

    Outcome shell(const std::string& command) const { return runShell(m_scratch, command); }

    Outcome fit(const Words& words) const { return runProgram(m_scratch, SELVANE_FIT_BINARY, words); }

    Outcome fitInto(const std::string& folder, const Words& more = {}, const std::string& map = "map.ccp4",
                    const std::string& model = "model.pdb") const {
        Words words = {map, model, "-r", "10", "-o", folder, "--threads", "2"};
        words.insert(words.end(), more.begin(), more.end());
        return fit(words);
    }

    Model pose(const std::string& name) const {
        return example::posesFromPdb(m_scratch.read(name)).at(0).atoms;
    }

    ScratchFolder m_scratch;
};

TEST_F(SelvaneFit, PutsTheModelWhereTheMapShowsIt) {
    const Outcome run = fitInto("out", {"--poses", "3"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_LT(example::rmsd(pose("out/pose_01.pdb"), scene().truth), rightPose);
    EXPECT_EQ(m_scratch.entries(),
              (std::set<std::string>{"map.ccp4", "model.pdb", "out", "out/log.txt", "out/pose_01.pdb",
                                     "out/pose_02.pdb", "out/pose_03.pdb", "out/poses.csv", "out/prepared",
                                     "out/prepared/command.txt", "out/prepared/frame.json",
                                     "out/prepared/map.ccp4", "out/prepared/model.pdb", "out/summary.json"}));
    EXPECT_TRUE(contains(run.out, "out/pose_01.pdb") && contains(run.out, "map.ccp4")) << run.out;
    EXPECT_EQ(run.out.find('\n'), run.out.size() - 1) << run.out;
    EXPECT_TRUE(contains(run.err, "\nscan\n")) << run.err;
}

/// The motion of a row of poses.csv applied to the model gives the file of that row.
TEST_F(SelvaneFit, TableAndFilesTellTheSameMotion) {
    ASSERT_EQ(fitInto("out", coarseWith({"--poses", "2", "--quiet"})).status, 0);
    const auto rows = csvRows(m_scratch.read("out/poses.csv"));
    ASSERT_GE(rows.size(), 2U);
    const std::vector<std::string> files = {"pose_01.pdb", "pose_02.pdb"};
    for (std::size_t k = 0; k < files.size(); ++k) {
        const auto number = [&](const std::string& name) { return std::stod(rows[k].at(name)); };
        Model moved = scene().model;
        for (example::Atom& atom : moved) {
            const Vec3 p = atom.position;
            const auto coordinate = [&](const std::string& row, const std::string& axis) {
                return number("r" + row + "1") * p.x + number("r" + row + "2") * p.y +
                       number("r" + row + "3") * p.z + number("t" + axis);
            };
            atom.position = {coordinate("1", "x"), coordinate("2", "y"), coordinate("3", "z")};
        }
        EXPECT_EQ(rows[k].at("file"), files[k]);
        EXPECT_LT(example::rmsd(pose("out/" + files[k]), moved), 2e-3); // three decimals
    }
}

TEST_F(SelvaneFit, PosesFollowTheOriginOfTheMap) {
    const Vec3 before = scene().map.lattice.position(0, 0, 0);
    ASSERT_EQ(fitInto("here", coarseWith({"--poses", "3"})).status, 0);
    const Vec3 by{123.456, -78.9, 1000.03125};
    m_scratch.write("moved.mrc", mapAtOrigin(before + by));
    ASSERT_EQ(fitInto("there", coarseWith({"--poses", "3"}), "moved.mrc").status, 0);
    for (const char* name : {"/pose_01.pdb", "/pose_02.pdb", "/pose_03.pdb"}) {
        EXPECT_LT(
            example::rmsd(shifted(pose(std::string("here") + name), by), pose(std::string("there") + name)),
            0.01);
    }
}

/// The file's three decimals move an atom by half a thousandth, and the model's axes with it.
TEST_F(SelvaneFit, PosesDoNotDependOnWhereAndHowTurnedTheModelsFileHasIt) {
    const double half = std::sqrt(0.5);
    const Placement moved{
        {{{half, -half, 0.0}, {0.6 * half, 0.6 * half, -0.8}, {0.8 * half, 0.8 * half, 0.6}}},
        {-321.5, 77.25, 19.125}};
    ASSERT_EQ(fitInto("here", coarseWith({"--poses", "3"})).status, 0);
    m_scratch.write("moved.pdb", example::pdbText(example::placed(scene().model, moved), "moved"));
    ASSERT_EQ(fitInto("there", coarseWith({"--poses", "3"}), "map.ccp4", "moved.pdb").status, 0);
    for (const char* name : {"/pose_01.pdb", "/pose_02.pdb", "/pose_03.pdb"}) {
        EXPECT_LT(example::rmsd(pose(std::string("here") + name), pose(std::string("there") + name)), 0.01);
    }
}

TEST_F(SelvaneFit, TheCommandOfThePreparedFilesFindsTheSamePlace) {
    const Outcome prepared = fitInto("out", {"--prepare-only", "--step", "22"});
    ASSERT_EQ(prepared.status, 0) << prepared.err;
    EXPECT_TRUE(contains(prepared.out, "out/prepared")) << prepared.out;
    EXPECT_FALSE(m_scratch.has("out/poses.csv"));
    const std::string command = m_scratch.read("out/prepared/command.txt");
    ASSERT_EQ(command.compare(0, 8, "selvane "), 0) << command;
    const Outcome scan = shell(shellQuote(SELVANE_BINARY) + command.substr(7, command.find('\n') - 7));
    ASSERT_EQ(scan.status, 0) << scan.err;
    const auto frame = nlohmann::json::parse(m_scratch.read("out/prepared/frame.json"));
    const std::vector<double> shift = frame["map_shift"];
    const double voxel = frame["voxel_size"][0];
    const Model theirs = shifted(pose("out/prepared/Solution.pdb"), {shift[0], shift[1], shift[2]});

    ASSERT_EQ(fitInto("out", {"--poses", "1", "--step", "14"}).status, 0); // prepared files are no results
    const Model ours = pose("out/pose_01.pdb");
    EXPECT_LT(example::rmsd(ours, theirs), 1.5 * voxel);
    EXPECT_LT(example::rmsd(theirs, scene().truth), 1.5 * voxel);
}

/// Elsewhere is where the model is not looked for, be it the right place.
TEST_F(SelvaneFit, NearLooksOnlyAroundThePresentPlace) {
    constexpr double distance = 5.0;
    m_scratch.write("truth.pdb", example::pdbText(scene().truth, "truth"));
    ASSERT_EQ(fitInto("near", {"--near", "6,5", "--quiet"}, "map.ccp4", "truth.pdb").status, 0);
    const auto rows = csvRows(m_scratch.read("near/poses.csv"));
    ASSERT_FALSE(rows.empty());
    EXPECT_LT(example::rmsd(pose("near/pose_01.pdb"), scene().truth), rightPose);
    const Model beside = shifted(scene().truth, {18.0, 0.0, 0.0});
    m_scratch.write("beside.pdb", example::pdbText(beside, "beside"));
    ASSERT_EQ(fitInto("far", coarseWith({"--near", "180,5", "--quiet"}), "map.ccp4", "beside.pdb").status, 0);
    for (const char* name : {"/pose_01.pdb", "/pose_02.pdb"}) {
        const Vec3 found = example::centroid(pose(std::string("far") + name));
        EXPECT_LT(example::norm(found - example::centroid(beside)), distance + resolution);
    }
}

TEST_F(SelvaneFit, NearAPlaceWithoutDensityEndsWithARemedy) {
    const Outcome run = fitInto("out", {"--near", "180,5", "--quiet"});
    EXPECT_EQ(run.status, 1);
    EXPECT_TRUE(contains(run.err, "map.ccp4: ") && contains(run.err, "--near")) << run.err;
}

TEST_F(SelvaneFit, ReplacesEarlierResultsOnlyWhenTold) {
    ASSERT_EQ(fitInto("out", coarseWith({"--poses", "3"})).status, 0);
    m_scratch.write("out/notes.txt", "mine");
    const std::string first = m_scratch.read("out/poses.csv");
    const Outcome refused = fitInto("out");
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(contains(refused.err, "--restart") && contains(refused.err, "--output")) << refused.err;
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(m_scratch.read("out/poses.csv"), first);

    m_scratch.write("none.ccp4", "no map");
    EXPECT_EQ(fitInto("out", {"--restart"}, "none.ccp4").status, 1);
    EXPECT_EQ(m_scratch.read("out/poses.csv"), first);
    EXPECT_TRUE(m_scratch.has("out/pose_03.pdb"));

    ASSERT_EQ(fitInto("out", {"--restart", "--poses", "2", "--format", "cif", "--step", "50",
                              "--scan-resolution", "15"})
                  .status,
              0);
    EXPECT_NE(m_scratch.read("out/poses.csv"), first);
    EXPECT_TRUE(m_scratch.has("out/pose_02.cif") && m_scratch.has("out/notes.txt"));
    EXPECT_FALSE(m_scratch.has("out/pose_01.pdb") || m_scratch.has("out/pose_03.pdb"));
}

TEST_F(SelvaneFit, QuietSaysTheVerdictAlone) {
    const Outcome run = fitInto("out", coarseWith({"--quiet"}));
    ASSERT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_NE(run.out, "");
}

TEST_F(SelvaneFit, EndsWithOneLineForInputsThatCannotBeUsed) {
    m_scratch.write("empty", "");
    m_scratch.write("text.txt", "neither a map nor a model\n");
    const std::vector<std::array<std::string, 3>> cases = {
        {"none.ccp4", "model.pdb", "none.ccp4"}, {"map.ccp4", "none.pdb", "none.pdb"},
        {"empty", "model.pdb", "empty"},         {"map.ccp4", "empty", "empty"},
        {"text.txt", "model.pdb", "text.txt"},   {"map.ccp4", "text.txt", "text.txt"},
        {"model.pdb", "map.ccp4", "map.ccp4"},   {".", "model.pdb", "."}};
    for (const auto& [map, model, named] : cases) {
        const Outcome run = fitInto("out", {"--quiet"}, map, model);
        EXPECT_EQ(run.status, 1) << map << " " << model;
        EXPECT_TRUE(contains(run.err, "selvane-fit: " + named)) << run.err;
        EXPECT_EQ(run.err.find('\n'), run.err.size() - 1) << run.err;
        EXPECT_EQ(run.out, "");
        EXPECT_FALSE(m_scratch.has("out"));
    }
}

/// The matrix library asks for its threads' buffers again without an end where a limit refuses them.
TEST_F(SelvaneFit, EndsUnderALimitOfItsAddressSpace) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer takes more address space than any limit";
#endif
    constexpr int timedOut = 124;
    for (const char* kilobytes : {"80000", "120000", "200000", "400000"}) {
        const Outcome run =
            shell(std::string("( ulimit -v ") + kilobytes + "; timeout 60 " + shellQuote(SELVANE_FIT_BINARY) +
                  " map.ccp4 model.pdb -r 10 -o out --threads 1 --step 60 --scan-resolution 15 --restart )");
        EXPECT_NE(run.status, timedOut) << kilobytes;
        EXPECT_TRUE(run.status == 0 || (run.status == 1 && contains(run.err, "ulimit")) || run.status == 127)
            << kilobytes << ": " << run.status << " " << run.err;
    }
}

TEST_F(SelvaneFit, NamesTheMaskThatLiesElsewhere) {
    m_scratch.write("mask.mrc", mapAtOrigin({1.0, 2.0, 3.0}));
    const Outcome run = fitInto("out", {"--quiet", "--mask", "mask.mrc"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err.find("selvane-fit: mask.mrc: the mask has another frame"), 0U) << run.err;
}

/// The columns of the PDB format end at 9999.999 A.
TEST_F(SelvaneFit, SaysThatPosesBeyondTheColumnsOfPdbAreMmcif) {
    m_scratch.write("far.mrc", mapAtOrigin({20000.0, 0.0, 0.0}));
    const Outcome run = fitInto("out", coarseWith({"--quiet", "--poses", "2"}), "far.mrc");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_TRUE(m_scratch.has("out/pose_02.cif"));
    EXPECT_TRUE(contains(run.err, "model.pdb: 2 of 2 poses are written as mmCIF")) << run.err;
}

TEST_F(SelvaneFit, ASignalLeavesNoPartialFiles) {
    const pid_t child = fork();
    if (child == 0) {
        const int log = open(m_scratch.of("err.txt").c_str(), O_WRONLY | O_CREAT, 0600);
        if (chdir(m_scratch.of("").c_str()) != 0 || dup2(log, STDERR_FILENO) < 0) {
            _exit(9);
        }
        execl(SELVANE_FIT_BINARY, SELVANE_FIT_BINARY, "map.ccp4", "model.pdb", "-r", "10", "-o", "out",
              "--step", "3", "--threads", "1", static_cast<char*>(nullptr));
        _exit(9);
    }
    constexpr int mostTries = 2000;
    for (int i = 0; i < mostTries && !contains(m_scratch.read("err.txt"), "scan"); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    kill(child, SIGTERM);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_TRUE(contains(m_scratch.read("err.txt"), "selvane-fit: interrupted by SIGTERM"));
    EXPECT_EQ(m_scratch.entries(), (std::set<std::string>{"err.txt", "map.ccp4", "model.pdb", "out"}));
}

} // namespace
