// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Math/RotatedLattice.h"
#include "Math/cGrid.h"
#include "Math/cMatrix33.h"

namespace {

/// Coordinates up to about 30 angstrom, a few roundings each.
constexpr double tolerance = 1e-13;

class RotatedLatticeTest : public testing::Test {
protected:
    RotatedLatticeTest() : m_grid(cBBox({-3, 5, 11}, {4, 13, 31}), 2) { m_grid.setSize(3, 4, 5); }

    cGrid m_grid;
    cMatrix33 m_rotation = cMatrix33::rotationXYZ(0.4, -1.1, 2.3);
    cVector3 m_center{0.5, 9, 21};
};

TEST_F(RotatedLatticeTest, TurnsEachNodeAboutTheCentre) {
    const RotatedLattice lattice(m_grid, m_rotation, m_center);
    for (unsigned int i = 0; i < 3; ++i) {
        for (unsigned int j = 0; j < 4; ++j) {
            for (unsigned int k = 0; k < 5; ++k) {
                const cVector3 p = m_grid.m_box.m_min + cVector3(i, j, k) * m_grid.m_cellDim;
                const cVector3 expected = m_center + m_rotation * (p - m_center);
                EXPECT_LT((lattice(i, j, k) - expected).norm(), tolerance);
            }
        }
    }
}

TEST_F(RotatedLatticeTest, GetRotatedPosHasTheSameBitsInFlatOrder) {
    const RotatedLattice lattice(m_grid, m_rotation, m_center);
    std::vector<cVector3> positions(m_grid.getTotalSize() + 1, cVector3(77.0));
    m_grid.getRotatedPos(m_rotation, m_center, positions);
    for (std::size_t f = 0; f < m_grid.getTotalSize(); ++f) {
        const auto [i, j, k] = m_grid.m_flatIndex2Index[f];
        EXPECT_EQ(positions[f], lattice(static_cast<unsigned int>(i), static_cast<unsigned int>(j),
                                        static_cast<unsigned int>(k)));
    }
    EXPECT_EQ(positions.back(), cVector3(77.0));
}

TEST_F(RotatedLatticeTest, BothFormsOfGetRotatedPosAgreeUpToRounding) {
    std::vector<cVector3> positions(m_grid.getTotalSize());
    m_grid.getRotatedPos(m_rotation, m_center, positions);
    const std::vector<cVector3> returned = m_grid.getRotatedPos(m_rotation, m_center);
    ASSERT_EQ(returned.size(), positions.size());
    for (std::size_t f = 0; f < positions.size(); ++f) {
        EXPECT_LT((positions[f] - returned[f]).norm(), tolerance);
    }
}

TEST_F(RotatedLatticeTest, ShortOutputIsRefused) {
    std::vector<cVector3> positions(m_grid.getTotalSize() - 1);
    EXPECT_THROW(m_grid.getRotatedPos(m_rotation, m_center, positions), std::length_error);
}

} // namespace
