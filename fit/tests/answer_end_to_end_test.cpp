// SPDX-License-Identifier: GPL-3.0-or-later
// What whole runs answer about maps of which it is known.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "examples/ccp4.h"
#include "examples/density.h"
#include "examples/pdb.h"
#include "examples/polypeptide.h"
#include "fit/tests/runProgram.h"
#include "fit/tests/scratchFolder.h"

#include <nlohmann/json.hpp>

namespace {

using example::Model;
using example::Vec3;
using Json = nlohmann::json;
using Words = std::vector<std::string>;

constexpr double resolution = 8.0;
constexpr double spacing = 2.6;
constexpr double pi = 3.14159265358979323846;

const Model& protein() {
    static const Model made = [] {
        example::Random random(5);
        return example::buildChain({{4, 14}, {5, 11}, {3, 16}, {4, 9}}, 'A', random);
    }();
    return made;
}

example::Placement aboutZ(double degrees, const Vec3& shift) {
    const double c = std::cos(degrees * pi / 180.0), s = std::sin(degrees * pi / 180.0);
    return {{{{c, -s, 0.0}, {s, c, 0.0}, {0.0, 0.0, 1.0}}}, shift};
}

/// The density of all atoms in a cube about the origin, with noise.
example::Map mapOf(const Model& atoms, double halfEdge) {
    const int extent = 2 * static_cast<int>(halfEdge / spacing) + 1;
    const int start = -(extent / 2);
    const example::Lattice lattice{{extent, extent, extent}, {start, start, start}, spacing};
    std::vector<double> values = example::simulatedDensity(atoms, lattice, resolution);
    example::Random random(9);
    example::addNoise(values, 0.3, random);
    return {lattice, std::vector<float>(values.begin(), values.end())};
}

/// The chain with its middle at a distance from the axis of a ring, at some of the places of a symmetry.
std::vector<Model> ring(const std::vector<int>& places, int symmetry, double radius) {
    const Vec3 middle = example::centroid(protein());
    std::vector<Model> copies;
    for (const int place : places) {
        const Model centred = example::placed(protein(), aboutZ(0.0, Vec3{radius, 0.0, 0.0} - middle));
        copies.push_back(example::placed(centred, aboutZ(360.0 / symmetry * place, {})));
    }
    return copies;
}

Model together(const std::vector<Model>& models) {
    Model all;
    for (const Model& model : models) {
        all.insert(all.end(), model.begin(), model.end());
    }
    return all;
}

/// Each voxel takes the value of its image at the plane x = 0.
example::Map mirrored(example::Map map) {
    const auto& n = map.lattice.extents;
    const std::vector<float> before = map.values;
    for (int i = 0; i < n[0]; ++i) {
        for (int j = 0; j < n[1]; ++j) {
            for (int k = 0; k < n[2]; ++k) {
                map.values[map.lattice.flatIndex(i, j, k)] =
                    before[map.lattice.flatIndex(n[0] - 1 - i, j, k)];
            }
        }
    }
    return map;
}

class Answer : public testing::Test {
protected:
    Answer() {
        m_scratch.write("model.pdb",
                        example::pdbText(example::placed(protein(), aboutZ(77.0, {9, 8, 7})), ""));
    }

    void writeMap(const example::Map& map) const { m_scratch.write("map.ccp4", example::ccp4Bytes(map)); }

    Json fit(Words more) {
        more.insert(more.begin(), {"map.ccp4", "model.pdb", "-r", "8", "-o", "out", "--threads", "2",
                                   "--quiet", "--restart"});
        m_run = runProgram(m_scratch, SELVANE_FIT_BINARY, more);
        EXPECT_EQ(m_run.status, 0) << m_run.err;
        return m_run.status == 0 ? Json::parse(m_scratch.read("out/summary.json")) : Json();
    }

    Model fileOf(const std::string& name) const {
        return example::posesFromPdb(m_scratch.read("out/" + name)).at(0).atoms;
    }

    ScratchFolder m_scratch;
    Outcome m_run;
};

TEST_F(Answer, IsHighForAModelThatIsThere) {
    const Model truth = ring({0}, 1, 0.0).front();
    writeMap(mapOf(truth, 42.0));
    const Json summary = fit({});
    EXPECT_EQ(summary["confidence"], "high");
    EXPECT_LT(example::rmsd(fileOf("pose_01.pdb"), truth), 0.2);
    EXPECT_NE(m_run.out.find("Confidence high: The best place scores"), std::string::npos) << m_run.out;
}

TEST_F(Answer, IsLowForAModelThatIsNotThere) {
    example::Random random(6);
    writeMap(mapOf(example::buildChain({{3, 18}, {6, 8}, {4, 12}, {5, 12}}, 'A', random), 42.0));
    EXPECT_EQ(fit({})["confidence"], "low");
}

/// Five places of six: what is missing is not made up, and each that is there is told once.
TEST_F(Answer, CountsTheCopiesOfARingWithOneMissing) {
    const std::vector<Model> copies = ring({0, 1, 2, 4, 5}, 6, 30.0);
    writeMap(mapOf(together(copies), 66.0));
    const Json summary = fit({"--copies", "0", "--step", "30"});
    EXPECT_EQ(summary["copies"].size(), copies.size());
    EXPECT_NE(m_run.out.find("5 copies were found"), std::string::npos) << m_run.out;
    const Model assembly = fileOf("assembly.pdb");
    ASSERT_EQ(assembly.size(), copies.size() * protein().size());
    std::set<char> names;
    std::set<std::size_t> taken;
    for (std::size_t n = 0; n < copies.size(); ++n) {
        const auto first = assembly.begin() + static_cast<std::ptrdiff_t>(n * protein().size());
        const Model copy(first, first + static_cast<std::ptrdiff_t>(protein().size()));
        names.insert(copy.front().chain);
        for (std::size_t place = 0; place < copies.size(); ++place) {
            if (example::rmsd(copy, copies[place]) < 0.5) {
                taken.insert(place);
            }
        }
    }
    EXPECT_EQ(names.size(), copies.size());
    EXPECT_EQ(taken.size(), copies.size());
}

TEST_F(Answer, TellsTheHandOfAMap) {
    const example::Map map = mapOf(ring({0}, 1, 0.0).front(), 42.0);
    writeMap(map);
    EXPECT_EQ(fit({"--hand", "both", "--step", "30"})["hand"], "given");
    writeMap(mirrored(map));
    EXPECT_EQ(fit({"--hand", "both", "--step", "30"})["hand"], "mirrored");
    EXPECT_NE(m_run.out.find("The mirrored map fits better"), std::string::npos) << m_run.out;
    EXPECT_TRUE(fit({"--step", "40"})["hand"].is_null());
}

TEST_F(Answer, SaysThatFewerCopiesAreThereThanWereAskedFor) {
    writeMap(mapOf(ring({0}, 1, 0.0).front(), 42.0));
    const Json summary = fit({"--copies", "3", "--step", "40"});
    EXPECT_LT(summary["copies"].size(), 3U);
    EXPECT_NE(summary["warnings"].dump().find("3 copies were asked for"), std::string::npos);
}

/// More than the places that are climbed for a single one.
TEST_F(Answer, FindsAsManyCopiesAsAreAskedFor) {
    const std::vector<int> rows = {0, 1, 2, 3};
    const Model small = [] {
        example::Random random(8);
        return example::buildChain({{2, 9}, {3, 6}}, 'A', random);
    }();
    const Vec3 middle = example::centroid(small);
    std::vector<Model> copies;
    for (const int x : rows) {
        for (const int y : rows) {
            for (const int z : rows) {
                const Vec3 to{31.0 * (x - 1.5), 31.0 * (y - 1.5), 31.0 * (z - 1.5)};
                copies.push_back(example::placed(small, aboutZ(0.0, to - middle)));
            }
        }
    }
    writeMap(mapOf(together(copies), 75.0));
    m_scratch.write("model.pdb", example::pdbText(copies.front(), ""));
    const Json summary = fit({"--copies", "64", "--near", "0"});
    EXPECT_EQ(summary["copies"].size(), copies.size());
    EXPECT_TRUE(m_scratch.has("out/assembly.cif"));
}

TEST_F(Answer, OfAPolishOnlyComesHomeAndClaimsNoMore) {
    const Model truth = ring({0}, 1, 0.0).front();
    writeMap(mapOf(truth, 42.0));
    const double angle = 8.0;
    m_scratch.write("model.pdb",
                    example::pdbText(example::placed(truth, aboutZ(angle, {2.0, -1.0, 1.5})), ""));
    const Json summary = fit({"--near", "0,0"});
    EXPECT_EQ(summary["poses"].size(), 1U);
    EXPECT_EQ(summary["settings"]["rotations"], 0);
    EXPECT_EQ(summary["confidence"], "medium");
    EXPECT_LT(example::rmsd(fileOf("pose_01.pdb"), truth), 0.2);
}

TEST_F(Answer, CannotBeMoreThanLowWhereTheMapShowsNoOrientation) {
    writeMap(mapOf(ring({0}, 1, 0.0).front(), 42.0));
    m_run = runProgram(m_scratch, SELVANE_FIT_BINARY,
                       {"map.ccp4", "model.pdb", "-r", "40", "-o", "out", "--quiet", "--threads", "2"});
    ASSERT_EQ(m_run.status, 0) << m_run.err;
    EXPECT_NE(m_run.out.find("Confidence low: At a resolution of 40 A"), std::string::npos) << m_run.out;
}

} // namespace
