// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <sstream>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "examples/ccp4.h"
#include "examples/example.h"
#include "examples/files.h"
#include "examples/pdb.h"

namespace example {
namespace {

/// Half a unit of the third decimal on each of three axes.
constexpr double fileRounding = 0.00087;

const Example& defaultExample() {
    static const Example example = makeExample({});
    return example;
}

TEST(MakeExample, TruthIsTheModelPlacedAndNearTheMapsCenter) {
    const Example& example = defaultExample();
    const Mat3& r = example.modelToTruth.rotation;
    ASSERT_EQ(example.model.size(), example.truth.size());
    for (std::size_t i = 0; i < example.model.size(); ++i) {
        const Vec3 expected = r * example.model[i].position + example.modelToTruth.translation;
        EXPECT_LE(norm(example.truth[i].position - expected), fileRounding);
    }
    const Vec3 offset = centroid(example.truth) - example.map.lattice.center();
    EXPECT_LE(std::abs(offset.x), 12.0);
    EXPECT_LE(std::abs(offset.y), 12.0);
    EXPECT_LE(std::abs(offset.z), 12.0);
    EXPECT_GE(norm(offset), 5.0);
    const double turn = std::acos(0.5 * (r[0][0] + r[1][1] + r[2][2] - 1.0)) * 180.0 / std::acos(-1.0);
    EXPECT_GE(turn, 60.0) << "a search that stays near the start must not succeed";
}

TEST(MakeExample, MapHoldsTheWholeModelInEveryOrientation) {
    const Example& example = defaultExample();
    const Lattice& lattice = example.map.lattice;
    const double halfEdge = 0.5 * lattice.spacing * (48 - 1);
    for (const Atom& atom : example.truth) {
        EXPECT_LT(norm(atom.position - lattice.center()), halfEdge - gaussianWidth(10.0));
    }
}

TEST(MakeExample, MapIsTheTruthsDensityWithNoise) {
    Options quiet;
    quiet.noise = 0.0;
    const Example clean = makeExample(quiet);
    const std::vector<double> density = simulatedDensity(clean.truth, clean.map.lattice, quiet.resolution);
    const Example& noisy = defaultExample();
    double squares = 0.0;
    for (std::size_t i = 0; i < density.size(); ++i) {
        EXPECT_EQ(clean.map.values[i], static_cast<float>(density[i]));
        squares += std::pow(noisy.map.values[i] - density[i], 2);
    }
    const double deviation = std::sqrt(squares / static_cast<double>(density.size()));
    EXPECT_NEAR(deviation / standardDeviation(density), 0.5, 0.01);
}

TEST(MakeExample, SameSeedSameFilesOtherSeedOtherFiles) {
    Options options;
    const Example& first = defaultExample();
    const Example again = makeExample(options);
    options.seed = 2;
    const Example other = makeExample(options);
    EXPECT_EQ(pdbText(first.model, ""), pdbText(again.model, ""));
    EXPECT_EQ(pdbText(first.truth, ""), pdbText(again.truth, ""));
    EXPECT_EQ(ccp4Bytes(first.map), ccp4Bytes(again.map));
    EXPECT_NE(pdbText(first.model, ""), pdbText(other.model, ""));
    EXPECT_NE(ccp4Bytes(first.map), ccp4Bytes(other.map));
}

TEST(MakeExample, RefusesOptionsThatMakeNoMap) {
    const double infinity = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const double resolution : {0.0, -1.0, 5.0, infinity, nan}) {
        EXPECT_THROW(makeExample({resolution, 0.5, 2.7, 1}), std::invalid_argument);
    }
    EXPECT_THROW(makeExample({10.0, -0.1, 2.7, 1}), std::invalid_argument);
    EXPECT_THROW(makeExample({10.0, nan, 2.7, 1}), std::invalid_argument);
    EXPECT_THROW(makeExample({10.0, 0.5, 0.0, 1}), std::invalid_argument);
}

class WriteExample : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "selvane-example-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        m_root = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_root); }

    std::filesystem::path m_root;
};

TEST_F(WriteExample, LeavesTheFourFiles) {
    Example example;
    example.model = {{"CA", 'C', "GLY", 'A', 1, {1.0, 2.0, 3.0}}};
    example.truth = example.model;
    example.modelToTruth = {{{{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}}, {0.5, -1.5, 2.0}};
    example.map = {{{1, 1, 1}, {0, 0, 0}, 2.0}, {1.0F}};
    const std::filesystem::path folder = m_root / "deep" / "er";
    writeExample(folder.string(), example, {});
    EXPECT_EQ(posesFromPdb(readFile((folder / "model.pdb").string())).size(), 1u);
    EXPECT_EQ(posesFromPdb(readFile((folder / "truth.pdb").string())).size(), 1u);
    EXPECT_EQ(readFile((folder / "map.ccp4").string()), ccp4Bytes(example.map));
    std::istringstream lines(readFile((folder / "truth.txt").string()));
    std::string line;
    std::string word;
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    for (int i = 0; i < 4; ++i) {
        std::getline(lines, line);
    }
    lines >> word >> x >> y >> z;
    EXPECT_EQ(word, "t");
    EXPECT_EQ(x, 0.5);
    EXPECT_EQ(y, -1.5);
    EXPECT_EQ(z, 2.0);
}

TEST_F(WriteExample, SaysWhichFileCannotBeWritten) {
    std::filesystem::create_directories(m_root / "model.pdb");
    EXPECT_THROW(writeFile((m_root / "model.pdb").string(), "x"), std::runtime_error);
    EXPECT_THROW(readFile((m_root / "missing").string()), std::runtime_error);
}

} // namespace
} // namespace example
