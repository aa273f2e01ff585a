// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/SigmaFilter.h"

namespace {

using Field = std::vector<double>;

Field counting(std::size_t length) {
    Field field(length);
    std::iota(field.begin(), field.end(), 1.0);
    return field;
}

} // namespace

TEST(FieldMoments, EqualMeanAndVarianceOfTheWholeField) {
    fccf::FieldMoments moments;
    const Field field = counting(21); // (n + 1) / 2 and (n^2 - 1) / 12
    moments.add(field.data(), field.size());
    EXPECT_EQ(moments.mean(), 11.0);
    EXPECT_NEAR(moments.variance(), 440.0 / 12.0, 1e-13);
}

TEST(FieldMoments, DoNotDependOnWhereTheFieldIsCut) {
    Field field(103);
    for (std::size_t p = 0; p < field.size(); ++p) {
        field[p] = std::sin(static_cast<double>(p * p));
    }
    fccf::FieldMoments whole;
    whole.add(field.data(), field.size());
    for (std::size_t length = 1; length < 40; ++length) {
        fccf::FieldMoments pieces;
        for (std::size_t p = 0; p < field.size(); p += length) {
            pieces.add(field.data() + p, std::min(length, field.size() - p));
        }
        EXPECT_EQ(pieces.mean(), whole.mean()) << length;
        EXPECT_EQ(pieces.variance(), whole.variance()) << length;
    }
}

TEST(FieldMoments, AreNotANumberBeforeTheFirstValue) {
    EXPECT_TRUE(std::isnan(fccf::FieldMoments().mean()));
    EXPECT_TRUE(std::isnan(fccf::FieldMoments().variance()));
}

TEST(SigmaFilter, LeavesTheSignOfZeroWhenTheMeanIsNotNegative) {
    const Field field(4, 0.0);
    fccf::FieldMoments moments;
    moments.add(field.data(), field.size());
    const fccf::SigmaFilter filter(moments, 1.0);
    EXPECT_TRUE(std::signbit(filter(-0.0)));
    EXPECT_FALSE(std::signbit(filter(0.0)));
}

TEST(SigmaFilter, AppliedToARowTellsWhetherAnythingPassed) {
    const std::vector<double> values{1.0, 2.0, 3.0, 10.0, -0.0};
    fccf::FieldMoments moments;
    moments.add(values.data(), values.size());
    const fccf::SigmaFilter filter(moments, 1.0);
    std::vector<double> out(values.size(), 7.0);
    EXPECT_TRUE(filter.apply(values.data(), values.size(), out.data()));
    for (std::size_t p = 0; p < values.size(); ++p) {
        EXPECT_EQ(out[p], filter(values[p]));
    }
    EXPECT_FALSE(filter.apply(values.data(), 3, out.data()));
    EXPECT_EQ(out, (std::vector<double>{0.0, 0.0, 0.0, 10.0, 0.0}));
    EXPECT_FALSE(filter.apply(values.data(), 0, out.data()));
    const fccf::SigmaFilter open(fccf::FieldMoments(), 0.0);
    const double special[] = {-0.0, std::numeric_limits<double>::quiet_NaN()};
    EXPECT_FALSE(open.apply(special, 1, out.data())) << "the zero of either sign";
    EXPECT_TRUE(open.apply(special, 2, out.data()));
}

TEST(SigmaFilter, AddsANegativeMeanBeforeZeroing) {
    const Field field{-8, -4, 0, 8}; // mean -1, variance 35
    fccf::FieldMoments moments;
    moments.add(field.data(), field.size());
    const fccf::SigmaFilter filter(moments, 1.0);
    EXPECT_EQ(filter(8.0), 7.0);
    EXPECT_EQ(filter(0.0), 0.0);
    EXPECT_EQ(filter(6.0), 5.0); // 5 + 1 lies above sqrt(35)
    EXPECT_EQ(filter(5.0), 0.0); // 4 + 1 does not
}

TEST(SigmaFilter, OfNothingLeavesEveryValueAsItIs) {
    const fccf::SigmaFilter filter = fccf::SigmaFilter::ofNothing();
    for (const double value : {-1e300, -3.0, 0.0, 1e-300, 7.0}) {
        EXPECT_EQ(filter(value), value);
    }
}
