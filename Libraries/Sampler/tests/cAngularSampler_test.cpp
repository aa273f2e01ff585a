// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "Math/cMatrix33.h"
#include "Math/pi.h"
#include "Sampler/cAngularSampler.h"

namespace {

constexpr double rounding = 1e-12;

using Triple = std::array<double, 3>;

std::vector<Triple> spiral(double phiLow, double phiHigh, double thetaLow, double thetaHigh, double psiLow,
                           double psiHigh, double step) {
    double bounds[3][2] = {{phiLow, phiHigh}, {thetaLow, thetaHigh}, {psiLow, psiHigh}};
    unsigned long count = 0;
    double* angles = nullptr;
    cAngularSampler::eu_spiral(bounds, step, &count, angles);
    const std::unique_ptr<double[]> owner(angles);
    std::vector<Triple> triples;
    for (unsigned long n = 0; n < count; ++n) {
        triples.push_back({angles[3 * n], angles[3 * n + 1], angles[3 * n + 2]});
    }
    return triples;
}

std::vector<Triple> fullSpiral(double step) {
    return spiral(0, 360, 0, 180, 0, 360, step);
}

/// Rz(a) Rx(b) Rz(c) in the passive form, with rows as in the textbooks.
cMatrix33 matrixZXZ(const Triple& t) {
    const auto turnZ = [](double a) {
        return cMatrix33(std::cos(a), std::sin(a), 0, -std::sin(a), std::cos(a), 0, 0, 0, 1);
    };
    const auto turnX = [](double a) {
        return cMatrix33(1, 0, 0, 0, std::cos(a), std::sin(a), 0, -std::sin(a), std::cos(a));
    };
    return turnZ(t[0]) * turnX(t[1]) * turnZ(t[2]);
}

double largestDifference(const cMatrix33& a, const cMatrix33& b) {
    double largest = 0.0;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            largest = std::max(largest, std::abs(a(r, c) - b(r, c)));
        }
    }
    return largest;
}

cVector3 direction(const Triple& t) {
    return {std::sin(t[1]) * std::cos(t[0]), std::sin(t[1]) * std::sin(t[0]), std::cos(t[1])};
}

Triple remap(double a, double b, double c, double aLow = 0.0, double bLow = 0.0, double cLow = 0.0) {
    Triple t{};
    cAngularSampler::remap_eulers(&t[0], &t[1], &t[2], a, b, c, aLow, bLow, cLow);
    return t;
}

void expectTriple(const Triple& found, const Triple& expected) {
    for (std::size_t n = 0; n < 3; ++n) {
        EXPECT_NEAR(found[n], expected[n], rounding) << "angle " << n;
    }
}

} // namespace

TEST(cAngularSampler, CountsOfCommonSteps) {
    EXPECT_EQ(cAngularSampler::constructRotations(5).size(), 118872U);
    EXPECT_EQ(cAngularSampler::constructRotations(10).size(), 14868U);
    EXPECT_EQ(cAngularSampler::constructRotations(15).size(), 4416U);
    EXPECT_EQ(cAngularSampler::constructRotations(20).size(), 1872U);
    EXPECT_EQ(cAngularSampler::constructRotations(30).size(), 552U);
}

TEST(cAngularSampler, ListStartsWithTheSouthPoleAndAllItsTurns) {
    const std::vector<Triple> list = fullSpiral(10);
    for (std::size_t n = 0; n < 36; ++n) {
        expectTriple(list[n], {pi, pi, static_cast<double>(n) * 10.0 * radiansPerDegree});
    }
    const double h = 2.0 / 412.0 - 1.0; // the first interior point of 413
    expectTriple(list[36], {3.6 / std::sqrt((1.0 - h * h) * 413.0), std::acos(h), 0.0});
    expectTriple(list.back(), {pi, 0.0, 350.0 * radiansPerDegree});
}

TEST(cAngularSampler, EveryEntryFollowsFromTheFormulaOfTheSpiral) {
    // Seen to fail with the sum begun at the pole's phi.
    for (const double step : {13.0, 30.0, 47.5}) {
        const auto points = static_cast<long>(std::ceil(129600.0 / (step * step * pi)));
        std::vector<double> turns;
        for (double psi = 0.0; psi < 360.0; psi += step) {
            turns.push_back(psi * radiansPerDegree);
        }
        const std::vector<Triple> list = fullSpiral(step);
        ASSERT_EQ(list.size(), static_cast<std::size_t>(points) * turns.size());
        double phi = 0.0;
        std::size_t next = 0;
        for (long k = 0; k < points; ++k) {
            const double h =
                std::min(2.0 * static_cast<double>(k) / static_cast<double>(points - 1) - 1.0, 1.0);
            const bool pole = k == 0 || k == points - 1;
            phi += pole ? 0.0 : 3.6 / std::sqrt((1.0 - h * h) * static_cast<double>(points));
            for (const double psi : turns) {
                expectTriple(list[next++], {pole ? pi : std::fmod(phi, 2.0 * pi), std::acos(h), psi});
            }
        }
    }
}

TEST(cAngularSampler, PhiIsWrappedFromTheRawSumToTheLastBit) {
    constexpr int points = 413; // of a step of 10
    const std::vector<Triple> list = fullSpiral(10);
    double phi = 0.0;
    for (int k = 1; k < points - 1; ++k) {
        const double h = 2.0 * k / (points - 1) - 1.0;
        phi += 3.6 / std::sqrt((1.0 - h * h) * points);
        // Seen to fail with the sum wrapped from point to point.
        EXPECT_EQ(list[36 * static_cast<std::size_t>(k)][0], std::fmod(phi, 2.0 * pi));
    }
}

TEST(cAngularSampler, TurnsAreCountedByRepeatedAddition) {
    // Six times 20.1 rounds above 120.6 and six times 10.1 below 60.6, where the sums are these numbers.
    // Seen to fail with psi formed as a multiple of the step.
    EXPECT_EQ(spiral(0, 360, 179, 180, 0, 120.6, 20.1).size(), 7U);
    EXPECT_EQ(spiral(0, 360, 179, 180, 0, std::nextafter(60.6, 0.0), 10.1).size(), 6U);
}

TEST(cAngularSampler, RotationsAreTheConvertedTriples) {
    const std::vector<Triple> triples = fullSpiral(20);
    const std::vector<Triple> rotations = cAngularSampler::constructRotations(20);
    ASSERT_EQ(rotations.size(), triples.size());
    for (std::size_t n = 0; n < triples.size(); ++n) {
        Triple expected{};
        cAngularSampler::convertZXZtoXYZ(triples[n][0], triples[n][1], triples[n][2], expected);
        ASSERT_EQ(rotations[n], expected);
    }
}

TEST(cAngularSampler, LargeStepsLeaveThePolesOnly) {
    for (const double step : {150.0, 203.0}) { // two points
        EXPECT_EQ(fullSpiral(step).size(), 2U * static_cast<std::size_t>(std::ceil(360.0 / step)));
    }
    EXPECT_EQ(fullSpiral(143.0).size(), 3U * 3U);
}

TEST(cAngularSampler, BothPolesStandWhereTheStepAsksForOnePoint) {
    EXPECT_EQ(fullSpiral(204.0).size(), 4U);
    EXPECT_EQ(fullSpiral(300.0).size(), 4U);
    EXPECT_EQ(fullSpiral(400.0).size(), 2U);
    EXPECT_EQ(fullSpiral(1e200).size(), 2U);
}

TEST(cAngularSampler, DirectionsCoverTheSphereEvenly) {
    constexpr double angularStep = 15.0;
    std::vector<Triple> list = fullSpiral(angularStep);
    list.erase(std::remove_if(list.begin(), list.end(), [](const Triple& t) { return t[2] != 0.0; }),
               list.end());
    ASSERT_EQ(list.size(), 184U);
    std::mt19937 generator(7);
    std::normal_distribution<double> normal;
    for (int n = 0; n < 2000; ++n) {
        const cVector3 any =
            cVector3(normal(generator), normal(generator), normal(generator)).normalizedVersion();
        double nearest = pi;
        for (const Triple& t : list) {
            nearest = std::min(nearest, std::acos(std::clamp(direction(t) | any, -1.0, 1.0)));
        }
        EXPECT_LT(nearest, angularStep * radiansPerDegree);
    }
    for (const double theta : {45.0, 90.0, 120.0}) { // a cap's share of points is its share of the sphere
        const double limit = theta * radiansPerDegree;
        const auto inCap =
            std::count_if(list.begin(), list.end(), [=](const Triple& t) { return t[1] < limit; });
        EXPECT_NEAR(static_cast<double>(inCap), 184.0 * (1.0 - std::cos(limit)) / 2.0, 2.0);
    }
}

TEST(cAngularSampler, IdentityIsThereWhereHalfATurnIsAMultipleOfTheStep) {
    const auto hasIdentity = [](double step) {
        const std::vector<Triple> list = cAngularSampler::constructRotations(step);
        return std::any_of(list.begin(), list.end(), [](const Triple& t) {
            return std::sqrt(t[0] * t[0] + t[1] * t[1] + t[2] * t[2]) < 1e-11;
        });
    };
    EXPECT_TRUE(hasIdentity(10.0));
    EXPECT_TRUE(hasIdentity(15.0));
    EXPECT_TRUE(hasIdentity(20.0));
    EXPECT_TRUE(hasIdentity(30.0));
    EXPECT_FALSE(hasIdentity(14.0));
    EXPECT_FALSE(hasIdentity(25.0));
}

TEST(cAngularSampler, BoundsSelectDirectionsAndTurns) {
    const double low = 60.0 * radiansPerDegree, high = 120.0 * radiansPerDegree;
    const std::vector<Triple> whole = fullSpiral(15);
    const auto inside = std::count_if(whole.begin(), whole.end(), [=](const Triple& t) {
        return t[2] == 0.0 && low <= t[0] && t[0] <= high && low <= t[1] && t[1] <= high;
    });
    // psi from 0 to 80 in steps of 15: six turns by the walk and by the quotient
    const std::vector<Triple> part = spiral(60, 120, 60, 120, 0, 80, 15);
    EXPECT_EQ(part.size(), static_cast<std::size_t>(inside) * 6U);
    for (std::size_t n = 0; n < part.size(); ++n) {
        EXPECT_TRUE(low <= part[n][0] && part[n][0] <= high && low <= part[n][1] && part[n][1] <= high);
        EXPECT_NEAR(part[n][2], static_cast<double>(n % 6) * 15.0 * radiansPerDegree, rounding);
    }
}

TEST(cAngularSampler, PoleIsAcceptedByThetaAlone) {
    // The mean of the bounds of phi is 20 degrees; no spiral point is within them.
    const std::vector<Triple> list = spiral(19.9, 20.1, 170, 180, 0, 90, 30);
    ASSERT_EQ(list.size(), 4U); // 90 is in the walk
    expectTriple(list[3], {20.0 * radiansPerDegree, pi, pi / 2.0});
}

TEST(cAngularSampler, WithoutTheSouthPoleTheQuotientGivesTheLength) {
    // Seen to fail with the turns of the walk counted.
    // The walk has 0, 30, 60, 90 for each direction, the quotient tells three: the list ends early.
    const std::vector<Triple> list = spiral(0, 360, 0, 100, 0, 90, 30);
    const std::vector<Triple> full = spiral(0, 360, 0, 100, 0, 89, 30);
    ASSERT_EQ(list.size(), full.size());
    expectTriple(list[3], {list[0][0], list[0][1], pi / 2.0});
    expectTriple(list[4], full[3]);
}

TEST(cAngularSampler, WalkThatIsSkippedLeavesZeros) {
    const std::vector<Triple> list = spiral(0, 360, 0, 100, 360, 420, 30); // psi starts beyond the turn
    ASSERT_FALSE(list.empty());
    for (const Triple& t : list) {
        expectTriple(t, {0.0, 0.0, 0.0});
    }
}

TEST(cAngularSampler, EmptyTurnWithTheSouthPoleEndsTheProcess) {
    EXPECT_EXIT(spiral(0, 360, 0, 180, 10, 5, 10), testing::ExitedWithCode(255), "^$");
    EXPECT_EXIT(spiral(0, 360, 0, 180, 360, 400, 10), testing::ExitedWithCode(255), "^$");
}

TEST(cAngularSampler, EmptyTurnWithoutTheSouthPoleEndsTheProcess) {
    EXPECT_EXIT(spiral(0, 360, 0, 90, 10, 5, 10), testing::ExitedWithCode(255), "^$");
    EXPECT_EXIT(spiral(0, 360, 0, 90, 10, 10, 10), testing::ExitedWithCode(255), "^$");
}

TEST(cAngularSampler, StepThatCountsNothingThrows) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    for (const double step : {0.0, -10.0, notANumber, infinity, -infinity, 1e-3, 1e-300}) {
        EXPECT_THROW(cAngularSampler::constructRotations(step), std::invalid_argument) << step;
    }
    try {
        cAngularSampler::constructRotations(-10.0);
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("-10.0"), std::string::npos);
    }
}

TEST(cAngularSampler, BoundsThatCountNothingThrow) {
    constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THROW(spiral(0, notANumber, 0, 180, 0, 360, 30), std::invalid_argument);
    EXPECT_THROW(spiral(0, 360, 0, 180, -1e18, 360, 30), std::invalid_argument);
    EXPECT_THROW(spiral(0, 360, 0, 180, 0, 1e300, 30), std::invalid_argument);
}

TEST(cAngularSampler, RemapWrapsOuterAngles) {
    expectTriple(remap(7.0, 1.0, -1.0), {7.0 - 2.0 * pi, 1.0, 2.0 * pi - 1.0});
}

TEST(cAngularSampler, RemapPutsWholeTurnsBelowTheBoundAtTheUpperEnd) {
    // Seen to fail with whole turns put at the bound itself.
    expectTriple(remap(-2.0 * pi, 1.0, -4.0 * pi), {2.0 * pi, 1.0, 2.0 * pi});
    expectTriple(remap(2.0 * pi, 1.0, 4.0 * pi), {0.0, 1.0, 0.0});
}

TEST(cAngularSampler, RemapFoldsTheMiddleAngleBack) {
    expectTriple(remap(1.0, 4.0, 5.0), {1.0 + pi, 2.0 * pi - 4.0, 5.0 - pi});
    expectTriple(remap(4.0, 4.0, 2.0), {4.0 - pi, 2.0 * pi - 4.0, 2.0 + pi});
}

TEST(cAngularSampler, RemapStartsAtTheLowerBounds) {
    expectTriple(remap(7.0, 0.5, -1.0, 1.0, 0.0, -pi), {7.0, 0.5, -1.0});
    expectTriple(remap(0.5, 0.5, 4.0, 1.0, 0.0, -pi), {0.5 + 2.0 * pi, 0.5, 4.0 - 2.0 * pi});
}

TEST(cAngularSampler, RemapKeepsTheRotation) {
    for (const double a : {-9.0, 0.3, 4.0}) {
        for (const double b : {-2.0, 1.0, 3.5, 8.0}) {
            for (const double c : {-0.1, 2.0, 12.0}) {
                const Triple t = remap(a, b, c);
                EXPECT_LT(largestDifference(matrixZXZ(t), matrixZXZ({a, b, c})), rounding);
                EXPECT_TRUE(t[1] >= 0.0 && t[1] <= pi);
            }
        }
    }
}

TEST(cAngularSampler, ConversionPutsTheAngleAboutYFirst) {
    // Seen to fail with the angle about x first.
    for (const Triple& t : std::vector<Triple>{{0.3, 1.1, 2.0}, {4.0, 2.5, 6.0}, {5.5, 1.4, 3.3}}) {
        Triple out{};
        cAngularSampler::convertZXZtoXYZ(t[0], t[1], t[2], out);
        // Exchanged, the first two angles make the z-x-z matrix; as they stand they make another rotation.
        EXPECT_LT(largestDifference(cMatrix33::rotationXYZ(out[1], out[0], out[2]), matrixZXZ(t)), rounding);
        EXPECT_GT(largestDifference(cMatrix33::rotationXYZ(out[0], out[1], out[2]), matrixZXZ(t)), 0.1);
        cVector3 vector;
        cAngularSampler::convertZXZtoXYZ(t[0], t[1], t[2], vector);
        EXPECT_EQ(vector, cVector3(out.data()));
    }
}

TEST(cAngularSampler, ConversionAtTheEndsOfTheArcsine) {
    Triple out{};
    cAngularSampler::convertZXZtoXYZ(pi / 2.0, pi / 2.0, 0.4, out);
    expectTriple(out, {pi / 2.0, std::atan2(-std::cos(0.4), -std::sin(0.4)), 0.0});
    cAngularSampler::convertZXZtoXYZ(-pi / 2.0, pi / 2.0, 0.4, out);
    expectTriple(out, {-pi / 2.0, -std::atan2(std::cos(0.4), std::sin(0.4)), 0.0});
}

TEST(cAngularSampler, EulerAnglesInvertRotationXYZ) {
    for (const Triple& t : std::vector<Triple>{{0.3, 1.1, 2.0}, {-3.0, -1.5, 3.0}, {2.0, 0.0, -1.0}}) {
        const cMatrix33 rotation = cMatrix33::rotationXYZ(t[0], t[1], t[2]);
        double m[3][3];
        rotation.toArray(&m[0][0]);
        Triple found{};
        EXPECT_EQ(cAngularSampler::ToEulerAnglesXYZ(found[0], found[1], found[2], m), 1);
        expectTriple(found, t);
    }
}

TEST(cAngularSampler, EulerAnglesOfALockedMatrixLeaveZAtZero) {
    for (const double y : {pi / 2.0, -pi / 2.0}) {
        const cMatrix33 rotation = cMatrix33::rotationXYZ(0.7, y, 0.4);
        double m[3][3];
        rotation.toArray(&m[0][0]);
        double a = 0.0, b = 0.0, c = 1.0;
        EXPECT_EQ(cAngularSampler::ToEulerAnglesXYZ(a, b, c, m), 0);
        EXPECT_EQ(c, 0.0);
        EXPECT_NEAR(b, y, rounding);
        EXPECT_LT(largestDifference(cMatrix33::rotationXYZ(a, b, c), rotation), rounding);
    }
}
