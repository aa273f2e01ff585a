// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Interpolation/TrilinearSampler.h"
#include "Interpolation/lerp.h"
#include "Math/RotatedLattice.h"
#include "Math/cGrid.h"
#include "Math/cMatrix33.h"

namespace {

/// Values of order 10 after a few roundings.
constexpr double tolerance = 1e-12;

/// Nodes 3 x 4 x 5 around the origin, spaced 1, 0.5 and 2 angstrom, with random values.
class Lerp : public testing::Test {
protected:
    Lerp() {
        m_grid.setBBox(cBBox({-1, -0.75, -4}, {1, 0.75, 4}));
        m_grid.setSize(3, 4, 5);
        std::uniform_real_distribution<double> uniform(-10, 10);
        m_f.resize(m_grid.getTotalSize());
        for (double& value : m_f) {
            value = uniform(m_generator);
        }
    }

    cVector3 node(unsigned int i, unsigned int j, unsigned int k) const {
        return m_grid.m_box.m_min + cVector3(i, j, k) * m_grid.m_cellDim;
    }

    void fillWith(double (*field)(const cVector3&)) {
        for (std::size_t f = 0; f < m_f.size(); ++f) {
            const auto [i, j, k] = m_grid.m_flatIndex2Index[f];
            m_f[f] = field(node(static_cast<unsigned int>(i), static_cast<unsigned int>(j),
                                static_cast<unsigned int>(k)));
        }
    }

    /// Points in and around the box.
    std::vector<cVector3> randomPoints(int n) {
        std::uniform_real_distribution<double> uniform(-1.2, 1.2);
        std::vector<cVector3> points;
        for (int p = 0; p < n; ++p) {
            const cVector3 unit(uniform(m_generator), uniform(m_generator), uniform(m_generator));
            points.push_back(unit * m_grid.m_box.m_max);
        }
        return points;
    }

    std::vector<double> first(const std::vector<cVector3>& points) const {
        std::vector<double> out(points.size(), 77.0);
        lerp::lerp3d(points, m_grid, m_f, out);
        return out;
    }
    std::vector<double> second(const std::vector<cVector3>& points) const {
        return lerp::lerp3d(points, m_grid, m_f);
    }

    /// v_a (1 - u) / 2 + v_b (1 + u) / 2 with u = (2 p - a - b) / (b - a), along x, then y, then z.
    double mergeAxisByAxis(const cVector3& p) const {
        double u[3];
        int low[3];
        for (int axis = 0; axis < 3; ++axis) {
            const double min = m_grid.m_box.m_min[axis], cell = m_grid.m_cellDim[axis];
            low[axis] = static_cast<int>(std::floor((p[axis] - min) / cell));
            const double a = low[axis] * cell + min, b = (low[axis] + 1) * cell + min;
            u[axis] = (2 * p[axis] - a - b) / (b - a);
        }
        const auto merge = [&u](int axis, double va, double vb) {
            return va * (1 - u[axis]) / 2 + vb * (1 + u[axis]) / 2;
        };
        double layers[2];
        for (int k = 0; k < 2; ++k) {
            double rows[2];
            for (int j = 0; j < 2; ++j) {
                rows[j] = merge(0, m_f[m_grid.indexToFlatIndex(low[0], low[1] + j, low[2] + k)],
                                m_f[m_grid.indexToFlatIndex(low[0] + 1, low[1] + j, low[2] + k)]);
            }
            layers[k] = merge(1, rows[0], rows[1]);
        }
        return merge(2, layers[0], layers[1]);
    }

    std::mt19937 m_generator{5489};
    cGrid m_grid;
    std::vector<double> m_f;
};

TEST_F(Lerp, PositionOnAnInnerNodeReturnsItsValue) {
    const std::vector<double> rotated = lerp::lerp3d(cMatrix33::identity(), m_grid, m_f);
    for (unsigned int j = 1; j < 3; ++j) {
        for (unsigned int k = 1; k < 4; ++k) {
            const unsigned int f = m_grid.indexToFlatIndex(1, static_cast<int>(j), static_cast<int>(k));
            EXPECT_EQ(first({node(1, j, k)})[0], m_f[f]);
            EXPECT_EQ(second({node(1, j, k)})[0], m_f[f]);
            EXPECT_EQ(rotated[f], m_f[f]);
        }
    }
}

TEST_F(Lerp, PositionOnAFaceReturnsZero) {
    const std::vector<cVector3> onFaces = {node(0, 1, 1), node(2, 1, 1), node(1, 0, 1),
                                           node(1, 3, 1), node(1, 1, 0), node(1, 1, 4)};
    EXPECT_EQ(first(onFaces), std::vector<double>(6, 0.0));
    EXPECT_EQ(second(onFaces), std::vector<double>(6, 0.0));
    const std::vector<double> rotated = lerp::lerp3d(cMatrix33::identity(), m_grid, m_f);
    EXPECT_EQ(rotated.front(), 0.0);
    EXPECT_EQ(rotated[m_grid.indexToFlatIndex(1, 3, 2)], 0.0);
}

TEST_F(Lerp, LinearFieldIsExact) {
    const auto linear = [](const cVector3& p) { return 3 - 2 * p.x + 5 * p.y - 0.5 * p.z; };
    fillWith(linear);
    const std::vector<cVector3> points = randomPoints(500);
    const std::vector<double> a = first(points), b = second(points);
    for (std::size_t n = 0; n < points.size(); ++n) {
        const double expected = m_grid.m_box.inBox(points[n]) ? linear(points[n]) : 0.0;
        EXPECT_NEAR(a[n], expected, tolerance);
        EXPECT_NEAR(b[n], expected, tolerance);
    }
}

TEST_F(Lerp, RotationOfALinearFieldIsExactAboutTheWorldOrigin) {
    const auto linear = [](const cVector3& p) { return 3 - 2 * p.x + 5 * p.y - 0.5 * p.z; };
    fillWith(linear);
    const cMatrix33 rotation = cMatrix33::rotationXYZ(0.2, -0.1, 0.3);
    const std::vector<double> values = lerp::lerp3d(rotation, m_grid, m_f);
    int inside = 0;
    for (std::size_t f = 0; f < m_f.size(); ++f) {
        const auto [i, j, k] = m_grid.m_flatIndex2Index[f];
        const cVector3 p = rotation * node(static_cast<unsigned int>(i), static_cast<unsigned int>(j),
                                           static_cast<unsigned int>(k));
        inside += m_grid.m_box.inBox(p);
        EXPECT_NEAR(values[f], m_grid.m_box.inBox(p) ? linear(p) : 0.0, tolerance);
    }
    EXPECT_GT(inside, 0);
}

TEST_F(Lerp, BothWaysGiveTheSameBlendOfAnyField) {
    const std::vector<cVector3> points = randomPoints(500);
    const std::vector<double> a = first(points), b = second(points);
    for (std::size_t n = 0; n < points.size(); ++n) {
        EXPECT_NEAR(a[n], b[n], tolerance);
    }
}

TEST_F(Lerp, SecondWayMergesByItsOwnFormulaToTheLastBit) {
    m_grid.setBBox(cBBox({-1.1, -0.7, -4.3}, {1.3, 0.9, 4.1}));
    std::vector<cVector3> points = randomPoints(500);
    const std::vector<double> a = first(points), b = second(points);
    int differing = 0;
    for (std::size_t n = 0; n < points.size(); ++n) {
        if (m_grid.m_box.inBox(points[n])) {
            EXPECT_EQ(b[n], mergeAxisByAxis(points[n]));
            differing += a[n] != b[n];
        }
    }
    // Seen to fail with the second way sent through the sampler.
    EXPECT_GT(differing, 0);
}

TEST_F(Lerp, EachCornerHasItsOwnWeight) {
    const cVector3 fraction(0.25, 0.5, 0.125);
    const cVector3 p = node(0, 1, 2) + fraction * m_grid.m_cellDim;
    for (int corner = 0; corner < 8; ++corner) {
        const int di = corner >> 2, dj = corner >> 1 & 1, dk = corner & 1;
        m_f.assign(m_f.size(), 0.0);
        m_f[m_grid.indexToFlatIndex(di, 1 + dj, 2 + dk)] = 1;
        const double weight = (di ? 0.25 : 0.75) * 0.5 * (dk ? 0.125 : 0.875);
        EXPECT_NEAR(first({p})[0], weight, tolerance);
        EXPECT_NEAR(second({p})[0], weight, tolerance);
    }
}

TEST_F(Lerp, OneCellInXIsItsOwnNeighbour) {
    m_grid.setBBox(cBBox({0, 0, 0}, {1, 1, 1}));
    m_grid.setSize(1, 2, 2);
    m_grid.m_cellDim.x = 1;
    m_f = {1, 2, 3, 4};
    EXPECT_NEAR(first({{0.7, 0.5, 0.5}})[0], 2.5, tolerance);
    EXPECT_NEAR(first({{0.1, 0.25, 0.75}})[0], 2.25, tolerance);
}

TEST_F(Lerp, NominalBoxBeyondTheLastNodeStaysOnTheGrid) {
    m_grid.m_box.m_max = cVector3(1000.0);
    m_f.assign(m_f.size(), 3.0);
    const std::vector<cVector3> far = {{900, 900, 900}, {0, 900, 0}};
    for (double value : first(far)) {
        EXPECT_NEAR(value, 3, 1e-6); // fractions of 1000 cancel
    }
    EXPECT_EQ(second(far), std::vector<double>(2, 3.0));
}

TEST_F(Lerp, CellThatIsNotFiniteStaysOnTheGrid) {
    m_grid.m_cellDim = cVector3(std::nan(""), std::numeric_limits<double>::infinity(), 0);
    EXPECT_NO_THROW(first(randomPoints(50)));
    EXPECT_NO_THROW(second(randomPoints(50)));
}

TEST_F(Lerp, NotANumberIsOutside) {
    EXPECT_EQ(first({{std::nan(""), 0, 0}})[0], 0.0);
    EXPECT_EQ(second({{std::nan(""), 0, 0}})[0], 0.0);
}

TEST_F(Lerp, FieldOfAnotherSizeIsRefusedBeforeAnythingIsWritten) {
    m_f.pop_back();
    const std::vector<cVector3> points = {{0.1, 0.1, 0.1}};
    std::vector<double> out = {77};
    try {
        lerp::lerp3d(points, m_grid, m_f, out);
        FAIL() << "no exception";
    } catch (const std::length_error& error) {
        EXPECT_EQ(std::string(error.what()), "grid2 and f must be the same size");
    }
    EXPECT_EQ(out[0], 77);
    EXPECT_THROW(lerp::lerp3d(points, m_grid, m_f), std::length_error);
    EXPECT_THROW(lerp::lerp3d(cMatrix33::identity(), m_grid, m_f), std::length_error);
}

TEST_F(Lerp, ShortOutputIsRefused) {
    std::vector<double> out(1);
    EXPECT_THROW(lerp::lerp3d({cVector3(0.1), cVector3(0.2)}, m_grid, m_f, out), std::length_error);
}

TEST_F(Lerp, EmptyGridGivesZero) {
    m_grid.setSize(0, 0, 0);
    m_f.clear();
    EXPECT_EQ(first({cVector3(0.1)})[0], 0.0);
    EXPECT_EQ(second({cVector3(0.1)})[0], 0.0);
}

TEST_F(Lerp, SamplerOnARotatedLatticeHasTheBitsOfTheArrays) {
    const cMatrix33 rotation = cMatrix33::rotationXYZ(0.4, -1.1, 2.3);
    const cVector3 center(0.1, 0.2, 0.3);
    std::vector<cVector3> positions(m_grid.getTotalSize());
    m_grid.getRotatedPos(rotation, center, positions);
    const std::vector<double> values = first(positions);
    const RotatedLattice lattice(m_grid, rotation, center);
    const lerp::TrilinearSampler sample(m_grid, m_f);
    std::size_t f = 0;
    for (unsigned int i = 0; i < 3; ++i) {
        for (unsigned int j = 0; j < 4; ++j) {
            for (unsigned int k = 0; k < 5; ++k) {
                EXPECT_EQ(sample(lattice(i, j, k)), values[f++]);
            }
        }
    }
}

} // namespace
