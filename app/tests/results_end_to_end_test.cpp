// SPDX-License-Identifier: GPL-3.0-or-later
// The files that a run leaves.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Math/pi.h"
#include "app/tests/RunFixture.h"
#include "app/tests/solutionFile.h"

namespace {

/// By the clock that the run reads; time() can lag behind it by a tick.
std::time_t now() {
    return std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
}

constexpr std::size_t headerSize = 1024;

class Results : public RunFixture {
protected:
    /// The centre that poses turn about: that of the box that the reader lays one voxel up, less one cell.
    Vec centreOfPoses() const {
        Vec centre{};
        for (std::size_t a = 0; a < 3; ++a) {
            const double low = (m_map.start[a] + 1) * m_map.voxel[a];
            const double high = low + (m_map.size[a] - 1) * m_map.voxel[a];
            centre[a] = 0.5 * (low + high) - m_map.voxel[a];
        }
        return centre;
    }
};

/// Fraction digits that "%f" leaves.
const char* const number = "-?[0-9]+\\.[0-9]{6}";

std::string pattern(const std::string& key, int count) {
    std::string text = key;
    for (int i = 0; i < count; ++i) {
        text += (i == 0 ? "" : " ") + std::string(number);
    }
    return text;
}

TEST_F(Results, FilesOfARun) {
    writeInputs();
    ASSERT_EQ(fit(quick()).status, 0);
    EXPECT_EQ(entries(), (std::set<std::string>{"model.pdb", "map.ccp4", "Rigid_solution.pdb", "Solution.pdb",
                                                "original.pdb", "edm.map", "log.txt", "density.map"}));
}

TEST_F(Results, FilesOfARunWithAnOutputDirectory) {
    // Seen to fail with density.map in the output directory.
    writeInputs();
    ASSERT_EQ(fit(quick({"--odir", "deep/er"})).status, 0);
    EXPECT_EQ(entries(), (std::set<std::string>{"model.pdb", "map.ccp4", "deep", "density.map"}));
    EXPECT_EQ(entries("deep/er"), (std::set<std::string>{"Rigid_solution.pdb", "Solution.pdb", "original.pdb",
                                                         "edm.map", "log.txt"}));
}

TEST_F(Results, RecordOfASolution) {
    // Seen to fail with models counted from 1.
    writeInputs();
    ASSERT_EQ(fit(coarse()).status, 0);
    for (const char* name : {"Rigid_solution.pdb", "Solution.pdb"}) {
        const std::vector<WrittenPose> poses = readPoses(read(name));
        ASSERT_EQ(poses.size(), 5U);
        for (std::size_t i = 0; i < poses.size(); ++i) {
            const std::vector<std::string>& lines = poses[i].lines;
            ASSERT_EQ(lines.size(), m_model.size() + 9);
            EXPECT_EQ(lines[0], "MODEL        " + std::to_string(i) + "     ");
            EXPECT_TRUE(std::regex_match(lines[1], std::regex(pattern("REMARK   6 CCF score      : ", 1))));
            EXPECT_TRUE(std::regex_match(lines[2], std::regex(pattern("REMARK   7 CCF tau        : ", 3))));
            EXPECT_TRUE(std::regex_match(lines[3], std::regex(pattern("REMARK   8 CCF R          : ", 3))));
            EXPECT_TRUE(std::regex_match(lines[4], std::regex(pattern("REMARK   9 CCF flex score : ", 1))));
            EXPECT_TRUE(std::regex_match(lines[5], std::regex(pattern("REMARK  10 CCF dTau       : ", 3))));
            EXPECT_TRUE(std::regex_match(lines[6], std::regex(pattern("REMARK  11 CCF dR         : ", 3))));
            EXPECT_EQ(lines[7], "REMARK  12 CCF eta        : ");
            EXPECT_EQ(lines.back(), "ENDMDL");
        }
    }
}

TEST_F(Results, AtomLinesEqualTheOriginalButForTheCoordinates) {
    writeInputs();
    ASSERT_EQ(fit(coarse()).status, 0);
    const std::vector<std::string> original = linesOf(read("original.pdb"));
    for (const char* name : {"Rigid_solution.pdb", "Solution.pdb"}) {
        for (const WrittenPose& pose : readPoses(read(name))) {
            ASSERT_EQ(pose.atomLines.size(), original.size());
            for (std::size_t a = 0; a < original.size(); ++a) {
                EXPECT_EQ(pose.atomLines[a].substr(0, 30), original[a].substr(0, 30));
                EXPECT_EQ(pose.atomLines[a].substr(54), original[a].substr(54));
            }
        }
    }
}

TEST_F(Results, OriginalHoldsTheAtomsAsRead) {
    writeInputs();
    ASSERT_EQ(fit(quick()).status, 0);
    std::string expected;
    for (std::size_t a = 0; a < m_model.size(); ++a) {
        expected += writtenLine(m_model, a) + "\n";
    }
    EXPECT_EQ(read("original.pdb"), expected);
}

TEST_F(Results, AtomsOfAPqrFileAreWrittenWithoutItsChargesAndRadii) {
    writeInputs();
    write("model.PQR", read("model.pdb"));
    ASSERT_EQ(run(quick({"--ipdb", "model.PQR", "--iedm", "map.ccp4"})).status, 0);
    std::string expected;
    for (std::size_t a = 0; a < m_model.size(); ++a) {
        expected += writtenLine(m_model, a).replace(54, 12, "  0.00  0.00") + "\n";
    }
    EXPECT_EQ(read("original.pdb"), expected);
}

TEST_F(Results, ModelOfOneResidueIsFitted) {
    const TestMap map;
    std::vector<TestAtom> atoms = makeModel(map.centre());
    atoms.resize(5);
    writeInputs(atoms, simulate(map, atoms, 2.5));
    ASSERT_EQ(fit(quick()).status, 0);
    EXPECT_LE(rmsd(readPoses(read("Solution.pdb")).at(0).positions, positionsOf(atoms)), 0.01);
}

TEST_F(Results, CoordinatesFollowFromTheRemarks) {
    // Seen to fail with poses turned about the map's own centre.
    constexpr double tolerance = 0.002; // half of the last digit of a coordinate, and the remarks' own digits
    TestMap map;
    map.voxel = {2.75, 2.5, 3.0};
    const std::vector<TestAtom> atoms = makeModel(map.centre() + Vec{1.3, -2.1, 0.7});
    const std::vector<TestAtom> start = moved(atoms, rotationXYZ(0.4, 0.3, -0.2), map.centre(), {5, -9, 3});
    writeInputs(start, simulate(map, atoms, 3.0));
    ASSERT_EQ(fit({"--nthread", "1", "--dangle", "60", "--nsolutions", "40"}).status, 0);
    bool refined = false;
    for (const char* name : {"Rigid_solution.pdb", "Solution.pdb"}) {
        for (const WrittenPose& pose : readPoses(read(name))) {
            refined = refined || squaredNorm(pose.dR()) > 0.0;
            for (std::size_t a = 0; a < m_model.size(); ++a) {
                const Vec expected = placed(pose, m_model[a].position, centreOfPoses());
                for (std::size_t axis = 0; axis < 3; ++axis) {
                    ASSERT_NEAR(pose.positions[a][axis], expected[axis], tolerance) << name << ", atom " << a;
                }
            }
        }
    }
    EXPECT_TRUE(refined);
}

TEST_F(Results, ScoresDescendAndTheOrderIsThatOfTheScan) {
    writeInputs();
    ASSERT_EQ(fit({"--nthread", "2", "--dangle", "60", "--nsolutions", "50"}).status, 0);
    const std::vector<WrittenPose> rigid = readPoses(read("Rigid_solution.pdb"));
    const std::vector<WrittenPose> refined = readPoses(read("Solution.pdb"));
    ASSERT_EQ(rigid.size(), 50U);
    ASSERT_EQ(refined.size(), rigid.size());
    for (std::size_t i = 0; i < rigid.size(); ++i) {
        if (i > 0) {
            EXPECT_LE(rigid[i].score(), rigid[i - 1].score());
        }
        for (std::size_t line : {0U, 1U, 2U, 3U}) {
            EXPECT_EQ(refined[i].lines[line], rigid[i].lines[line]);
        }
        EXPECT_EQ(squaredNorm(rigid[i].dTau()) + squaredNorm(rigid[i].dR()), 0.0);
        EXPECT_GE(refined[i].flexScore(), rigid[i].score() - 1e-6) << "the local maximum lies above its node";
    }
}

TEST_F(Results, RefinementStaysInsideTheTrustRadius) {
    writeInputs();
    const RunResult result = fit({"--nthread", "1", "--dangle", "60", "--nsolutions", "50"});
    std::smatch match;
    ASSERT_TRUE(std::regex_search(result.out, match, std::regex(" Trust Region Norm\\.+ : ([0-9.]+)\n")));
    const double radius = std::stod(match[1]);
    for (const WrittenPose& pose : readPoses(read("Solution.pdb"))) {
        EXPECT_LE(std::sqrt(squaredNorm(pose.dTau()) + squaredNorm(pose.dR())), radius * 1.01);
    }
}

TEST_F(Results, MapCopyHasTheVoxelsAndTheHeaderOfTheInput) {
    writeInputs();
    ASSERT_EQ(fit(quick()).status, 0);
    const std::string input = read("map.ccp4");
    const std::string copy = read("edm.map");
    ASSERT_EQ(copy.size(), input.size());
    constexpr std::size_t describedHeader = 88;
    EXPECT_EQ(copy.substr(0, describedHeader), input.substr(0, describedHeader));
    EXPECT_EQ(intAt(copy, 88), 1);
    EXPECT_EQ(intAt(copy, 92), 0);
    EXPECT_EQ(copy.substr(208, 4), "MAP ");
    EXPECT_EQ(copy.substr(headerSize), input.substr(headerSize));
}

TEST_F(Results, MapCopyOfTheOppositeByteOrderIsInThatOfTheMachine) {
    writeInputs();
    const std::string native = read("map.ccp4");
    m_map.oppositeByteOrder = true;
    m_map.symmetryBytes = 80;
    writeInputs(m_model, m_map);
    ASSERT_EQ(fit(quick()).status, 0);
    const std::string copy = read("edm.map");
    ASSERT_EQ(copy.size(), native.size());
    constexpr std::size_t repairedHeader = 76; // the statistics behind it stay as they were read
    EXPECT_EQ(copy.substr(0, repairedHeader), native.substr(0, repairedHeader));
    EXPECT_EQ(copy.substr(headerSize), native.substr(headerSize));
}

TEST_F(Results, SameRunTwiceGivesTheSameBytes) {
    writeInputs();
    ASSERT_EQ(fit(coarse({"--odir", "first"})).status, 0);
    const std::string density = read("density.map");
    ASSERT_EQ(fit(coarse({"--odir", "second"})).status, 0);
    for (const char* name : {"/Rigid_solution.pdb", "/Solution.pdb", "/original.pdb", "/edm.map"}) {
        EXPECT_EQ(read("second" + std::string(name)), read("first" + std::string(name))) << name;
    }
    EXPECT_EQ(read("density.map"), density);
}

TEST_F(Results, FilesThatStoodThereKeepTheirLinksAndModes) {
    namespace fs = std::filesystem;
    constexpr fs::perms mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_read;
    writeInputs();
    const fs::path work = m_directory / "work";
    fs::create_directory(work / "kept");
    fs::create_directory(work / "out");
    const std::vector<std::string> names = {"Rigid_solution.pdb", "Solution.pdb", "original.pdb", "edm.map"};
    for (const std::string& name : names) {
        write("kept/" + name, "old");
        fs::permissions(work / "kept" / name, mode);
        fs::create_symlink("../kept/" + name, work / "out" / name);
    }
    ASSERT_EQ(fit(quick({"--odir", "out"})).status, 0);
    for (const std::string& name : names) {
        EXPECT_TRUE(fs::is_symlink(work / "out" / name)) << name;
        EXPECT_GT(read("kept/" + name).size(), 1000U) << name;
        EXPECT_EQ(fs::status(work / "kept" / name).permissions(), mode) << name;
    }
}

TEST_F(Results, SimulatedDensityHoldsOneUnitPerAtom) {
    writeInputs();
    ASSERT_EQ(fit(quick()).status, 0);
    const std::string density = read("density.map");
    ASSERT_EQ(density.size(), read("map.ccp4").size());
    double sum = 0.0;
    for (std::size_t offset = headerSize; offset < density.size(); offset += 4) {
        sum += static_cast<double>(floatAt(density, offset));
    }
    EXPECT_NEAR(sum, static_cast<double>(m_model.size()), 1e-3);
}

/// "run of", the time, an empty line, the run as a command line, an empty line.
std::string logRecord(std::time_t when, const std::string& options) {
    return "run of " + std::string(std::ctime(&when)) + "\n" + binaryPath() +
           " --ipdb model.pdb --iedm map.ccp4" + options + "\n\n";
}

/// Whether `text` is a record of a run that ended between two times.
bool isRecordBetween(const std::string& text, std::time_t begin, std::time_t end,
                     const std::string& options) {
    for (std::time_t when = begin; when <= end; ++when) {
        if (text == logRecord(when, options)) {
            return true;
        }
    }
    return false;
}

TEST_F(Results, LogHoldsTheRunWithItsDerivedValues) {
    TestMap map;
    map.voxel = {2.5, 2.75, 2.5};
    const std::vector<TestAtom> atoms = makeModel(map.centre());
    writeInputs(atoms, simulate(map, atoms, 2.75));
    const std::time_t begin = now();
    const RunResult result = fit({"--nthread", "2", "--nsolutions", "3"});
    ASSERT_EQ(result.status, 0);

    const double step = 360.0 / std::pow(24 * 4.0 * pi, 1.0 / 3.0);
    std::ostringstream options;
    options << " --nthread 2 --sigma 2.75 --filtersigma 0 --dangle " << step << " --nsolutions 3 --odir ./";
    EXPECT_TRUE(isRecordBetween(read("log.txt"), begin, now(), options.str())) << read("log.txt");
    // 15 points on the sphere, 7 turns about each; the identity is not among them.
    EXPECT_TRUE(contains(result.out, " Scaning 106 rotations "));
}

TEST_F(Results, LogHoldsGivenValuesAndLeavesOutHiddenOptions) {
    // Seen to fail with nmodes and nopadding written where they are given.
    writeInputs();
    const std::time_t begin = now();
    ASSERT_EQ(
        fit({"--nopadding", "--maxrmsd", "1",    "--cutoff",  "9",   "--stiffness",   "2",  "--nmodes",
             "0",           "--sigma",   "3.25", "--dangle",  "180", "--filtersigma", "-3", "--nsolutions",
             "1",           "--odir",    "out/", "--nthread", "1"})
            .status,
        0);
    EXPECT_TRUE(
        isRecordBetween(read("out/log.txt"), begin, now(),
                        " --nthread 1 --sigma 3.25 --filtersigma -3 --dangle 180 --nsolutions 1 --odir out/"))
        << read("out/log.txt");
}

TEST_F(Results, SecondRunAppendsItsRecord) {
    writeInputs();
    ASSERT_EQ(fit(quick()).status, 0);
    const std::string first = read("log.txt");
    ASSERT_EQ(fit(quick({"--sigma", "3"})).status, 0);
    const std::string both = read("log.txt");
    ASSERT_GT(both.size(), first.size());
    EXPECT_EQ(both.substr(0, first.size()), first);
    EXPECT_EQ(both.substr(first.size()).rfind("run of ", 0), 0U);
    EXPECT_TRUE(contains(both.substr(first.size()), " --sigma 3 "));
}

} // namespace
