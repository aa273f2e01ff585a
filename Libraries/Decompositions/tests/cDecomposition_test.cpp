// SPDX-License-Identifier: GPL-3.0-or-later
#include <unistd.h>

#include <gtest/gtest.h>

#include "Decompositions/cDecomposition.h"

namespace {

constexpr double rounding = 1e-12;

/// f = 1 + 2 i - 3 j + 0.5 k, which trilinear interpolation reproduces between the nodes.
class LinearField : public cDecomposition {
public:
    LinearField() {
        m_grid.m_box = cBBox(cVector3(-1.0, 2.0, 5.0), cVector3(1.0, 3.5, 7.0));
        m_grid.setSize(3, 4, 5);
    }
    double getCoef(int i, int j, int k) const override { return at(i, j, k); }
    static double at(double i, double j, double k) { return 1.0 + 2.0 * i - 3.0 * j + 0.5 * k; }

    cVector3 place(double i, double j, double k) const {
        return m_grid.m_box.m_min + cVector3(i, j, k) * m_grid.m_cellDim;
    }
};

/// Standard output of a dying statement, where the death test can see it.
void sendOutputToErrorStream() {
    dup2(STDERR_FILENO, STDOUT_FILENO);
}

} // namespace

TEST(cDecomposition, AverageValueReproducesALinearField) {
    const LinearField field;
    for (const double i : {0.01, 0.5, 1.25, 1.99}) {
        for (const double j : {0.3, 1.75, 2.99}) {
            for (const double k : {0.2, 2.5, 3.9}) {
                EXPECT_NEAR(field.getAverageValue(field.place(i, j, k)), LinearField::at(i, j, k), rounding);
            }
        }
    }
}

TEST(cDecomposition, AverageValueIsZeroOutsideTheBoxAndOnItsFaces) {
    const LinearField field;
    EXPECT_EQ(field.getAverageValue(field.m_grid.m_box.m_min), 0.0);
    EXPECT_EQ(field.getAverageValue(field.m_grid.m_box.m_max), 0.0);
    EXPECT_EQ(field.getAverageValue(field.place(-0.5, 1.5, 1.5)), 0.0);
    EXPECT_EQ(field.getAverageValue(field.place(0.5, 1.5, 4.5)), 0.0);
}

TEST(cDecomposition, AverageValueIsZeroAboveTheLastCell) {
    LinearField field;
    const cVector3 place = field.place(0.5, 0.5, 4.5);
    field.m_grid.m_box.m_max += cVector3(10.0); // a nominal extent, as padded grids have
    EXPECT_EQ(field.getAverageValue(place), 0.0);
    EXPECT_EQ(field.getAverageValue(field.place(7.5, 0.5, 0.5)), 0.0);
}

TEST(cDecomposition, MinMaxRunsOverAllCoefficients) {
    const LinearField field;
    double min = 0.0, max = 0.0;
    field.getMinMaxValues(min, max);
    EXPECT_EQ(min, LinearField::at(0, 3, 0));
    EXPECT_EQ(max, LinearField::at(2, 0, 4));
}

TEST(cDecomposition, UndefinedValueEndsTheProcess) {
    const cDecomposition field;
    EXPECT_EXIT(
        {
            sendOutputToErrorStream();
            field.getValue(cVector3(0.0));
        },
        testing::ExitedWithCode(255), "^cDecomposition:Not defined\n$");
    EXPECT_EXIT(
        {
            sendOutputToErrorStream();
            field.getValue(0.0, 0.0, 0.0);
        },
        testing::ExitedWithCode(255), "^cDecomposition:Not defined\n$");
}

TEST(cDecomposition, UndefinedCoefficientEndsTheProcess) {
    const cDecomposition field;
    EXPECT_EXIT(
        {
            sendOutputToErrorStream();
            field.getCoef(0, 0, 0);
        },
        testing::ExitedWithCode(255), "^cDecomposition:Not defined\n$");
}
