// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "Math/cMatrix33.h"
#include "Math/pi.h"
#include "Sampler/evenRotations.h"

namespace {

/// Distances between orientations by unit quaternions made from the matrices of the set, so that the way
/// through the angles is tested, too.
class RotationSet {
public:
    using Quaternion = std::array<double, 4>;

    explicit RotationSet(double step) {
        for (const auto& angles : evenRotations(step)) {
            m_quaternions.push_back(quaternionOf(cMatrix33::rotationXYZ(angles[0], angles[1], angles[2])));
        }
    }

    std::size_t size() const { return m_quaternions.size(); }

    double degreesToNearest(const Quaternion& q) const {
        double largest = 0.0;
        for (const Quaternion& p : m_quaternions) {
            largest = std::max(largest, std::abs(p[0] * q[0] + p[1] * q[1] + p[2] * q[2] + p[3] * q[3]));
        }
        return 2.0 * std::acos(std::min(1.0, largest)) / radiansPerDegree;
    }

private:
    static Quaternion quaternionOf(const cMatrix33& m) {
        // The largest of the four squares is at least a quarter.
        const std::array<double, 4> squares = {
            1 + m(0, 0) + m(1, 1) + m(2, 2), 1 + m(0, 0) - m(1, 1) - m(2, 2), 1 - m(0, 0) + m(1, 1) - m(2, 2),
            1 - m(0, 0) - m(1, 1) + m(2, 2)};
        const auto k = std::max_element(squares.begin(), squares.end()) - squares.begin();
        const double a = m(2, 1) - m(1, 2), b = m(0, 2) - m(2, 0), c = m(1, 0) - m(0, 1);
        const double d = m(0, 1) + m(1, 0), e = m(0, 2) + m(2, 0), f = m(1, 2) + m(2, 1);
        const std::array<Quaternion, 4> rows = {
            {{squares[0], a, b, c}, {a, squares[1], d, e}, {b, d, squares[2], f}, {c, e, f, squares[3]}}};
        Quaternion q = rows[static_cast<std::size_t>(k)];
        const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
        for (double& x : q) {
            x /= length;
        }
        return q;
    }

    std::vector<Quaternion> m_quaternions;
};

RotationSet::Quaternion near(const RotationSet::Quaternion& q, double width, std::mt19937& random) {
    std::normal_distribution<double> normal;
    RotationSet::Quaternion p;
    double square = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
        p[i] = q[i] + width * normal(random);
        square += p[i] * p[i];
    }
    for (double& x : p) {
        x /= std::sqrt(square);
    }
    return p;
}

/// The farthest of many random orientations, each moved away from the set for a while.
double farthestDegrees(const RotationSet& set, int starts) {
    std::mt19937 random(7);
    std::vector<std::pair<double, RotationSet::Quaternion>> found;
    for (int i = 0; i < starts; ++i) {
        const RotationSet::Quaternion q = near({0, 0, 0, 0}, 1.0, random);
        found.emplace_back(set.degreesToNearest(q), q);
    }
    std::sort(found.rbegin(), found.rend());
    found.resize(10);
    for (auto& [degrees, q] : found) {
        for (double width = 0.1; width > 1e-3;) {
            const RotationSet::Quaternion trial = near(q, width, random);
            const double there = set.degreesToNearest(trial);
            if (there > degrees) {
                degrees = there;
                q = trial;
            } else {
                width *= 0.93;
            }
        }
    }
    return std::max_element(found.begin(), found.end())->first;
}

} // namespace

TEST(EvenRotations, NoOrientationIsFartherThanTheStep) {
    for (const double step : {60.0, 40.0, 27.0, 20.0, 18.0, 12.0}) {
        const RotationSet set(step);
        const double farthest = farthestDegrees(set, step < 15.0 ? 1000 : 4000);
        EXPECT_LE(farthest, step);
        EXPECT_GE(farthest, 0.85 * step) << "as many rotations as the step needs, and not many more";
    }
}

TEST(EvenRotations, TakeATenthOfTheSpiralOfTheSameReach) {
    // 14868 rotations of the spiral of 10 degrees leave orientations that are 22.7 degrees away.
    EXPECT_LT(evenRotationCount(22.7), 14868u / 10u);
}

TEST(EvenRotations, CountGrowsWithTheCubeOfTheInverseStep) {
    EXPECT_EQ(evenRotationCount(24.5), 1000u);
    EXPECT_EQ(evenRotationCount(12.25), 8000u);
    EXPECT_EQ(evenRotations(24.5).size(), 1000u);
    EXPECT_EQ(evenRotationCount(180.0), 30u);
}

TEST(EvenRotations, MeanRotationIsNone) {
    // Over all rotations the matrices average to zero.
    cMatrix33 sum;
    const auto rotations = evenRotations(15.0);
    for (const auto& angles : rotations) {
        sum += cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
    }
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            EXPECT_NEAR(sum(r, c) / static_cast<double>(rotations.size()), 0.0, 2e-3);
        }
    }
}

TEST(EvenRotations, RefusesAStepThatIsNoStep) {
    for (const double step : {0.0, -5.0, 0.49, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_THROW(evenRotations(step), std::invalid_argument);
        EXPECT_THROW(evenRotationCount(step), std::invalid_argument);
    }
}
