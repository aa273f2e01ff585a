// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <limits>
#include <list>
#include <memory>
#include <numeric>
#include <string>

#include <gtest/gtest.h>

#include "QCProt/qcprot.h"
#include "QCProt/tests/pointSets.h"

namespace {

constexpr double tolerance = 1e-12; // of values of order one after a few operations
// An RMSD is the root of 2 (e0 - lambda) / len. When sets coincide all digits of the difference cancel; with
// e0 / len up to 1e4 here, 1e-10 remains.
constexpr double rootTolerance = 1e-5;
constexpr double rotationTolerance = 1e-7; // of sets whose axes differ by more than a tenth

/// Coordinates in three rows.
class Rows {
public:
    explicit Rows(const Points& points)
        : m_rows(new_qcprotAtoms(points.size()), delete_qcprotAtoms), m_len(static_cast<int>(points.size())) {
        std::list<int> all(points.size());
        std::iota(all.begin(), all.end(), 0);
        std2qcprot(points, all, m_rows.get());
    }

    double** data() const { return m_rows.get(); }
    int len() const { return m_len; }

    Points points() const {
        Points result(static_cast<std::size_t>(m_len));
        std::list<int> all(result.size());
        std::iota(all.begin(), all.end(), 0);
        qcprot2std(m_rows.get(), all, result);
        return result;
    }

private:
    std::unique_ptr<double*, void (*)(double**)> m_rows;
    int m_len;
};

/// What a superposition of set 2 on set 1 gives.
struct Superposition {
    double rmsd = -1.0;
    arma::Mat<double> rotation;
    int status = 1;
};

double weightOf(const std::vector<double>& weights, std::size_t i) {
    return weights.empty() ? 1.0 : weights[i];
}

arma::Col<double> centreOf(const Points& points, const std::vector<double>& weights) {
    arma::Col<double> sum(3, arma::fill::zeros);
    double total = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        sum += weightOf(weights, i) * arma::Col<double>{points[i][0], points[i][1], points[i][2]};
        total += weightOf(weights, i);
    }
    return sum / total;
}

/// sqrt(sum w |x - R x'|^2 / n) of two sets about their centres.
double deviation(const Points& set1, const Points& set2, const std::vector<double>& weights,
                 const arma::Mat<double>& rotation) {
    const Points first = transformed(set1, arma::eye(3, 3), -centreOf(set1, weights));
    const Points second = transformed(set2, rotation, -rotation * centreOf(set2, weights));
    double sum = 0.0;
    for (std::size_t i = 0; i < first.size(); ++i) {
        const double d = distance(first[i], second[i]);
        sum += weightOf(weights, i) * d * d;
    }
    return std::sqrt(sum / static_cast<double>(first.size()));
}

/// The superposition by singular value decomposition of the correlation of the sets (Kabsch 1976).
Superposition superposeBySvd(const Points& set1, const Points& set2, const std::vector<double>& weights) {
    const arma::Col<double> c1 = centreOf(set1, weights);
    const arma::Col<double> c2 = centreOf(set2, weights);
    arma::Mat<double> A(3, 3, arma::fill::zeros);
    for (std::size_t i = 0; i < set1.size(); ++i) {
        const arma::Col<double> p1 = arma::Col<double>{set1[i][0], set1[i][1], set1[i][2]} - c1;
        const arma::Col<double> p2 = arma::Col<double>{set2[i][0], set2[i][1], set2[i][2]} - c2;
        A += weightOf(weights, i) * p1 * p2.t();
    }
    arma::Mat<double> U, V;
    arma::Col<double> s;
    arma::svd(U, s, V, A);
    arma::Mat<double> handed = arma::eye(3, 3);
    handed(2, 2) = arma::det(U) * arma::det(V) > 0.0 ? 1.0 : -1.0;
    Superposition result;
    result.rotation = U * handed * V.t();
    result.rmsd = deviation(set1, set2, weights, result.rotation);
    return result;
}

arma::Mat<double> matrixOf(const double* rot) {
    return arma::Mat<double>(rot, 3, 3).t();
}

Superposition superpose(const Points& set1, const Points& set2, const std::vector<double>& weights = {}) {
    const Rows rows1(set1);
    const Rows rows2(set2);
    double rot[9];
    Superposition result;
    result.rmsd = CalcRMSDRotationalMatrix(rows1.data(), rows2.data(), rows1.len(), rot,
                                           weights.empty() ? nullptr : weights.data());
    result.rotation = matrixOf(rot);
    return result;
}

/// The second step alone, on sets that are centred already.
Superposition fastCalc(const Points& set1, const Points& set2, double minScore = -1.0) {
    const Rows rows1(set1);
    const Rows rows2(set2);
    double A[9];
    double rot[9] = {};
    double quaternion[4] = {};
    Superposition result;
    const double e0 = InnerProduct(A, rows1.data(), rows2.data(), rows1.len(), nullptr);
    result.status = FastCalcRMSDAndRotation(rot, quaternion, A, &result.rmsd, rows1.len(), e0, minScore);
    result.rotation = matrixOf(rot);
    return result;
}

double largestDifference(const arma::Mat<double>& a, const arma::Mat<double>& b) {
    return arma::abs(a - b).max();
}

void expectProperRotation(const arma::Mat<double>& rotation) {
    EXPECT_LT(largestDifference(rotation * rotation.t(), arma::eye(3, 3)), tolerance);
    EXPECT_GT(arma::det(rotation), 0.0);
}

std::vector<double> randomWeights(std::mt19937& random, std::size_t count) {
    std::uniform_real_distribution<double> uniform(0.1, 20.0);
    std::vector<double> weights(count);
    std::generate(weights.begin(), weights.end(), [&] { return uniform(random); });
    return weights;
}

/// Set 2 is set 1 moved by a random pose, mirrored in x first if asked for, with some noise.
void expectAgreementWithSvd(unsigned seed, std::array<double, 3> spread, double noise, bool isMirrored) {
    std::mt19937 random(seed);
    for (int trial = 0; trial < 50; ++trial) {
        const std::size_t count = 4 + static_cast<std::size_t>(trial);
        const Points set1 =
            transformed(randomPoints(random, count, spread), randomRotation(random), {3.0, -8.0, 20.0});
        arma::Mat<double> m = randomRotation(random);
        if (isMirrored) {
            m = m * arma::diagmat(arma::Col<double>{-1.0, 1.0, 1.0});
        }
        Points set2 = transformed(set1, m, {-40.0, 7.0, 1.0});
        const Points jitter = randomPoints(random, count, {noise, noise, noise});
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t axis = 0; axis < 3; ++axis) {
                set2[i][axis] += jitter[i][axis];
            }
        }
        for (const std::vector<double>& weights : {std::vector<double>{}, randomWeights(random, count)}) {
            const Superposition expected = superposeBySvd(set1, set2, weights);
            const Superposition actual = superpose(set1, set2, weights);
            EXPECT_NEAR(actual.rmsd, expected.rmsd, rootTolerance) << trial;
            EXPECT_NEAR(deviation(set1, set2, weights, actual.rotation), expected.rmsd, rootTolerance)
                << trial;
            expectProperRotation(actual.rotation);
            if (!isMirrored) {
                EXPECT_LT(largestDifference(actual.rotation, expected.rotation), rotationTolerance) << trial;
            }
        }
    }
}

} // namespace

TEST(CalcRMSDRotationalMatrix, AgreesWithTheSingularValueDecompositionOnRandomSets) {
    expectAgreementWithSvd(1, {9.0, 4.0, 15.0}, 0.7, false);
}

TEST(CalcRMSDRotationalMatrix, AgreesWithTheSingularValueDecompositionOnSetsThatMatch) {
    expectAgreementWithSvd(2, {9.0, 4.0, 15.0}, 0.0, false);
}

TEST(CalcRMSDRotationalMatrix, AgreesWithTheSingularValueDecompositionOnPlanarSets) {
    expectAgreementWithSvd(3, {9.0, 4.0, 0.0}, 0.0, false);
}

TEST(CalcRMSDRotationalMatrix, AgreesWithTheSingularValueDecompositionOnMirroredSets) {
    expectAgreementWithSvd(4, {9.0, 4.0, 15.0}, 0.3, true);
}

TEST(CalcRMSDRotationalMatrix, AgreesWithTheSingularValueDecompositionOnMirroredPlanarSets) {
    expectAgreementWithSvd(5, {9.0, 4.0, 0.0}, 0.0, true);
}

TEST(CalcRMSDRotationalMatrix, SetsInvertedAboutTheirCentreAgreeWithTheSingularValueDecomposition) {
    // Equal moments make the largest root triple: any half turn is as good as another.
    std::mt19937 random(10);
    const Points octahedron = {{3, 0, 0}, {-3, 0, 0}, {0, 3, 0}, {0, -3, 0}, {0, 0, 3}, {0, 0, -3}};
    for (int trial = 0; trial < 100; ++trial) {
        const Points inverted = transformed(octahedron, -randomRotation(random), arma::zeros(3));
        EXPECT_NEAR(superpose(octahedron, inverted).rmsd, std::sqrt(12.0), 1e-3) << trial;
    }
}

TEST(CalcRMSDRotationalMatrix, UnrelatedSetsAgreeWithTheSingularValueDecomposition) {
    std::mt19937 random(6);
    for (int trial = 0; trial < 50; ++trial) {
        const Points set1 = randomPoints(random, 20, {9.0, 4.0, 15.0});
        const Points set2 = randomPoints(random, 20, {3.0, 12.0, 6.0});
        const std::vector<double> weights = randomWeights(random, 20);
        const Superposition actual = superpose(set1, set2, weights);
        EXPECT_NEAR(actual.rmsd, superposeBySvd(set1, set2, weights).rmsd, rootTolerance);
        EXPECT_NEAR(actual.rmsd, deviation(set1, set2, weights, actual.rotation), rootTolerance);
    }
}

TEST(CalcRMSDRotationalMatrix, IdenticalSetsGiveZeroAndTheIdentity) {
    std::mt19937 random(7);
    const Points points = randomPoints(random, 30, {9.0, 4.0, 15.0});
    testing::internal::CaptureStderr();
    const Superposition result = superpose(points, points);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "Newton's iteration stops in its first rounds";
    EXPECT_NEAR(result.rmsd, 0.0, rootTolerance);
    EXPECT_LT(largestDifference(result.rotation, arma::eye(3, 3)), rotationTolerance);
}

TEST(CalcRMSDRotationalMatrix, CentresBothSetsAndRotatesNeither) {
    const Rows set1(Points{{1.0, 2.0, 3.0}, {3.0, 2.0, 3.0}});
    const Rows set2(Points{{0.0, 5.0, 0.0}, {0.0, 9.0, 0.0}});
    double rot[9];
    CalcRMSDRotationalMatrix(set1.data(), set2.data(), 2, rot, nullptr);
    EXPECT_EQ(set1.points(), (Points{{-1.0, 0.0, 0.0}, {1.0, 0.0, 0.0}}));
    EXPECT_EQ(set2.points(), (Points{{0.0, -2.0, 0.0}, {0.0, 2.0, 0.0}}));
}

TEST(CalcRMSDRotationalMatrix, WeightsDoNotEnterTheDivisor) {
    // Seen to fail with the sum of the weights for divisor.
    const Points set1 = {{-3.0, 0.0, 0.0}, {3.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, -1.0, 0.0}};
    const Points set2 = {{-4.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, -1.0, 0.0}};
    // two points of weight 8 are 1 away: sqrt(16 / 4)
    EXPECT_NEAR(superpose(set1, set2, {8.0, 8.0, 1.0, 1.0}).rmsd, 2.0, rootTolerance);
}

TEST(CalcRMSDRotationalMatrix, EmptySetsGiveZeroAndTheIdentity) {
    const Superposition result = superpose({}, {});
    EXPECT_EQ(result.rmsd, 0.0);
    EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
}

TEST(CalcRMSDRotationalMatrix, PointsInOnePlaceGiveZeroAndTheIdentity) {
    const Points points(3, {2.0, -1.0, 0.5});
    testing::internal::CaptureStderr();
    const Superposition result = superpose(points, points);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(result.rmsd, 0.0);
    EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
}

TEST(CalcRMSDRotationalMatrix, OnePointLeavesTheIdentity) {
    const Superposition result = superpose({{1.0, 2.0, 3.0}}, {{-5.0, 0.5, 9.0}});
    EXPECT_EQ(result.rmsd, 0.0);
    EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
}

TEST(CalcRMSDRotationalMatrix, WeightsThatSumToZeroGiveNumbers) {
    const Superposition result =
        superpose({{1.0, 0.0, 0.0}, {2.0, 1.0, 0.0}}, {{0.0, 1.0, 0.0}, {1.0, 1.0, 1.0}}, {0.0, 0.0});
    EXPECT_EQ(result.rmsd, 0.0);
    EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
}

TEST(FastCalcRMSDAndRotation, PointsOnALineInPlaceComeBackWithTheIdentityAndZero) {
    // The largest root is double: the adjugate vanishes, as the rotation about the line is free.
    const Points line = {{-2.0, 0.0, 0.0}, {-1.0, 0.0, 0.0}, {3.0, 0.0, 0.0}};
    testing::internal::CaptureStderr();
    const Superposition result = fastCalc(line, line);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.rmsd, 0.0);
    EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
}

TEST(FastCalcRMSDAndRotation, PointsOnALineGiveTheRmsdAndARotationThatReachesItOrTheIdentity) {
    std::mt19937 random(8);
    int undetermined = 0;
    for (int trial = 0; trial < 2000; ++trial) {
        Points line = randomPoints(random, 10, {2.0, 0.0, 0.0});
        setCenter(line, getCenter(line));
        const Points turned = transformed(line, randomRotation(random), arma::zeros(3));
        const Superposition result = fastCalc(line, turned);
        EXPECT_NEAR(result.rmsd, 0.0, 1e-3)
            << "a double root is found to half of the digits, its root to a quarter";
        ASSERT_TRUE(result.status == 0 || result.status == 1);
        expectProperRotation(result.rotation);
        undetermined += result.status == 0 ? 1 : 0;
        if (result.status == 0) {
            EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
        } else {
            EXPECT_NEAR(deviation(line, turned, {}, result.rotation), 0.0, 1e-3);
        }
    }
    EXPECT_GT(undetermined, 0);
}

TEST(FastCalcRMSDAndRotation, QuaternionTurnsBackwards) {
    const Points set1 = {{-3.0, 0.5, 0.0}, {2.0, 1.0, 1.0}, {1.0, -1.5, -1.0}};
    const arma::Col<double> axis = arma::normalise(arma::Col<double>{1.0, -2.0, 0.5});
    const double angle = 0.8;
    const arma::Mat<double> turn = rotationAbout(axis, angle);
    const Rows rows1(transformed(set1, turn, arma::zeros(3)));
    const Rows rows2(set1);
    double A[9], rot[9], q[4], rmsd;
    const double e0 = InnerProduct(A, rows1.data(), rows2.data(), 3, nullptr);
    ASSERT_EQ(FastCalcRMSDAndRotation(rot, q, A, &rmsd, 3, e0, -1.0), 1);
    EXPECT_LT(largestDifference(matrixOf(rot), turn), rotationTolerance);
    const double sign = q[0] > 0.0 ? 1.0 : -1.0;
    EXPECT_NEAR(sign * q[0], std::cos(angle / 2), rotationTolerance);
    for (arma::uword i = 0; i < 3; ++i) {
        EXPECT_NEAR(sign * q[1 + i], -std::sin(angle / 2) * axis[i], rotationTolerance);
    }
}

TEST(FastCalcRMSDAndRotation, HalfTurnsTakeALaterColumnOfTheAdjugate) {
    // The quaternion of a half turn about an axis has one element alone, so the columns of the others vanish.
    const Points set1 = {{-3.0, 0.5, 0.0}, {2.0, 1.0, 1.0}, {1.0, -1.5, -1.0}};
    for (const arma::Col<double>& axis :
         {arma::Col<double>{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}}) {
        const arma::Mat<double> turn = 2.0 * axis * axis.t() - arma::eye(3, 3);
        const Superposition result = fastCalc(transformed(set1, turn, arma::zeros(3)), set1);
        EXPECT_EQ(result.status, 1);
        EXPECT_LT(largestDifference(result.rotation, turn), rotationTolerance);
    }
}

TEST(FastCalcRMSDAndRotation, BelowTheLeastScoreRotationAndQuaternionStay) {
    const Points set1 = {{-3.0, 0.5, 0.0}, {2.0, 1.0, 1.0}, {1.0, -1.5, -1.0}};
    const Rows rows(set1);
    double A[9], rmsd = -1.0;
    double rot[9] = {7.0, 7.0, 7.0, 7.0, 7.0, 7.0, 7.0, 7.0, 7.0};
    double q[4] = {5.0, 5.0, 5.0, 5.0};
    const double e0 = InnerProduct(A, rows.data(), rows.data(), 3, nullptr);
    EXPECT_EQ(FastCalcRMSDAndRotation(rot, q, A, &rmsd, 3, e0, 0.5), -1);
    EXPECT_NEAR(rmsd, 0.0, rootTolerance);
    EXPECT_TRUE(std::all_of(rot, rot + 9, [](double r) { return r == 7.0; }));
    EXPECT_TRUE(std::all_of(q, q + 4, [](double r) { return r == 5.0; }));
    EXPECT_EQ(FastCalcRMSDAndRotation(rot, q, A, &rmsd, 3, e0, 0.0), 1) << "0 sets no least score";
    FastCalcRMSDAndRotation(rot, q, A, &rmsd, 3, e0 + 1.0, 0.0);
    const double leastScore = rmsd;
    ASSERT_GT(leastScore, 0.0);
    EXPECT_EQ(FastCalcRMSDAndRotation(rot, q, A, &rmsd, 3, e0 + 1.0, leastScore), 1) << "at it, not below";
}

TEST(FastCalcRMSDAndRotation, ColumnsBelowOneThousandthCountAsNull) {
    // The one column of the adjugate that isn't zero is (-64 a^3, 0, 0, 0).
    for (const double length : {0.99e-3, 1.01e-3}) {
        const double a = std::cbrt(length / 64.0);
        const double A[9] = {a, 0.0, 0.0, 0.0, a, 0.0, 0.0, 0.0, a};
        double rot[9], q[4], rmsd;
        EXPECT_EQ(FastCalcRMSDAndRotation(rot, q, A, &rmsd, 3, 3.0 * a, -1.0), length < 1e-3 ? 0 : 1);
    }
}

TEST(FastCalcRMSDAndRotation, SaysThatItDoesNotConvergeAndGoesOn) {
    // So far above the roots a round takes a quarter off; 50 of them do not reach the largest, 6.
    const double A[9] = {1.0, 0.0, 0.0, 0.0, 2.0, 0.0, 0.0, 0.0, 3.0};
    double rot[9], q[4], rmsd;
    testing::internal::CaptureStderr();
    const int status = FastCalcRMSDAndRotation(rot, q, A, &rmsd, 2, 1e9, -1.0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nMore than 50 iterations needed!\n");
    EXPECT_EQ(status, 1);
    EXPECT_NEAR(rmsd, std::sqrt(1e9), 1.0);
}

TEST(FastCalcRMSDAndRotation, EmptySetIsAtDistanceZeroAndLeavesTheIdentity) {
    const Superposition result = fastCalc({}, {});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.rmsd, 0.0);
    EXPECT_EQ(largestDifference(result.rotation, arma::eye(3, 3)), 0.0);
}

TEST(InnerProduct, IsTheWeightedCorrelationOfTheSets) {
    std::mt19937 random(9);
    const Points set1 = randomPoints(random, 7, {1.0, 2.0, 3.0});
    const Points set2 = randomPoints(random, 7, {3.0, 1.0, 2.0});
    const Rows rows1(set1), rows2(set2);
    for (const std::vector<double>& weights : {std::vector<double>{}, randomWeights(random, 7)}) {
        arma::Mat<double> expected(3, 3, arma::fill::zeros);
        double e0 = 0.0;
        for (std::size_t i = 0; i < 7; ++i) {
            const double w = weightOf(weights, i);
            expected += w * arma::Col<double>{set1[i][0], set1[i][1], set1[i][2]} *
                        arma::Row<double>{set2[i][0], set2[i][1], set2[i][2]};
            e0 += 0.5 * w * (dot(set1[i], set1[i]) + dot(set2[i], set2[i]));
        }
        double A[9];
        EXPECT_NEAR(
            InnerProduct(A, rows1.data(), rows2.data(), 7, weights.empty() ? nullptr : weights.data()), e0,
            tolerance * e0);
        EXPECT_LT(largestDifference(matrixOf(A), expected), tolerance * e0);
    }
}

TEST(InnerProduct, EmptySetsGiveZeroAndTheZeroMatrix) {
    for (const int len : {0, -1}) {
        double A[9];
        std::fill(A, A + 9, std::numeric_limits<double>::quiet_NaN());
        EXPECT_EQ(InnerProduct(A, nullptr, nullptr, len, nullptr), 0.0);
        EXPECT_TRUE(std::all_of(A, A + 9, [](double element) { return element == 0.0; }));
    }
}

TEST(GetCenter, DividesByTheSumOfTheWeights) {
    const Rows rows(Points{{1.0, 2.0, 3.0}, {5.0, -2.0, 7.0}});
    const double weights[2] = {1.0, 3.0};
    double center[3];
    GetCenter(rows.data(), 2, weights, center);
    EXPECT_EQ((std::array<double, 3>{center[0], center[1], center[2]}),
              (std::array<double, 3>{4.0, -1.0, 6.0}));
    GetCenter(rows.data(), 2, nullptr, center);
    EXPECT_EQ((std::array<double, 3>{center[0], center[1], center[2]}),
              (std::array<double, 3>{3.0, 0.0, 5.0}));
}

TEST(GetCenter, OfNoPointsIsTheOrigin) {
    double center[3] = {9.0, 9.0, 9.0};
    GetCenter(nullptr, 0, nullptr, center);
    EXPECT_EQ((std::array<double, 3>{center[0], center[1], center[2]}),
              (std::array<double, 3>{0.0, 0.0, 0.0}));
}

TEST(CenterCoords, PutsTheWeightedCentreAtTheOrigin) {
    const Rows rows(Points{{1.0, 2.0, 3.0}, {5.0, -2.0, 7.0}});
    const double weights[2] = {1.0, 3.0};
    CenterCoords(rows.data(), 2, weights);
    EXPECT_EQ(rows.points(), (Points{{-3.0, 3.0, -3.0}, {1.0, -1.0, 1.0}}));
    CenterCoords(rows.data(), 2, nullptr);
    EXPECT_EQ(rows.points(), (Points{{-2.0, 2.0, -2.0}, {2.0, -2.0, 2.0}}));
}

TEST(ShiftCoords, PlusAddsAndMinusSubtracts) {
    const Rows rows(Points{{1.0, 2.0, 3.0}, {5.0, -2.0, 7.0}});
    const double vector[3] = {1.0, -2.0, 4.0};
    ShiftCoordsPlus(rows.data(), 2, vector);
    EXPECT_EQ(rows.points(), (Points{{2.0, 0.0, 7.0}, {6.0, -4.0, 11.0}}));
    ShiftCoordsMinus(rows.data(), 2, vector);
    EXPECT_EQ(rows.points(), (Points{{1.0, 2.0, 3.0}, {5.0, -2.0, 7.0}}));
}

TEST(ApplyRotationMatrix, MultipliesEachPointFromTheLeft) {
    const Rows rows(Points{{1.0, 2.0, 3.0}, {0.0, 0.0, 1.0}});
    const double m[9] = {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 10.0};
    applyRotationMatrix(rows.data(), 2, m);
    EXPECT_EQ(rows.points(), (Points{{14.0, 32.0, 53.0}, {3.0, 6.0, 10.0}}));
}

TEST(PrintCoords, WritesALinePerPoint) {
    const Rows rows(Points{{1.0, -2.5, 3.0}, {0.0, 0.0, 1.25}});
    testing::internal::CaptureStdout();
    PrintCoords(rows.data(), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "1    1.000   -2.500    3.000\n2    0.000    0.000    1.250\n");
}
