// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PDB/loadFromPDB.h"
#include "fit/preparedFiles.h"
#include "fit/tests/scratchFolder.h"

#include <nlohmann/json.hpp>

namespace {

ModelAtom atomOf(const std::string& name, const std::string& residue, const std::string& element,
                 const cVector3& position) {
    ModelAtom atom;
    atom.name = name;
    atom.residue = residue;
    atom.element = element;
    atom.chain = "A";
    atom.residueNumber = 7;
    atom.position = position;
    return atom;
}

std::vector<ModelAtom> fewAtoms() {
    return {atomOf("N", "GLY", "N", cVector3(1.5, -2.25, 3.125)),
            atomOf("CA", "GLY", "C", cVector3(0.0, 4.0, -1.0)),
            atomOf("CA", "CA", "Ca", cVector3(10.0, 0.5, 0.25)),
            atomOf("ZN", "ZN", "Zn", cVector3(-3.0, 1.0, 2.0)),
            atomOf("O5'A", "G", "O", cVector3(2.0, 2.0, 2.0))};
}

TEST(Hybrid36, GoesOnFromDecimalAsItIsDefined) {
    EXPECT_EQ(hybrid36(7, 5), "    7");
    EXPECT_EQ(hybrid36(-12, 4), " -12");
    EXPECT_EQ(hybrid36(9999, 4), "9999");
    EXPECT_EQ(hybrid36(10000, 4), "A000");
    EXPECT_EQ(hybrid36(10035, 4), "A00Z");
    EXPECT_EQ(hybrid36(10036, 4), "A010");
    EXPECT_EQ(hybrid36(1223055, 4), "ZZZZ");
    EXPECT_EQ(hybrid36(1223056, 4), "a000");
    EXPECT_EQ(hybrid36(2436111, 4), "zzzz");
    EXPECT_EQ(hybrid36(99999, 5), "99999");
    EXPECT_EQ(hybrid36(100000, 5), "A0000");
    EXPECT_EQ(hybrid36(43770016, 5), "a0000");
    EXPECT_EQ(hybrid36(87440031, 5), "zzzzz");
    EXPECT_EQ(hybrid36(87440032, 5), "*****");
    EXPECT_EQ(hybrid36(-1000, 4), "****");
}

TEST(PreparedModelFile, HasTheColumnsOfTheFormat) {
    const std::string text = pdbText(fewAtoms(), cVector3(100.0, 0.0, 0.0));
    EXPECT_EQ(text.substr(0, 81),
              "ATOM      1  N   GLY A   7     101.500  -2.250   3.125  1.00  0.00           N\n"
              "AT");
    EXPECT_NE(text.find("ATOM      2  CA  GLY A   7 "), std::string::npos);
    EXPECT_NE(text.find("ATOM      3 CA    CA A   7 "), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 4), "END\n");
}

TEST(PreparedModelFile, IsReadBackByTheOtherProgramsReader) {
    const ScratchFolder scratch;
    const std::vector<ModelAtom> atoms = fewAtoms();
    const cVector3 shift(20.0, 30.0, 40.0);
    scratch.write("model.pdb", pdbText(atoms, shift));
    std::vector<cPDBAtom> read;
    std::vector<double> masses;
    std::vector<int> blocks;
    loadFromPDB(scratch.of("model.pdb").c_str(), read, masses, blocks);
    ASSERT_EQ(read.size(), atoms.size());
    for (std::size_t i = 0; i < atoms.size(); ++i) {
        EXPECT_LT((read[i].m_position - atoms[i].position - shift).norm(), 1e-3);
        EXPECT_EQ(read[i].m_name, atoms[i].name);
        EXPECT_EQ(read[i].m_element, atoms[i].element);
        EXPECT_EQ(read[i].m_resSeq, 7);
    }
}

TEST(PreparedModelFile, KeepsEveryAtomBeyondAHundredThousand) {
    const ScratchFolder scratch;
    const std::vector<ModelAtom> atoms(100002, atomOf("CA", "ALA", "C", cVector3(1.0, 2.0, 3.0)));
    const std::string text = pdbText(atoms, cVector3(0.0));
    EXPECT_NE(text.find("\nATOM  99999  CA  ALA A   7 "), std::string::npos);
    EXPECT_NE(text.find("\nATOM  A0000  CA  ALA A   7 "), std::string::npos);
    scratch.write("model.pdb", text);
    std::vector<cPDBAtom> read;
    std::vector<double> masses;
    std::vector<int> blocks;
    loadFromPDB(scratch.of("model.pdb").c_str(), read, masses, blocks);
    EXPECT_EQ(read.size(), atoms.size());
}

/// The words that a shell makes of a command.
std::vector<std::string> shellWords(const std::string& command) {
    std::FILE* pipe = popen(("printf '%s\\n' " + command).c_str(), "r");
    std::vector<std::string> words(1);
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) {
        if (c == '\n') {
            words.emplace_back();
        } else {
            words.back() += static_cast<char>(c);
        }
    }
    pclose(pipe);
    words.pop_back();
    return words;
}

std::string valueOf(const std::vector<std::string>& words, const std::string& option) {
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        if (words[i] == option) {
            return words[i + 1];
        }
    }
    return "";
}

TEST(SelvaneCommand, ReachesTheProgramAsItWasMeantWhateverTheFolderIsCalled) {
    ScanChoice choice;
    choice.resolution = 12.0;
    choice.sigma = 2.7;
    choice.step = 16.0;
    for (const std::string folder : {"/tmp/plain", "/tmp/it's $HOME; a `b`\\ \"c\""}) {
        const std::vector<std::string> words = shellWords(selvaneCommand(folder, choice, 3));
        EXPECT_EQ(words.front(), "selvane");
        EXPECT_EQ(valueOf(words, "--ipdb"), folder + "/model.pdb");
        EXPECT_EQ(valueOf(words, "--iedm"), folder + "/map.ccp4");
        EXPECT_EQ(valueOf(words, "--odir"), folder);
        EXPECT_EQ(std::stod(valueOf(words, "--sigma")), 2.7);
        EXPECT_LE(std::stod(valueOf(words, "--dangle")), 16.0);
        EXPECT_LT(std::stod(valueOf(words, "--filtersigma")), -1e5);
        EXPECT_EQ(std::stod(valueOf(words, "--clusterThreshold")), 6.0);
        EXPECT_EQ(valueOf(words, "--nthread"), "3");
    }
}

PreparedPair smallPair() {
    PreparedPair pair;
    const unsigned int sizes[3] = {6, 5, 4};
    pair.map.grid = cGrid(cBBox(cVector3(0.0), cVector3(15.0, 12.0, 9.0)), sizes);
    pair.map.values.assign(120, 0.0);
    pair.map.values[7] = 1.5;
    pair.map.inMap = cVector3(-20.0, 5.0, 1.25);
    pair.map.level = 0.125;
    pair.model.atoms = fewAtoms();
    pair.model.fromFile = {cMatrix33::rotationXYZ(0.3, 1.2, -2.0), cVector3(50.0, -60.0, 70.0)};
    pair.choice.step = 16.0;
    pair.choice.resolution = 12.0;
    pair.choice.sigma = 2.7;
    return pair;
}

TEST(PreparedFiles, FrameTellsTheWayThereAndBack) {
    const ScratchFolder scratch;
    const PreparedPair pair = smallPair();
    FitOptions options;
    options.map = "a \"map\"\xff.mrc"; // no valid UTF-8
    options.model = "model.cif";
    scratch.write("p/other", "");
    writePreparedFiles(scratch.of("p"), pair, options);
    EXPECT_EQ(scratch.entries(), (std::set<std::string>{"p", "p/other", "p/map.ccp4", "p/model.pdb",
                                                        "p/frame.json", "p/command.txt"}));
    const auto frame = nlohmann::json::parse(scratch.read("p/frame.json"));
    const std::vector<double> toModel = frame["model_shift"];
    const std::vector<std::vector<double>> axes = frame["model_rotation"];
    const std::vector<double> toMap = frame["map_shift"];
    const cVector3 x = pair.model.fromFile.inverse()(pair.model.atoms[0].position); // in the model's file
    cVector3 inPrepared(0.0);
    for (int i = 0; i < 3; ++i) {
        const auto& row = axes[static_cast<std::size_t>(i)];
        inPrepared[i] = row[0] * x.x + row[1] * x.y + row[2] * x.z + toModel[static_cast<std::size_t>(i)];
    }
    std::vector<cPDBAtom> read;
    std::vector<double> masses;
    std::vector<int> blocks;
    loadFromPDB(scratch.of("p/model.pdb").c_str(), read, masses, blocks);
    EXPECT_LT((read[0].m_position - inPrepared).norm(), 1e-3);
    EXPECT_EQ((cVector3(toMap[0], toMap[1], toMap[2]) - pair.map.inMap).norm(), 0.0);
    EXPECT_EQ(frame["level"], 0.125);
    EXPECT_EQ(frame["scan_resolution"], 12.0);
}

} // namespace
