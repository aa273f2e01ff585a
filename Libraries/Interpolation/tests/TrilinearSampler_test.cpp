// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "Interpolation/TrilinearSampler.h"
#include "Math/RotatedLattice.h"
#include "Math/cMatrix33.h"

namespace {

cGrid gridOf(unsigned int nx, unsigned int ny, unsigned int nz) {
    cGrid grid;
    grid.m_box = cBBox(cVector3(1.0, -2.0, 0.5), cVector3(7.1, 5.3, 9.9));
    grid.setSize(nx, ny, nz);
    return grid;
}

std::vector<double> noise(std::size_t size) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::vector<double> field(size);
    for (double& element : field) {
        element = value(random);
    }
    return field;
}

/// Every row of the grid's own nodes after each of some rotations, from samplers of a field in double and in
/// single precision, against its points one by one; and rows of floats against those of doubles.
void expectRowsEqualPoints(const cGrid& grid) {
    const std::vector<double> noisy = noise(grid.getTotalSize());
    const std::vector<float> singles(noisy.begin(), noisy.end());
    const std::vector<double> field(singles.begin(), singles.end());
    const lerp::TrilinearSampler sampler(grid, field);
    const lerp::SingleTrilinearSampler singleSampler(grid, singles);
    const cVector3 center = grid.m_box.center();
    const double quarter = 1.5707963267948966;
    const double angles[][3] = {{0.0, 0.0, 0.0},         {quarter, 0.0, 0.0},   {0.0, quarter, 0.0},
                                {0.0, 0.0, 2 * quarter}, {0.3, -1.1, 2.2},      {-2.9, 0.7, 0.01},
                                {1e-9, 0.0, 0.0},        {quarter, quarter, 0}, {0.5, 0.5, 0.5}};
    const unsigned int nz = grid.m_size[2];
    constexpr double mergedInSingles = 24.0 * 0x1p-24; // of values up to 1
    std::vector<double> row(nz + 1), singleRow(nz);
    std::vector<float> rounded(nz), merged(nz + 1);
    for (const auto& a : angles) {
        const RotatedLattice lattice(grid, cMatrix33::rotationXYZ(a[0], a[1], a[2]), center);
        for (unsigned int i = 0; i < grid.m_size[0]; ++i) {
            for (unsigned int j = 0; j < grid.m_size[1]; ++j) {
                std::fill(row.begin(), row.end(), 5.0);
                std::fill(merged.begin(), merged.end(), 5.0F);
                sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), nz, row.data());
                singleSampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), nz, singleRow.data());
                sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), nz, rounded.data());
                singleSampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), nz, merged.data());
                for (unsigned int k = 0; k < nz; ++k) {
                    ASSERT_EQ(row[k], sampler(lattice(i, j, k))) << i << ", " << j << ", " << k;
                    ASSERT_EQ(singleRow[k], row[k]) << i << ", " << j << ", " << k;
                    ASSERT_EQ(rounded[k], static_cast<float>(row[k])) << i << ", " << j << ", " << k;
                    ASSERT_NEAR(merged[k], row[k], mergedInSingles) << i << ", " << j << ", " << k;
                }
                ASSERT_EQ(row[nz], 5.0);
                ASSERT_EQ(merged[nz], 5.0F);
            }
        }
    }
}

TEST(TrilinearSampler, RowsOfRotatedLatticesEqualThePointsOneByOneBitForBit) {
    expectRowsEqualPoints(gridOf(7, 9, 13));
    expectRowsEqualPoints(gridOf(3, 2, 301)); // several chunks
}

TEST(TrilinearSampler, RowsThroughAxesOfOneNodeEqualThePoints) {
    for (int axis = 0; axis < 3; ++axis) {
        unsigned int size[3] = {4, 5, 6};
        size[axis] = 1;
        cGrid grid = gridOf(size[0], size[1], size[2]);
        grid.m_cellDim[axis] = 2.0;
        expectRowsEqualPoints(grid);
    }
}

TEST(TrilinearSampler, RowsThatLeaveTheLastNodeInANominalBoxEqualThePoints) {
    cGrid grid = gridOf(4, 5, 6);
    grid.m_box.m_max += cVector3(3.0, 2.0, 4.0);
    expectRowsEqualPoints(grid);
}

TEST(TrilinearSampler, BeyondTheLastNodeOfANominalBoxIsTheLastNode) {
    cGrid grid = gridOf(4, 5, 6);
    const cVector3 corner = grid.m_box.m_max;
    grid.m_box.m_max += cVector3(3.0, 2.0, 4.0);
    std::vector<double> field(grid.getTotalSize(), 0.0);
    field.back() = 0.7;
    EXPECT_EQ(lerp::TrilinearSampler(grid, field)(corner + cVector3(0.5, 0.25, 2.0)), 0.7);
}

TEST(TrilinearSampler, EqualsTheWeightedSumOfTheEightCorners) {
    const cGrid grid = gridOf(4, 5, 6);
    const std::vector<double> field = noise(grid.getTotalSize());
    const lerp::TrilinearSampler sampler(grid, field);
    std::mt19937 random(4);
    std::uniform_real_distribution<double> way(0.0, 1.0);
    for (int trial = 0; trial < 300; ++trial) {
        const int cell[3] = {trial % 3, trial % 4, trial % 5};
        const double fraction[3] = {way(random), way(random), way(random)};
        double sum = 0.0;
        for (int corner = 0; corner < 8; ++corner) {
            const int upper[3] = {corner >> 2, corner >> 1 & 1, corner & 1};
            double weight = 1.0;
            for (int axis = 0; axis < 3; ++axis) {
                weight *= upper[axis] ? fraction[axis] : 1.0 - fraction[axis];
            }
            sum += weight *
                   field[grid.indexToFlatIndex(cell[0] + upper[0], cell[1] + upper[1], cell[2] + upper[2])];
        }
        const cVector3 q(cell[0] + fraction[0], cell[1] + fraction[1], cell[2] + fraction[2]);
        EXPECT_NEAR(sampler(grid.m_box.m_min + q * grid.m_cellDim), sum, 1e-14); // corners up to 1
    }
}

TEST(TrilinearSampler, RowsThatMissTheBoxAreZero) {
    const cGrid grid = gridOf(4, 5, 6);
    const std::vector<double> field = noise(grid.getTotalSize());
    const lerp::TrilinearSampler sampler(grid, field);
    std::vector<double> row(8, 5.0);
    sampler.sampleRow(cVector3(100.0, 0.0, 1.0), cVector3(0.0, 0.0, 1.0), 8, row.data());
    EXPECT_EQ(row, std::vector<double>(8, 0.0));
    row.assign(8, 5.0);
    sampler.sampleRow(cVector3(2.0, 0.0, 100.0), cVector3(0.0, 0.0, 1.0), 8, row.data());
    EXPECT_EQ(row, std::vector<double>(8, 0.0));
}

TEST(TrilinearSampler, ARowThatStandsStillRepeatsItsPoint) {
    const cGrid grid = gridOf(4, 5, 6);
    const std::vector<double> field = noise(grid.getTotalSize());
    const lerp::TrilinearSampler sampler(grid, field);
    const cVector3 p(3.3, 1.1, 4.4);
    std::vector<double> row(5, 0.0);
    sampler.sampleRow(p, cVector3(0.0, 0.0, 0.0), 5, row.data());
    EXPECT_EQ(row, std::vector<double>(5, sampler(p)));
}

} // namespace
