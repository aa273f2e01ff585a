// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <unistd.h>

#include <gtest/gtest.h>

#include "Math/pi.h"
#include "NMAEngine/NormalModeEngine.h"
#include "NMAEngine/modeReports.h"
#include "modeScene.h"

namespace {

using Vector = arma::Col<double>;

double phase(int frame) {
    return std::sin(2.0 * pi * frame / 99.0 - pi);
}

struct CloseFile {
    void operator()(FILE* file) const { std::fclose(file); }
};

std::vector<std::string> linesOfMovie(const ModeScene& scene, const Vector& amplitudes, int nAtoms,
                                      int nModes) {
    const std::unique_ptr<FILE, CloseFile> file(std::tmpfile());
    printAtomPositions(amplitudes, scene.engine, nAtoms, nModes, scene.atoms, file.get());
    std::rewind(file.get());
    std::vector<std::string> lines;
    char line[200];
    while (std::fgets(line, sizeof line, file.get())) {
        lines.emplace_back(line);
    }
    return lines;
}

TEST(AtomPositions, MovieSwingsThroughAHundredModelsPerMode) {
    const ModeScene scene(81);
    const Vector amplitudes = {30.0, -50.0, 1.0};
    constexpr int nAtoms = 4;
    const std::vector<std::string> lines = linesOfMovie(scene, amplitudes, nAtoms, 2);
    constexpr std::size_t linesOfModel = nAtoms + 2;
    ASSERT_EQ(lines.size(), 2 * 100 * linesOfModel);
    for (int mode = 0; mode < 2; ++mode) {
        for (int frame = 0; frame < 100; ++frame) {
            const auto model = static_cast<std::size_t>(100 * mode + frame);
            const std::string* line = &lines[model * linesOfModel];
            char header[30];
            std::snprintf(header, sizeof header, "MODEL     %4d\n", static_cast<int>(model) + 1);
            EXPECT_EQ(line[0], header);
            EXPECT_EQ(line[linesOfModel - 1], "ENDMDL\n");
            const auto m = static_cast<arma::uword>(mode);
            for (std::size_t a = 0; a < nAtoms; ++a) {
                for (std::size_t c = 0; c < 3; ++c) {
                    const double expected = scene.model.positions[a][c] +
                                            scene.engine.m_modes(3 * a + c, m) * amplitudes[m] * phase(frame);
                    EXPECT_NEAR(std::stod(line[1 + a].substr(30 + 8 * c, 8)), expected, 5.1e-4);
                }
            }
        }
    }
}

TEST(AtomPositions, NothingToShowWritesNothing) {
    const ModeScene scene(81);
    EXPECT_TRUE(linesOfMovie(scene, {}, 4, 0).empty());
    EXPECT_EQ(linesOfMovie(scene, {1.0}, 0, 1).size(), 200u);
}

TEST(AtomPositions, MoreThanThereIsIsAnError) {
    const ModeScene scene(81);
    EXPECT_THROW(linesOfMovie(scene, {1.0}, 4, 2), std::length_error);
    EXPECT_THROW(linesOfMovie(scene, Vector(7, arma::fill::ones), 4, 7), std::length_error);
    EXPECT_THROW(linesOfMovie(scene, {1.0}, BlockModel::nAtoms + 1, 1), std::length_error);
}

TEST(AtomPositions, StreamThatTakesNothingIsAnError) {
    const ModeScene scene(81);
    const std::unique_ptr<FILE, CloseFile> full(std::fopen("/dev/full", "w"));
    ASSERT_NE(full, nullptr);
    EXPECT_THROW(printAtomPositions({1.0}, scene.engine, 4, 1, scene.atoms, full.get()), std::runtime_error);
}

/// Three carbons in a row, 1.5 angstrom apart, and two modes along the row: one moves the last atom, one all.
class BondBreak : public testing::Test {
protected:
    BondBreak() : engine(2u), atoms(3) {
        for (std::size_t i = 0; i < atoms.size(); ++i) {
            atoms[i].m_position = cVector3(spacing * static_cast<double>(i), 0.0, 0.0);
            atoms[i].m_element[0] = 'C';
            atoms[i].m_radius = 1.75f;
        }
        engine.m_modes = arma::Mat<double>(9, 2, arma::fill::zeros);
        engine.m_modes(6, 0) = 1.0;
        engine.m_modes(0, 1) = engine.m_modes(3, 1) = engine.m_modes(6, 1) = 1.0;
        std::filesystem::create_directories(folder);
    }
    ~BondBreak() override { std::filesystem::remove_all(folder); }

    std::vector<std::vector<double>> rowsOf(const std::string& name) const {
        std::ifstream file(folder / name);
        std::vector<std::vector<double>> rows;
        for (std::string line; std::getline(file, line);) {
            std::istringstream words(line);
            rows.emplace_back();
            for (double value = 0.0; words >> value;) {
                rows.back().push_back(value);
            }
        }
        return rows;
    }

    static constexpr double spacing = 1.5;
    static constexpr double limit = 0.6 * 3.5; // the longest bond of two atoms of radius 1.75
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("selvane_bonds_" + std::to_string(getpid()));
    NormalModeEngine engine;
    std::vector<cPDBAtom> atoms;
};

TEST_F(BondBreak, RowsTellHowManyBondsBreakAndByHowMuch) {
    printBondBreak({1.0, 40.0}, engine, atoms, 3.0, (folder / "mode").string());
    const auto rows = rowsOf("mode0.dat");
    ASSERT_EQ(rows.size(), 100u);
    int nBroken = 0;
    for (int frame = 0; frame < 100; ++frame) {
        const double excess = spacing + phase(frame) - limit;
        const std::vector<double>& row = rows[static_cast<std::size_t>(frame)];
        if (!(excess > 0.0)) {
            EXPECT_EQ(row, std::vector<double>{0.0});
            continue;
        }
        ++nBroken;
        ASSERT_EQ(row.size(), 3u); // the bond stands in the list twice
        EXPECT_EQ(row[0], 2.0);
        EXPECT_NEAR(row[1], excess, 1e-6);
        EXPECT_NEAR(row[2], excess, 1e-6);
    }
    EXPECT_GT(nBroken, 10);
    EXPECT_LT(nBroken, 50);
}

TEST_F(BondBreak, MotionOfTheWholeBreaksNoBond) {
    printBondBreak({1.0, 40.0}, engine, atoms, 3.0, (folder / "mode").string());
    EXPECT_EQ(rowsOf("mode1.dat"), std::vector<std::vector<double>>(100, {0.0}));
}

TEST_F(BondBreak, FewerAmplitudesThanModesWriteFewerFiles) {
    printBondBreak({1.0}, engine, atoms, 3.0, (folder / "one").string());
    EXPECT_TRUE(std::filesystem::exists(folder / "one0.dat"));
    EXPECT_FALSE(std::filesystem::exists(folder / "one1.dat"));
}

TEST_F(BondBreak, WhatDoesNotMatchOrCannotBeWrittenIsAnError) {
    const std::string prefix = (folder / "mode").string();
    EXPECT_THROW(printBondBreak({1.0, 1.0, 1.0}, engine, atoms, 3.0, prefix), std::length_error);
    EXPECT_THROW(printBondBreak({1.0}, engine, std::vector<cPDBAtom>(2), 3.0, prefix), std::length_error);
    EXPECT_THROW(printBondBreak({1.0}, engine, std::vector<cPDBAtom>(4), 3.0, prefix), std::length_error);
    EXPECT_THROW(printBondBreak({1.0}, engine, atoms, 3.0, (folder / "absent" / "mode").string()),
                 std::runtime_error);
}

} // namespace
