// SPDX-License-Identifier: GPL-3.0-or-later
#include "Interpolation/TrilinearSampler.h"

#include <random>

#include <gtest/gtest.h>

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

TEST(TrilinearSampler, RowsOfRotatedLatticesEqualThePointsOneByOneBitForBit) {
    const cGrid grid = gridOf(7, 9, 13);
    const std::vector<double> field = noise(grid.getTotalSize());
    const lerp::TrilinearSampler sampler(grid, field);
    const cVector3 center = 0.5 * (grid.m_box.m_min + grid.m_box.m_max);
    const double quarter = 1.5707963267948966;
    const double angles[][3] = {{0.0, 0.0, 0.0},         {quarter, 0.0, 0.0},   {0.0, quarter, 0.0},
                                {0.0, 0.0, 2 * quarter}, {0.3, -1.1, 2.2},      {-2.9, 0.7, 0.01},
                                {1e-9, 0.0, 0.0},        {quarter, quarter, 0}, {0.5, 0.5, 0.5}};
    for (const auto& a : angles) {
        const RotatedLattice lattice(grid, cMatrix33::rotationXYZ(a[0], a[1], a[2]), center);
        for (unsigned int i = 0; i < 7; ++i) {
            for (unsigned int j = 0; j < 9; ++j) {
                std::vector<double> row(13, 5.0);
                sampler.sampleRow(lattice.rowStart(i, j), lattice.rowStep(), 13, row.data());
                for (unsigned int k = 0; k < 13; ++k) {
                    EXPECT_EQ(row[k], sampler(lattice(i, j, k))) << i << ", " << j << ", " << k;
                }
            }
        }
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
