// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "examples/Random.h"

namespace example {
namespace {

constexpr int samples = 20000;
/// Five standard errors of a mean of samples numbers of variance 1.
constexpr double fiveSigma = 0.036;

TEST(Random, SequenceOfASeedIsFixed) {
    std::mt19937_64 engine(5489u);
    for (int i = 0; i < 9999; ++i) {
        engine();
    }
    EXPECT_EQ(engine(), 9981545732273789042u); // the value that the language standard demands
    Random a(7);
    Random b(7);
    Random c(8);
    const double first = a.uniform();
    EXPECT_EQ(first, b.uniform());
    EXPECT_NE(first, c.uniform());
}

TEST(Random, UniformStaysBelowOneAndIndexBelowCount) {
    Random random(1);
    for (int i = 0; i < samples; ++i) {
        const double u = random.uniform();
        EXPECT_GE(u, 0.0);
        EXPECT_LT(u, 1.0);
        EXPECT_LT(random.index(3), 3u);
    }
}

TEST(Random, NormalHasMeanZeroAndVarianceOne) {
    Random random(2);
    double sum = 0.0;
    double squares = 0.0;
    for (int i = 0; i < samples; ++i) {
        const double x = random.normal();
        sum += x;
        squares += x * x;
    }
    EXPECT_NEAR(sum / samples, 0.0, fiveSigma);
    EXPECT_NEAR(squares / samples, 1.0, 2.0 * fiveSigma);
}

TEST(Random, RotationsAreOrthonormalRightHandedAndWithoutPreference) {
    Random random(3);
    Vec3 mean;
    for (int i = 0; i < samples; ++i) {
        const Mat3 r = random.rotation();
        const Vec3 x = r * Vec3{1.0, 0.0, 0.0};
        const Vec3 y = r * Vec3{0.0, 1.0, 0.0};
        const Vec3 z = r * Vec3{0.0, 0.0, 1.0};
        ASSERT_NEAR(norm(x), 1.0, 1e-12);
        ASSERT_NEAR(dot(x, y), 0.0, 1e-12);
        ASSERT_NEAR(norm(cross(x, y) - z), 0.0, 1e-12);
        mean = mean + x;
    }
    EXPECT_LT(norm((1.0 / samples) * mean), fiveSigma);
}

} // namespace
} // namespace example
