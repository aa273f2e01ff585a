// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "PDB/cInterval.h"

namespace {

const double ends[] = {-3.0, -1.5, 0.0, 0.5, 2.0};

/// Calls check(a, b, x, y) for intervals a, b and members x of a, y of b.
template <typename Check>
void forAllMembers(Check check) {
    for (const double a0 : ends) {
        for (const double a1 : ends) {
            for (const double b0 : ends) {
                for (const double b1 : ends) {
                    for (const double s : {0.0, 0.25, 1.0}) {
                        if (a0 > a1 || b0 > b1) {
                            continue;
                        }
                        check(cInterval(a0, a1), cInterval(b0, b1), a0 + s * (a1 - a0), b1 + s * (b0 - b1));
                    }
                }
            }
        }
    }
}

} // namespace

TEST(CInterval, ArithmeticHoldsTheResultOfEveryPairOfMembers) {
    forAllMembers([](const cInterval& a, const cInterval& b, double x, double y) {
        EXPECT_TRUE((a + b).contains(x + y));
        EXPECT_TRUE((a - b).contains(x - y));
        EXPECT_TRUE((a * b).contains(x * y));
        EXPECT_TRUE((-a).contains(-x));
        EXPECT_TRUE((a * -2.0).contains(x * -2.0));
        if (y != 0.0) {
            EXPECT_TRUE((a / b).contains(x / y));
        }
        EXPECT_EQ((a ^ b).contains(x), b.contains(x));
    });
}

TEST(CInterval, ResultsAreTight) {
    const cInterval product = cInterval(-2.0, 3.0) * cInterval(-1.0, 4.0);
    EXPECT_EQ(product.lower, -8.0);
    EXPECT_EQ(product.upper, 12.0);
    const cInterval quotient = cInterval(1.0, 2.0) / cInterval(-4.0, -2.0);
    EXPECT_EQ(quotient.lower, -1.0);
    EXPECT_EQ(quotient.upper, -0.25);
}

TEST(CInterval, CompoundOperatorsEqualTheirPlainForms) {
    cInterval a(1.0, 2.0);
    a += cInterval(-1.0, 3.0);
    EXPECT_EQ(a.lower, 0.0);
    EXPECT_EQ(a.upper, 5.0);
    a -= cInterval(1.0, 2.0);
    EXPECT_EQ(a.lower, -2.0);
    EXPECT_EQ(a.upper, 4.0);
    a += 1.0;
    EXPECT_EQ(a.lower, -1.0);
    EXPECT_EQ(a.upper, 5.0);
}

TEST(CInterval, BoundsGrowFromUnset) {
    cInterval a;
    EXPECT_FALSE(a.contains(0.0));
    a.bound(2.0);
    EXPECT_EQ(a.lower, 2.0);
    EXPECT_EQ(a.upper, 2.0);
    a.bound(cInterval(-1.0, 1.0));
    EXPECT_EQ(a.lower, -1.0);
    EXPECT_EQ(a.upper, 2.0);
    a.expand(0.5);
    EXPECT_EQ(a.lower, -1.5);
    a.shrink(1.0);
    EXPECT_EQ(a.lower, -0.5);
    EXPECT_EQ(a.upper, 1.5);
}

TEST(CInterval, QueriesOfMagnitudeAndEmptiness) {
    EXPECT_EQ(cInterval(-3.0, 2.0).getAbsLower(), 0.0);
    EXPECT_EQ(cInterval(-3.0, 2.0).getAbsUpper(), 3.0);
    EXPECT_EQ(cInterval(-3.0, -1.0).getAbsLower(), 1.0);
    EXPECT_TRUE(cInterval(0.0, 1.0).isEmpty(1.5, 2.0));
    EXPECT_FALSE(cInterval(0.0, 1.0).isEmpty(1.0, 2.0));
    const cInterval disjoint = cInterval(0.0, 1.0) ^ cInterval(2.0, 3.0);
    EXPECT_GT(disjoint.lower, disjoint.upper);
}
