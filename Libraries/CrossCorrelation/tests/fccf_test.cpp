// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/fccf.h"

namespace {

using Field = std::vector<double>;
using Point = std::array<double, 3>;

Field counting(std::size_t length) {
    Field field(length);
    std::iota(field.begin(), field.end(), 1.0);
    return field;
}

} // namespace

TEST(FccfIntegral, SumsOneField) {
    EXPECT_EQ(fccf::getIntegral(counting(4), false), 10.0);
    EXPECT_EQ(fccf::getIntegral(counting(4), true), 2.5);
}

TEST(FccfIntegral, SumsTheProductOfTwoFields) {
    EXPECT_EQ(fccf::getIntegral(counting(3), {2, -1, 4}, false), 12.0);
    EXPECT_EQ(fccf::getIntegral(counting(3), {2, -1, 4}, true), 4.0);
}

TEST(FccfIntegral, RangeIsDividedByTheWholeLength) {
    // Seen to fail with the length of the range for divisor.
    const Field f = counting(10);
    const Field g(10, 2.0);
    EXPECT_EQ(fccf::getIntegral(f, g, 2, 5, false), 24.0);
    EXPECT_EQ(fccf::getIntegral(f, g, 2, 5, true), 2.4);
    EXPECT_EQ(fccf::getIntegral(f, g, 5, 5, false), 0.0);
    EXPECT_EQ(fccf::getIntegral(f, g, 7, 3, false), 0.0);
}

TEST(FccfIntegral, RangeBeyondTheFieldsThrows) {
    EXPECT_THROW(fccf::getIntegral(counting(3), counting(3), 0, 4, false), std::out_of_range);
}

TEST(FccfIntegral, DifferentLengthsThrow) {
    try {
        fccf::getIntegral(counting(3), counting(4), false);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "f and g must have the same size");
    }
    EXPECT_THROW(fccf::getIntegral(counting(3), counting(4), 0, 2, false), std::length_error);
}

TEST(FccfIntegral, NormalizingAnEmptyFieldGivesNotANumber) {
    EXPECT_TRUE(std::isnan(fccf::getIntegral(Field{}, true)));
    EXPECT_TRUE(std::isnan(fccf::getIntegral(Field{}, Field{}, true)));
    EXPECT_EQ(fccf::getIntegral(Field{}, false), 0.0);
}

TEST(FccfFilterValues, ConstantPositiveFieldStays) {
    Field field(6, 2.0);
    fccf::filterValues(field, 3.0);
    EXPECT_EQ(field, Field(6, 2.0));
}

TEST(FccfFilterValues, KeepsOnlyWhatStandsAboveTheMean) {
    Field field{0, 0, 0, 4};
    fccf::filterValues(field, 1.0);
    EXPECT_EQ(field, (Field{0, 0, 0, 4}));

    Field spread{1, 2, 3, 4, 10}; // mean 4, variance 10
    fccf::filterValues(spread, 1.0);
    EXPECT_EQ(spread, (Field{0, 0, 0, 0, 10}));
}

TEST(FccfFilterValues, ZeroSigmasKeepsTheMeanItselfAndWhatIsAbove) {
    Field field{1, 2, 3};
    fccf::filterValues(field, 0.0);
    EXPECT_EQ(field, (Field{0, 2, 3}));
}

TEST(FccfFilterValues, NegativeMeanIsAddedBeforeZeroing) {
    // Seen to fail with the mean removed.
    Field field{-8, -4, 0, 8}; // mean -1, variance 35
    fccf::filterValues(field, 1.0);
    // shifted: -9, -5, -1, 7; kept where sqrt(35) <= v + 1
    EXPECT_EQ(field, (Field{0, 0, 0, 7}));

    Field below{-3, -1}; // mean -2, variance 1; shifted: -5, -3, compared as -3, -1
    fccf::filterValues(below, -2.0);
    EXPECT_EQ(below, (Field{0, -3}));
}

TEST(FccfFilterValues, VarianceRoundedBelowZeroKeepsEverything) {
    const Field original{0.1, 0.1, 0.1}; // E[v^2] - mean^2 is -1.7e-18 in double
    double sum = 0.0;
    double squares = 0.0;
    for (const double v : original) {
        sum += v;
        squares += v * v;
    }
    ASSERT_LT(squares / 3.0 - (sum / 3.0) * (sum / 3.0), 0.0);
    Field field = original;
    fccf::filterValues(field, 5.0);
    EXPECT_EQ(field, original);
}

TEST(FccfFilterValues, EmptyFieldStaysEmpty) {
    Field field;
    fccf::filterValues(field, 1.0);
    EXPECT_TRUE(field.empty());
}

TEST(FccfBound, ClampsFromBothSides) {
    EXPECT_EQ(fccf::bound(5, 0, 3), 3);
    EXPECT_EQ(fccf::bound(-1, 0, 3), 0);
    EXPECT_EQ(fccf::bound(2, 0, 3), 2);
}

TEST(FccfBound, HighWinsOverLowAndLowOverNotANumber) {
    EXPECT_EQ(fccf::bound(5, 4, 3), 3);
    EXPECT_EQ(fccf::bound(std::numeric_limits<double>::quiet_NaN(), 0, 3), 0);
}

TEST(FccfRelevantPositions, ZeroSigmasListsWhatDiffersFromTheMean) {
    EXPECT_EQ(fccf::getRelevantPositions({1, 2, 3, 2}, 0.0), (std::vector<std::size_t>{0, 2}));
}

TEST(FccfRelevantPositions, CountsBothSidesOfTheMean) {
    // mean 0, variance 50 / 6, so one deviation is about 2.9
    EXPECT_EQ(fccf::getRelevantPositions({0, -5, 0, 0, 5, 0}, 1.0), (std::vector<std::size_t>{1, 4}));
}

TEST(FccfRelevantPositions, DeviationEqualToTheBoundIsNotListed) {
    EXPECT_TRUE(fccf::getRelevantPositions({-1, 1}, 1.0).empty());
    EXPECT_EQ(fccf::getRelevantPositions({-1, 1}, 0.5).size(), 2u);
}

TEST(FccfRelevantPositions, EmptyFieldGivesAnEmptyList) {
    EXPECT_TRUE(fccf::getRelevantPositions({}, 1.0).empty());
}

TEST(FccfDofMatrices, RotationMatrixIsTheCrossProductWithTheArm) {
    const Point p{1.5, -2.0, 4.0};
    const Point c{0.5, 1.0, -3.0};
    const arma::Col<double> arm{1.0, -3.0, 7.0};
    const arma::Mat<double> rotation = fccf::getRotationDoffMatrix(p, c);
    ASSERT_EQ(rotation.n_rows, 3u);
    ASSERT_EQ(rotation.n_cols, 3u);
    for (arma::uword axis = 0; axis < 3; ++axis) {
        arma::Col<double> theta(3, arma::fill::zeros);
        theta(axis) = 1.0;
        EXPECT_EQ(arma::norm(rotation.col(axis) - arma::cross(theta, arm), "inf"), 0.0) << axis;
    }
    EXPECT_EQ(rotation(0, 1), 7.0);
    EXPECT_EQ(rotation(1, 2), 1.0);
    EXPECT_EQ(rotation(2, 0), -3.0);
}

TEST(FccfDofMatrices, RigidMatrixMovesAsASmallRigidMotion) {
    const Point p{1.5, -2.0, 4.0};
    const Point c{0.5, 1.0, -3.0};
    const arma::Col<double> x{0.1, 0.2, -0.3, 0.4, -0.5, 0.6};
    const arma::Mat<double> rigid = fccf::getRigidDofMatrix(p, c);
    ASSERT_EQ(rigid.n_rows, 3u);
    ASSERT_EQ(rigid.n_cols, 6u);
    const arma::Col<double> moved = rigid * x;
    const arma::Col<double> expected =
        x.head(3) + arma::cross(arma::Col<double>(x.tail(3)), arma::Col<double>{1.0, -3.0, 7.0});
    EXPECT_LT(arma::norm(moved - expected), 1e-14);
}

TEST(FccfDofMatrices, TranslationMatrixIsTheIdentity) {
    EXPECT_EQ(arma::norm(fccf::getTranslationDoffMatrix() - arma::eye(3, 3), "fro"), 0.0);
}
