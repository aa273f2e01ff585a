// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>

#include <gtest/gtest.h>

#include "Formats/readMap.h"
#include "Formats/resampleSkew.h"
#include "Formats/tests/MapBytes.h"
#include "Formats/tests/TestFolder.h"
#include "IO/openInput.h"

namespace {

constexpr double degree = 3.14159265358979323846 / 180.0;

/// Edges of a triclinic cell's voxel in the orthogonal frame, from the scalar products of its edges alone.
std::array<cVector3, 3> stepsOf(const cVector3& edges, double alpha, double beta, double gamma) {
    const cVector3 a(edges.x, 0.0, 0.0);
    const cVector3 b(edges.y * std::cos(gamma * degree), edges.y * std::sin(gamma * degree), 0.0);
    cVector3 c(edges.z * std::cos(beta * degree), 0.0, 0.0);
    c.y = (edges.y * edges.z * std::cos(alpha * degree) - b.x * c.x) / b.y;
    c.z = std::sqrt(edges.z * edges.z - c.x * c.x - c.y * c.y);
    return {a, b, c};
}

VoxelLattice triclinic() {
    VoxelLattice lattice;
    lattice.origin = cVector3(-3.0, 40.0, 7.0);
    lattice.steps = stepsOf(cVector3(1.5, 1.7, 1.9), 80.0, 100.0, 115.0);
    lattice.isSkew = true;
    return lattice;
}

cVector3 nodeOf(const VoxelLattice& lattice, double i, double j, double k) {
    return lattice.origin + lattice.steps[0] * i + lattice.steps[1] * j + lattice.steps[2] * k;
}

cVector3 placeOf(const DensityMap& map, std::size_t i, std::size_t j, std::size_t k) {
    return map.origin + cVector3(static_cast<double>(i) * map.voxel.x, static_cast<double>(j) * map.voxel.y,
                                 static_cast<double>(k) * map.voxel.z);
}

/// Fills a lattice with a function of the place.
template <class Field>
std::vector<float> sampled(const std::array<std::size_t, 3>& size, const VoxelLattice& lattice, Field field) {
    std::vector<float> values;
    for (std::size_t i = 0; i < size[0]; ++i) {
        for (std::size_t j = 0; j < size[1]; ++j) {
            for (std::size_t k = 0; k < size[2]; ++k) {
                values.push_back(static_cast<float>(field(nodeOf(
                    lattice, static_cast<double>(i), static_cast<double>(j), static_cast<double>(k)))));
            }
        }
    }
    return values;
}

} // namespace

TEST(SkewMap, ASmoothFieldStandsWhereItStood) {
    const std::array<std::size_t, 3> size{40, 36, 30};
    const VoxelLattice lattice = triclinic();
    const cVector3 middle = nodeOf(lattice, 19.3, 17.6, 14.4);
    constexpr double width = 2.5; // angstrom: detail of some 1.5 voxels
    const auto blob = [&](const cVector3& at) {
        const cVector3 off = at - middle;
        return std::exp(-off.norm2() / (2.0 * width * width)) * (1.0 + 0.3 * off.x - 0.2 * off.y);
    };
    const DensityMap map = resampleSkew(sampled(size, lattice, blob), size, lattice);
    double farthest = 0.0;
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            for (std::size_t k = 0; k < map.size[2]; ++k) {
                const double value = map.values[map.index(i, j, k)];
                farthest = std::max(farthest, std::fabs(value - blob(placeOf(map, i, j, k))));
            }
        }
    }
    constexpr double splineError = 5e-3; // of a height of about 1.3; broken lines are ten times as far off
    EXPECT_LT(farthest, splineError);
}

TEST(SkewMap, NodesThatMeetKeepTheirValues) {
    // Along a = x every plane is shifted by whole voxels, so all nodes are nodes of the new lattice.
    VoxelLattice lattice;
    lattice.steps = {cVector3(2.0, 0.0, 0.0), cVector3(-2.0, 3.0, 0.0), cVector3(4.0, 3.0, 1.0)};
    const std::array<std::size_t, 3> size{9, 8, 7};
    const auto rough = [](const cVector3& at) {
        return std::sin(0.5 + 100.0 * (at.x + 3.0 * at.y + 7.0 * at.z));
    };
    const std::vector<float> values = sampled(size, lattice, rough);
    const DensityMap map = resampleSkew(values, size, lattice);
    std::size_t met = 0;
    for (std::size_t i = 0; i < map.size[0]; ++i) {
        for (std::size_t j = 0; j < map.size[1]; ++j) {
            for (std::size_t k = 0; k < map.size[2]; ++k) {
                const float value = map.values[map.index(i, j, k)];
                if (value != 0.0F) {
                    ++met;
                    ASSERT_NEAR(value, rough(placeOf(map, i, j, k)), 2e-5);
                }
            }
        }
    }
    EXPECT_EQ(met, values.size()); // and whatever is outside of them is 0
}

TEST(SkewMap, TheNewLatticeHoldsEveryNodeAndNoLayerMore) {
    const std::array<std::size_t, 3> size{5, 9, 4};
    const VoxelLattice lattice = triclinic();
    const DensityMap map = resampleSkew(std::vector<float>(180, 1.0F), size, lattice);
    const cVector3 last = placeOf(map, map.size[0] - 1, map.size[1] - 1, map.size[2] - 1);
    cVector3 low(1e9);
    cVector3 high(-1e9);
    for (const double i : {0.0, 4.0}) {
        for (const double j : {0.0, 8.0}) {
            for (const double k : {0.0, 3.0}) {
                const cVector3 node = nodeOf(lattice, i, j, k);
                for (int axis = 0; axis < 3; ++axis) {
                    low[axis] = std::min(low[axis], node[axis]);
                    high[axis] = std::max(high[axis], node[axis]);
                }
            }
        }
    }
    for (int axis = 0; axis < 3; ++axis) {
        EXPECT_LE(map.origin[axis], low[axis] + 1e-5);
        EXPECT_GT(map.origin[axis] + map.voxel[axis], low[axis]);
        EXPECT_GE(last[axis], high[axis] - 1e-5);
        EXPECT_LT(last[axis] - map.voxel[axis], high[axis]);
    }
    EXPECT_NEAR(map.voxel.x * map.voxel.y * map.voxel.z,
                std::fabs(lattice.steps[0] | (lattice.steps[1] ^ lattice.steps[2])), 1e-9);
}

TEST(SkewMap, AFileOfASkewCellStandsAtItsStartOrOriginWords) {
    MapBytes source;
    source.angles = {90.0F, 110.0F, 90.0F};
    source.start = {4, -2, 3};
    const TestFolder folder;
    const MapFile byStart = readMap(folder.write("a", source.bytes()));
    const auto steps = stepsOf(cVector3(2.0, 3.0, 4.0), 90.0, 110.0, 90.0);
    const cVector3 corner = steps[0] * 4.0 - steps[1] * 2.0 + steps[2] * 3.0;
    const auto nodeAtCorner = [](const DensityMap& map, const cVector3& at) {
        const double i = (at.x - map.origin.x) / map.voxel.x;
        EXPECT_NEAR(i, std::round(i), 1e-5);
        EXPECT_NEAR(at.y, map.origin.y, 1e-4);
        EXPECT_NEAR(at.z, map.origin.z, 1e-4);
        return map.values[map.index(static_cast<std::size_t>(std::lround(i)), 0, 0)];
    };
    const float first = static_cast<float>(MapBytes::valueAt(0, 0, 0)) + 0.25F;
    EXPECT_NEAR(nodeAtCorner(byStart.map, corner), first, 1e-4);
    ASSERT_EQ(byStart.remarks.size(), 1U);
    EXPECT_NE(byStart.remarks[0].find("right-angled lattice"), std::string::npos);
    source.origin = {10.0F, 20.0F, 30.0F};
    source.start = {0, 0, 0};
    const MapFile byOrigin = readMap(folder.write("a", source.bytes()));
    EXPECT_NEAR(nodeAtCorner(byOrigin.map, cVector3(10.0, 20.0, 30.0)), first, 1e-4);
}

TEST(SkewMap, ACellTooSkewToBeHeldIsRefused) {
    MapBytes source;
    source.size = {1, 1, 60};
    source.angles = {90.0F, 150.0F, 90.0F};
    const TestFolder folder;
    EXPECT_THROW(readMap(folder.write("a", source.bytes())), InputError);
}
