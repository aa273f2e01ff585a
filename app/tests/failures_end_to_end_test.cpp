// SPDX-License-Identifier: GPL-3.0-or-later
// How runs end that cannot go on, and how runs go on that can.
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <limits>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Math/pi.h"
#include "app/tests/RunFixture.h"
#include "app/tests/solutionFile.h"

namespace {

namespace fs = std::filesystem;

class Failures : public RunFixture {
protected:
    /// Expects the end of a stage that finds its input unusable: status 1, one line that names file and
    /// remedy.
    void expectStageFailure(const RunResult& result, const std::string& file, const std::string& text) const {
        EXPECT_EQ(result.status, 1) << result.err;
        EXPECT_TRUE(contains(result.err, "selvane: " + file)) << result.err;
        EXPECT_TRUE(contains(result.err, text)) << result.err;
        EXPECT_FALSE(contains(result.out, " Timing : "));
        EXPECT_FALSE(exists("log.txt"));
        EXPECT_FALSE(exists("Solution.pdb"));
    }
};

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

TEST_F(Failures, MapThatCannotBeOpenedEndsByAnException) {
    writeInputs();
    const RunResult result = run(quick({"--ipdb", "model.pdb", "--iedm", "nowhere.ccp4"}));
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_EQ(result.err, "selvane: Error: could not open CCP4 density map file nowhere.ccp4\n");
    EXPECT_TRUE(endsWith(result.out, " : nowhere.ccp4\n")) << "the report is flushed";
    EXPECT_FALSE(exists("log.txt"));
}

TEST_F(Failures, ExceptionOfAStageIsNamed) {
    writeInputs();
    // 20 residues have 120 block coordinates, too few for so many modes.
    const RunResult result = fit(quick({"--nmodes", "200"}));
    EXPECT_EQ(result.signal, SIGABRT);
    EXPECT_TRUE(contains(result.err, "selvane: eigs_sym()")) << result.err;
}

TEST_F(Failures, ModelThatCannotBeOpenedEndsWithItsMessage) {
    writeInputs();
    const RunResult result = run(quick({"--ipdb", "nowhere.pdb", "--iedm", "map.ccp4"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.out, "Error: could not open pdb file nowhere.pdb")) << result.out;
    EXPECT_TRUE(contains(result.out, "Input PDB file "));
    EXPECT_FALSE(exists("log.txt"));
}

TEST_F(Failures, AtomWithoutNeighboursEndsTheRunWithStatusZero) {
    // Seen to fail with status 1.
    writeInputs();
    std::vector<TestAtom> atoms = m_model;
    atoms.push_back({"CA", 'C', "GLY", 'B', 21, {500.0, 500.0, 500.0}});
    write("model.pdb", pdbText(atoms));
    const RunResult result = fit(quick());
    EXPECT_EQ(result.status, 0);
    char mass[40];
    std::snprintf(mass, sizeof mass, " : %g  \n", totalMass(atoms));
    EXPECT_TRUE(endsWith(result.out, " Total mass " + std::string(68, '.') + mass)) << result.out;
    EXPECT_TRUE(contains(result.err, "selvane: model.pdb: atom 101 (CA of GLY 21, chain 'B')")) << result.err;
    EXPECT_TRUE(contains(result.err, "cut-off of 10")) << result.err;
    EXPECT_EQ(entries(), (std::set<std::string>{"model.pdb", "map.ccp4"}));
}

TEST_F(Failures, CutoffBelowTheBondsLeavesEveryAtomAlone) {
    writeInputs();
    const RunResult result = fit(quick({"--cutoff", "0.25"}));
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.err, "cut-off of 0.25")) << result.err;
    EXPECT_TRUE(contains(result.err, "--cutoff")) << result.err;
}

TEST_F(Failures, CutoffWhoseCellsCannotBeCountedEndsWithStatusOne) {
    writeInputs();
    expectStageFailure(fit(quick({"--cutoff", "1e-9"})), "model.pdb", "raise --cutoff");
}

TEST_F(Failures, ModelWithoutAtoms) {
    writeInputs();
    write("model.pdb",
          "HETATM    1  O   HOH A   1       1.000   2.000   3.000  1.00  0.00           O\nEND\n");
    const RunResult result = fit(quick());
    expectStageFailure(result, "model.pdb", "atoms");
    EXPECT_TRUE(contains(result.out, " Number of atoms " + std::string(63, '.') + " : 0  \n"));
}

TEST_F(Failures, AtomWithoutAFinitePosition) {
    writeInputs();
    std::string text = read("model.pdb");
    text.replace(text.find("ATOM      3") + 30, 8, "     nan");
    write("model.pdb", text);
    expectStageFailure(fit(quick()), "model.pdb", "atom 3 ");
}

TEST_F(Failures, AtomsAbsurdlyFarApart) {
    writeInputs();
    std::string text = pdbText(m_model);
    // A pair, so that neither atom is alone.
    for (const char* serial : {"ATOM      1", "ATOM      2"}) {
        text.replace(text.find(serial) + 30, 8, " 1.0e+08");
    }
    write("model.pdb", text);
    expectStageFailure(fit(quick()), "model.pdb", "Check for atoms far from the rest.");
}

TEST_F(Failures, AtomsAtOnePlaceAreToldAndTheRunGoesOn) {
    writeInputs();
    std::vector<TestAtom> atoms = m_model;
    atoms[7].position = atoms[6].position;
    write("model.pdb", pdbText(atoms));
    const RunResult result = fit(quick());
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.err, "selvane: model.pdb: atoms 7 and 8")) << result.err;
    EXPECT_EQ(linesOf(besidesTheStep(result.err)).size(), 1U);
    // With modes the network is built, and the line is the same.
    EXPECT_EQ(fit(quick({"--nmodes", "3"})).err, result.err);
}

struct BrokenMap {
    const char* what;
    std::function<void(std::string&)> damage;
    const char* message; ///< of the reader; empty where it has none
};

TEST_F(Failures, MapsWithoutUsableVoxelsEndWithStatusOne) {
    constexpr std::size_t firstVoxel = 1024;
    writeInputs();
    const std::string intact = read("map.ccp4");
    const std::vector<BrokenMap> cases = {
        {"an empty file", [](std::string& bytes) { bytes.clear(); }, "Error: "},
        {"mode 0", [](std::string& bytes) { setIntAt(bytes, 12, 0); },
         "Error: Non-real (32-bit float) data types are unsupported "},
        {"cut in the voxels", [](std::string& bytes) { bytes.resize(bytes.size() - 400); },
         "Error: File appears truncated and doesn't match header. "},
        {"cut in the header", [](std::string& bytes) { bytes.resize(500); }, "Error: "},
        {"far too long", [](std::string& bytes) { bytes.append(2000000, '\0'); },
         "Error: File is MUCH larger than expected and doesn't match header. "},
        {"extents of which the file knows nothing",
         [](std::string& bytes) {
             for (const std::size_t offset : {0U, 4U, 8U}) {
                 setIntAt(bytes, offset, 2000000000);
             }
         },
         "Error: "},
        {"a negative extent", [](std::string& bytes) { setIntAt(bytes, 0, -20); }, ""},
        {"an axis order that is no permutation", [](std::string& bytes) { setIntAt(bytes, 64, 2); }, ""},
        {"a cell that is not finite",
         [](std::string& bytes) { setFloatAt(bytes, 40, std::numeric_limits<float>::infinity()); }, ""},
        {"a negative cell", [](std::string& bytes) { setFloatAt(bytes, 44, -50.0F); }, ""},
        {"a voxel that is not a number",
         [](std::string& bytes) {
             setFloatAt(bytes, firstVoxel + 400, std::numeric_limits<float>::quiet_NaN());
         },
         ""},
        {"an infinite voxel",
         [](std::string& bytes) { setFloatAt(bytes, firstVoxel, std::numeric_limits<float>::infinity()); },
         ""},
    };
    for (const BrokenMap& broken : cases) {
        SCOPED_TRACE(broken.what);
        std::string bytes = intact;
        broken.damage(bytes);
        write("map.ccp4", bytes);
        const RunResult result = fit(quick());
        expectStageFailure(result, "map.ccp4", broken.message);
        EXPECT_TRUE(endsWith(result.out, " Input EDM file " + std::string(64, '.') + " : map.ccp4\n"));
    }
}

TEST_F(Failures, MapWithAnAxisOfOneVoxel) {
    writeInputs();
    TestMap flat;
    flat.size = {20, 1, 18};
    writeInputs(m_model, simulate(flat, m_model, 2.5));
    expectStageFailure(fit(quick()), "map.ccp4", "one voxel");
}

TEST_F(Failures, MapWithoutItsMagicWordIsReadAllTheSame) {
    writeInputs();
    ASSERT_EQ(fit(quick()).status, 0);
    const std::string expected = read("Solution.pdb");
    std::string bytes = read("map.ccp4");
    bytes.replace(208, 4, "XXX ");
    write("map.ccp4", bytes);
    const RunResult result = fit(quick());
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.err, "Error: 'MAP' string missing, not a valid CCP4 file \n")) << result.err;
    EXPECT_EQ(read("Solution.pdb"), expected);
}

TEST_F(Failures, CompressedInputsAreNamed) {
    writeInputs();
    const std::string gzip =
        std::string("\x1f\x8b\x08\x00\x00\x00\x00\x00\x00\x03", 10) + std::string(3000, 'x');
    write("packed.map", gzip);
    write("packed.pdb", gzip);
    const RunResult map = run(quick({"--ipdb", "model.pdb", "--iedm", "packed.map"}));
    EXPECT_EQ(map.status, 1);
    EXPECT_TRUE(contains(map.err, "packed.map")) << map.err;
    EXPECT_TRUE(contains(map.err, "gzip")) << map.err;
    const RunResult model = run(quick({"--ipdb", "packed.pdb", "--iedm", "map.ccp4"}));
    EXPECT_EQ(model.status, 1);
    EXPECT_TRUE(contains(model.err, "packed.pdb")) << model.err;
    EXPECT_TRUE(contains(model.err, "gzip")) << model.err;
}

TEST_F(Failures, DictionaryFormatOfModelsIsNamed) {
    writeInputs();
    write("model.cif", "data_TEST\n#\nloop_\n_atom_site.group_PDB\n_atom_site.id\n_atom_site.Cartn_x\n"
                       "ATOM 1 N 11.1 12.2 13.3\nATOM 2 C 12.1 13.2 14.3\n#\n");
    const RunResult result = run(quick({"--ipdb", "model.cif", "--iedm", "map.ccp4"}));
    EXPECT_TRUE(contains(result.err, "selvane: model.cif is an mmCIF file; convert it")) << result.err;
    EXPECT_TRUE(contains(result.err, "meaningless places")) << result.err;
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(entries(), (std::set<std::string>{"model.pdb", "map.ccp4", "model.cif"}));
}

TEST_F(Failures, PlaceInTheOriginWordsIsTold) {
    writeInputs();
    m_map.start = {0, 0, 0};
    m_map.originWords = {10.0F, -20.5F, 30.0F};
    const std::vector<TestAtom> atoms = makeModel(m_map.centre());
    writeInputs(atoms, simulate(m_map, atoms, 2.5));
    const RunResult result = fit(quick());
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(contains(result.err, "selvane: map.ccp4: ")) << result.err;
    EXPECT_TRUE(contains(result.err, "(10.000, -20.500, 30.000)")) << result.err;
    EXPECT_LE(rmsd(readPoses(read("Rigid_solution.pdb")).at(0).positions, positionsOf(m_model)), 0.0011);
}

TEST_F(Failures, MapWithoutCandidatesLeavesEmptySolutions) {
    writeInputs();
    for (double& value : m_map.values) {
        value = -1.0 - value;
    }
    writeInputs(m_model, m_map);
    const RunResult result = fit(coarse());
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_TRUE(contains(result.err, "selvane: map.ccp4: no voxel of any rotation scored above 0.0001"))
        << result.err;
    EXPECT_EQ(linesOf(result.err).size(), 1U);
    for (const char* name : {"Rigid_solution.pdb", "Solution.pdb"}) {
        EXPECT_TRUE(exists(name));
        EXPECT_EQ(read(name), "");
    }
    EXPECT_EQ(linesOf(read("original.pdb")).size(), m_model.size());
    EXPECT_EQ(read("edm.map").substr(1024), read("map.ccp4").substr(1024));
    volatile double none = 0.0;
    // Seen to fail with 0 for the share of no poses.
    char share[120];
    std::snprintf(share, sizeof share, "non-convex problem%s : %g %%\n", std::string(62, '.').c_str(),
                  none / none * 100.0);
    EXPECT_TRUE(contains(result.out, share)) << result.out;
    EXPECT_TRUE(contains(result.out, " Timing : "));
}

TEST_F(Failures, OutputDirectoryThatCannotBeMade) {
    // Seen to fail with status 1.
    writeInputs();
    write("out", "a file in the way");
    const RunResult result = fit(quick({"--odir", "out"}));
    EXPECT_EQ(result.status, 0);
    for (const char* path : {"out/Rigid_solution.pdb", "out/Solution.pdb"}) {
        EXPECT_TRUE(contains(result.out, "[ERROR] couldn't create the file " + std::string(47, '.') + " : " +
                                             path + "\n"))
            << result.out;
    }
    for (const char* path : {"out/Rigid_solution.pdb", "out/Solution.pdb"}) {
        EXPECT_TRUE(contains(result.err, "selvane: " + std::string(path) +
                                             " could not be opened for writing: Not a directory. Check its "
                                             "directory and the permissions.\n"))
            << result.err;
    }
    EXPECT_TRUE(contains(result.out, " Timing : "));
    EXPECT_EQ(read("out"), "a file in the way");
}

TEST_F(Failures, LogThatCannotBeWrittenIsToldOnTheErrorStreamAlone) {
    writeInputs();
    ASSERT_EQ(fit(coarse({"--odir", "out"})).err, "");
    fs::remove(m_directory / "work" / "out" / "log.txt");
    fs::create_directories(m_directory / "work" / "out" / "log.txt");
    const RunResult blocked = fit(coarse({"--odir", "out"}));
    EXPECT_EQ(blocked.status, 0);
    EXPECT_FALSE(contains(blocked.out, "log.txt"));
    EXPECT_EQ(blocked.err,
              "selvane: out/log.txt could not be written: Is a directory. Check its directory, the "
              "permissions and the free space of the disk.\n");
    EXPECT_EQ(entries("out").size(), 5U);

    fs::remove(m_directory / "work" / "out" / "log.txt");
    fs::create_symlink("/dev/full", m_directory / "work" / "out" / "log.txt");
    const RunResult full = fit(coarse({"--odir", "out"}));
    EXPECT_EQ(full.status, 0);
    EXPECT_EQ(linesOf(full.err).size(), 1U);
    EXPECT_TRUE(contains(full.err, "selvane: out/log.txt could not be written")) << full.err;
}

TEST_F(Failures, ReportThatCannotBeWrittenIsTold) {
    const std::string line = "selvane: the report on the standard output could not be written completely.";
    writeInputs();
    m_report = "/dev/full";
    const RunResult result = fit(coarse());
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(exists("Solution.pdb"));
    EXPECT_EQ(result.err.rfind(line, 0), 0U) << result.err;
    EXPECT_EQ(linesOf(result.err).size(), 1U);
    // Wherever the process ends.
    EXPECT_TRUE(contains(run({"--help"}).err, line));
    EXPECT_TRUE(contains(run(quick({"--ipdb", "nowhere.pdb", "--iedm", "map.ccp4"})).err, line));
    m_report = "/dev/null";
    EXPECT_EQ(fit(coarse()).err, "");
}

TEST_F(Failures, StepTooCoarseForTheModelIsToldWithABetterOne) {
    writeInputs();
    // Twice the width over the radius is a good step; from four times on there is a line.
    const double good =
        2.0 * m_map.largestVoxel() / radiusOfGyration(positionsOf(m_model)) / radiansPerDegree;
    const auto withStep = [&](double step) {
        return fit({"--nthread", "1", "--nsolutions", "5", "--dangle", std::to_string(step)});
    };
    EXPECT_EQ(withStep(1.98 * good).err, "");
    const RunResult result = withStep(2.02 * good);
    EXPECT_EQ(result.status, 0);
    ASSERT_EQ(linesOf(result.err).size(), 1U) << result.err;
    EXPECT_TRUE(contains(result.err, "selvane: model.pdb: a step of ")) << result.err;
    const std::string advice = "--dangle ";
    const double advised = std::stod(result.err.substr(result.err.find(advice) + advice.size()));
    EXPECT_LE(advised, good);
    EXPECT_GT(advised, 0.9 * good);
    EXPECT_EQ(withStep(advised).err, "");
    // Wider atoms bear a coarser step.
    EXPECT_EQ(
        fit({"--nthread", "1", "--nsolutions", "5", "--dangle", std::to_string(2.02 * good), "--sigma", "3"})
            .err,
        "");
}

TEST_F(Failures, RefinementThatMovesNoPoseIsTold) {
    writeInputs();
    const std::string line = "selvane: the refinement moved no pose, and Solution.pdb holds those of "
                             "Rigid_solution.pdb: ";
    EXPECT_FALSE(contains(fit(coarse()).err, line));
    // So far out that single precision leaves nothing of the angles between model and map.
    std::string bytes = read("map.ccp4");
    setIntAt(bytes, 16, std::numeric_limits<std::int32_t>::max());
    write("map.ccp4", bytes);
    const RunResult result = fit({"--nthread", "1", "--dangle", "60", "--nsolutions", "1"});
    EXPECT_EQ(result.status, 0);
    ASSERT_TRUE(contains(result.out, " : 100 %")) << result.out;
    EXPECT_TRUE(contains(result.err, line + "the score has no maximum near any of them")) << result.err;
    EXPECT_TRUE(contains(result.err, "Give a smaller --dangle")) << result.err;
}

TEST_F(Failures, CopyOfTheInputThatCannotBeOpenedSparesTheOtherFiles) {
    writeInputs();
    for (const char* name : {"out/original.pdb", "out/edm.map", "density.map"}) {
        fs::create_directories(m_directory / "work" / name);
        const RunResult result = fit(quick({"--odir", "out"}));
        EXPECT_EQ(result.status, 0);
        EXPECT_TRUE(
            contains(result.err, "selvane: " + std::string(name) + " could not be opened for writing: "))
            << result.err;
        EXPECT_TRUE(exists("out/Solution.pdb"));
        fs::remove_all(m_directory / "work" / "out");
        fs::remove_all(m_directory / "work" / "density.map");
    }
}

/// Bytes that are enough for the report of a quick run and too few for any of its results.
constexpr std::uintmax_t reportOnly = 7000;

TEST_F(Failures, FullDiskLeavesTheResultsOfAnEarlierRun) {
    writeInputs();
    ASSERT_EQ(fit(quick({"--odir", "out"})).status, 0);
    const std::vector<std::string> paths = {"out/Rigid_solution.pdb", "out/Solution.pdb", "out/original.pdb",
                                            "out/edm.map", "density.map"};
    std::vector<std::string> before;
    for (const std::string& path : paths) {
        before.push_back(read(path));
    }
    const std::set<std::string> entriesBefore = entries();
    const std::set<std::string> resultsBefore = entries("out");

    m_largestFile = reportOnly;
    const RunResult result = fit(quick({"--odir", "out", "--sigma", "3"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.signal, 0);
    EXPECT_TRUE(contains(result.out, " Timing : ")) << result.out;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_TRUE(contains(result.err, "selvane: " + paths[i] +
                                             " could not be written completely. Check the "
                                             "free space of its disk"))
            << result.err;
        EXPECT_TRUE(read(paths[i]) == before[i]) << paths[i];
    }
    EXPECT_EQ(entries(), entriesBefore);
    EXPECT_EQ(entries("out"), resultsBefore);
}

TEST_F(Failures, SolutionFilesAreOfOneRunOrStayAsTheyAre) {
    writeInputs();
    for (const auto& [broken, whole] :
         {std::pair("Solution.pdb", "Rigid_solution.pdb"), std::pair("Rigid_solution.pdb", "Solution.pdb")}) {
        for (const bool isOpened : {true, false}) {
            const fs::path odir = m_directory / "work" / "out";
            fs::remove_all(odir);
            fs::create_directory(odir);
            write(std::string("out/") + whole, "earlier");
            if (isOpened) {
                fs::create_symlink("/dev/full", odir / broken);
            } else {
                fs::create_directory(odir / broken);
            }
            const RunResult result = fit(quick({"--odir", "out"}));
            EXPECT_EQ(result.status, isOpened ? 1 : 0);
            EXPECT_EQ(read(std::string("out/") + whole), "earlier");
            EXPECT_TRUE(contains(result.err, "selvane: out/" + std::string(whole) +
                                                 " stays as an earlier run left it, since out/" + broken +
                                                 " could not be written"))
                << result.err;
            EXPECT_EQ(entries("out").size(), 5U) << "no hidden file stays";
        }
    }
}

/// Between the stages that write them a run can be killed.
TEST_F(Failures, SolutionFilesAppearTogether) {
    writeInputs();
    ASSERT_EQ(fit(quick({"--odir", "out"})).status, 0);
    const std::string rigid = read("out/Rigid_solution.pdb");
    const std::string refined = read("out/Solution.pdb");
    std::atomic<bool> isOver{false};
    int mixed = 0;
    std::thread watcher([&] {
        while (!isOver) {
            // Solution.pdb takes its place last, and may do so between the two looks.
            const bool isRefinedOld = read("out/Solution.pdb") == refined;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            const bool isRigidNew = read("out/Rigid_solution.pdb") != rigid;
            const bool isStillOld = read("out/Solution.pdb") == refined;
            mixed += isRefinedOld && isRigidNew && isStillOld ? 1 : 0;
        }
    });
    EXPECT_EQ(fit({"--odir", "out", "--nthread", "1", "--dangle", "60", "--nsolutions", "3000"}).status, 0);
    isOver = true;
    watcher.join();
    EXPECT_LE(mixed, 1);
    EXPECT_NE(read("out/Rigid_solution.pdb"), rigid);
    EXPECT_NE(read("out/Solution.pdb"), refined);
}

/// A disk without entries shows when a file is to be made. Mounted for the test's own child; where that is
/// not allowed, there is nothing to see.
TEST_F(Failures, DiskWithoutRoomForNewFilesGivesStatusOne) {
    writeInputs();
    fs::create_directory(m_directory / "work" / "out");
    const std::string odir = (m_directory / "work" / "out").string();
    const pid_t child = fork();
    if (child == 0) {
        if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", odir.c_str(), "tmpfs", 0, "size=1m,nr_inodes=1") != 0) {
            _exit(0);
        }
        const RunResult result = fit(quick({"--odir", "out"}));
        const bool isTold =
            contains(result.err, "selvane: out: no file can be made there (No space left on device)") &&
            contains(result.err, "out/Solution.pdb could not be opened for writing: No space left");
        _exit(result.status != 1 ? 2 : isTold ? 0 : 3);
    }
    int state = -1;
    ASSERT_EQ(waitpid(child, &state, 0), child);
    EXPECT_EQ(state, 0) << WEXITSTATUS(state);
}

TEST_F(Failures, OutputDirectoryIsTriedBeforeTheScan) {
    writeInputs();
    write("out", "a file in the way");
    write("none.pdb", ""); // ends the run before its scan
    const RunResult result = run(quick({"--ipdb", "none.pdb", "--iedm", "map.ccp4", "--odir", "out"}));
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "selvane: out: no file can be made there (Not a directory), so "))
        << result.err;
    fs::remove(m_directory / "work" / "out");
    EXPECT_FALSE(
        contains(run(quick({"--ipdb", "none.pdb", "--iedm", "map.ccp4", "--odir", "out"})).err, "no file"));
    EXPECT_TRUE(entries("out").empty());
}

/// No stack of this size can be had for a thread.
TEST_F(Failures, WithoutAnyWorkerNothingIsWritten) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's own memory does not stand a limit of stacks this high";
#endif
    writeInputs();
    ASSERT_EQ(fit(quick({"--odir", "out"})).status, 0);
    const std::vector<std::string> paths = {"out/Rigid_solution.pdb", "out/Solution.pdb", "out/original.pdb",
                                            "out/edm.map", "out/log.txt"};
    std::vector<std::string> before;
    for (const std::string& path : paths) {
        before.push_back(read(path));
    }
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_STACK, &usual), 0);
    const rlimit huge{rlim_t{1} << 46U, usual.rlim_max};
    if (setrlimit(RLIMIT_STACK, &huge) != 0) {
        GTEST_SKIP() << "the limit of stacks cannot be raised";
    }
    setenv("OPENBLAS_NUM_THREADS", "1", 1); // its own threads would not start either
    const RunResult result = fit(quick({"--odir", "out", "--sigma", "3"}));
    unsetenv("OPENBLAS_NUM_THREADS");
    setrlimit(RLIMIT_STACK, &usual);
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(
        contains(result.err, "selvane: no worker could be started for the scan, so no solutions are written"))
        << result.err;
    for (std::size_t i = 0; i < paths.size(); ++i) {
        EXPECT_TRUE(read(paths[i]) == before[i]) << paths[i];
    }
    EXPECT_EQ(entries("out").size(), paths.size());
}

TEST_F(Failures, FullDiskLeavesNoHalfResult) {
    writeInputs();
    m_largestFile = reportOnly;
    EXPECT_EQ(fit(quick({"--odir", "out"})).status, 1);
    EXPECT_EQ(entries(), (std::set<std::string>{"model.pdb", "map.ccp4", "out"}));
    EXPECT_EQ(entries("out"), std::set<std::string>{"log.txt"});
}

TEST_F(Failures, FullDiskSparesTheOtherFiles) {
    writeInputs();
    const std::vector<std::string> names = {"Rigid_solution.pdb", "Solution.pdb", "original.pdb", "edm.map"};
    ASSERT_EQ(fit(quick({"--odir", "whole"})).status, 0);
    for (const std::string& full : names) {
        SCOPED_TRACE(full);
        const fs::path directory = m_directory / "work" / ("without_" + full);
        fs::create_directory(directory);
        fs::create_symlink("/dev/full", directory / full);
        const RunResult result = fit(quick({"--odir", "without_" + full}));
        EXPECT_EQ(result.status, 1);
        EXPECT_TRUE(contains(result.err, "selvane: without_" + full + "/" + full)) << result.err;
        EXPECT_TRUE(contains(result.out, " Timing : "));
        EXPECT_TRUE(exists("without_" + full + "/log.txt"));
        for (const std::string& name : names) {
            if (name != full) {
                EXPECT_EQ(read("without_" + full + "/" + name), read("whole/" + name)) << name;
            }
        }
    }
}

TEST_F(Failures, RunBeyondTheMachinesMemoryIsRefusedBeforeItsBuffersAreMade) {
    writeInputs();
    const RunResult result = fit({"--dangle", "180", "--nthread", "1000000", "--nsolutions", "1000"});
    EXPECT_EQ(result.status, 1);
    EXPECT_TRUE(contains(result.err, "selvane: ")) << result.err;
    EXPECT_TRUE(contains(result.err, "nthread")) << result.err;
    EXPECT_TRUE(contains(result.err, "nopadding")) << result.err;
    EXPECT_FALSE(exists("Rigid_solution.pdb"));
}

} // namespace
