// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CrossCorrelation/FirstOrderCrossCorrelation.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "CrossCorrelation/tests/testModel.h"
#include "FFTWrapper/RealCorssCorelationEngine.h"
#include "Interface/CrossCorrelationOracle.h"
#include "Optimization/TrustRegionSolver.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

constexpr double tolerance = 1e-10; // of the largest element
constexpr double beta = 10000.0;

/// A small move in all degrees of freedom.
Vector smallMove(std::size_t nDof) {
    Vector x(nDof);
    for (std::size_t i = 0; i < nDof; ++i) {
        x(i) = 0.05 * std::sin(1.0 + 2.0 * static_cast<double>(i));
    }
    return x;
}

std::vector<double> correlate(const cGrid& grid, std::vector<double> f, std::vector<double> g) {
    std::vector<double> result(f.size());
    dft::RealCorssCorelationEngine(grid, f.data(), g.data(), result.data()).execute(true, true);
    return result;
}

double softMaximum(const std::vector<double>& c, double b) {
    const double maximum = *std::max_element(c.begin(), c.end());
    double sum = 0.0;
    for (const double value : c) {
        sum += std::exp(b * (value - maximum));
    }
    return maximum + std::log(sum) / b;
}

/// A target of noise and an oracle on it.
struct Scene {
    explicit Scene(unsigned int modes = 0, double softMaxBeta = beta, double scale = 1.0)
        : model(modes)
        , target(noise(model.grid->getTotalSize(), 5, -scale, scale))
        , b(softMaxBeta)
        , oracle(target.data(), model.grid, model.positions, model.sigma, model.engine, softMaxBeta, false) {
        oracle.initAsThirdOrder();
        testing::internal::CaptureStdout();
        oracle.setRotationCenter(center);
        oracle.initPatternEdm();
        testing::internal::GetCapturedStdout();
    }

    std::size_t nDof() const { return model.engine->m_nModes + 6; }

    ElectronDensity densityAt(const Vector& x) const {
        ElectronDensity density = model.density();
        density.setRotationCenter(center);
        density.setTweenDof({x(0), x(1), x(2)}, {x(3), x(4), x(5)}, x.tail(x.n_elem - 6));
        return density;
    }

    TestModel model;
    cVector3 center{7.0, 9.0, 6.0};
    std::vector<double> target;
    double b;
    CrossCorrelationOracle oracle;
};

/// The objective with the contacts and weights of the density at x0, as its derivatives see it.
class FrozenObjective {
public:
    FrozenObjective(const Scene& scene, const Vector& x0) : m_scene(scene), m_density(scene.densityAt(x0)) {}

    double operator()(const Vector& x) const {
        const TestModel& model = m_scene.model;
        std::vector<double> values(model.grid->getTotalSize(), 0.0);
        for (std::size_t a = 0; a < model.positions.size(); ++a) {
            const cVector3 p = positionOf(a, x);
            const NodeBox reach = m_density.reachOf(a);
            for (int i = reach.low[0]; i <= reach.high[0]; ++i) {
                for (int j = reach.low[1]; j <= reach.high[1]; ++j) {
                    for (int k = reach.low[2]; k <= reach.high[2]; ++k) {
                        const auto node = model.grid->indexToFlatIndex(i, j, k);
                        const double squared = (model.node(node) - p).norm2();
                        values[node] += m_density.atomWeight(a) * m_density.gaussianNorm() *
                                        std::exp(-squared / (2.0 * model.sigma * model.sigma));
                    }
                }
            }
        }
        return -softMaximum(correlate(*model.grid, m_scene.target, values), m_scene.b);
    }

private:
    cVector3 positionOf(std::size_t a, const Vector& x) const {
        const TestModel& model = m_scene.model;
        const auto& p = model.positions[a];
        const cVector3 reference(p[0], p[1], p[2]);
        cVector3 moved = reference + cVector3(x(0), x(1), x(2)) +
                         (cVector3(x(3), x(4), x(5)) ^ (reference - m_scene.center));
        for (arma::uword m = 6; m < x.n_elem; ++m) {
            const auto column = model.engine->m_modes.col(m - 6);
            moved += x(m) * cVector3(column(3 * a), column(3 * a + 1), column(3 * a + 2));
        }
        return moved;
    }

    const Scene& m_scene;
    ElectronDensity m_density;
};

Vector shifted(Vector x, std::size_t i, double h) {
    x(i) += h;
    return x;
}

TEST(CrossCorrelationOracle, ValueIsTheNegatedSoftMaximum) {
    Scene scene(1);
    const Vector x = smallMove(7);
    std::vector<double> pattern(scene.target.size());
    scene.densityAt(x).eval(pattern);
    const double soft = softMaximum(correlate(*scene.model.grid, scene.target, pattern), beta);
    EXPECT_NEAR(scene.oracle.getFunctionValue(x), -soft, 1e-14);
}

TEST(CrossCorrelationOracle, BothObjectsGiveTheSameValue) {
    Scene scene(2);
    const Vector x = smallMove(8);
    Vector gradient;
    Matrix hessian;
    const double value = scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    EXPECT_NEAR(scene.oracle.getFunctionValue(x), value, 1e-12 * std::abs(value));
}

TEST(CrossCorrelationOracle, FollowsATargetRewrittenBetweenCalls) {
    Scene scene;
    const Vector x = smallMove(6);
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionValue(x);
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    const std::vector<double> rewritten = noise(scene.target.size(), 77);
    std::copy(rewritten.begin(), rewritten.end(), scene.target.begin());
    const double value = scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    EXPECT_NEAR(value, FrozenObjective(scene, x)(x), 1e-14);
    for (double* changed : {&scene.target.front(), &scene.target.back()}) {
        *changed += 1000.0;
        EXPECT_NEAR(scene.oracle.getFunctionValue(x), FrozenObjective(scene, x)(x), 1e-11);
    }
}

TEST(CrossCorrelationOracle, TheSecondOrderPathFollowsARewrittenTarget) {
    Scene scene;
    scene.oracle.initAsSecondOrder();
    const Vector x{0.1, -0.2, 0.3, 0.0, 0.0, 0.0}; // no rotation, so that its centre doesn't matter
    Vector gradient(6);
    scene.oracle.getFunctionGradient(x, gradient);
    scene.target.back() += 1000.0;
    EXPECT_NEAR(scene.oracle.getFunctionGradient(x, gradient), FrozenObjective(scene, x)(x), 1e-11);
}

/// What an oracle without a past gives.
struct FreshCall {
    FreshCall(const Scene& scene, const Vector& x, const cVector3* center) {
        std::vector<double> target = scene.target;
        const TestModel& model = scene.model;
        CrossCorrelationOracle oracle(target.data(), model.grid, model.positions, model.sigma, model.engine,
                                      scene.b, false);
        oracle.initAsThirdOrder();
        testing::internal::CaptureStdout();
        if (center != nullptr) {
            oracle.setRotationCenter(*center);
        }
        testing::internal::GetCapturedStdout();
        value = oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    }

    void expectEqual(double otherValue, const Vector& otherGradient, const Matrix& otherHessian) const {
        EXPECT_EQ(otherValue, value);
        EXPECT_TRUE(arma::approx_equal(otherGradient, gradient, "absdiff", 0.0));
        EXPECT_TRUE(arma::approx_equal(otherHessian, hessian, "absdiff", 0.0));
    }

    double value = 0.0;
    Vector gradient;
    Matrix hessian;
};

TEST(CrossCorrelationOracle, GivesTheSameBitsWhateverWasEvaluatedBefore) {
    Scene scene(1);
    Vector gradient;
    Matrix hessian;
    for (const double step : {0.0, 0.1, 0.2}) {
        const Vector x = smallMove(7) + step;
        const FreshCall fresh(scene, x, &scene.center);
        EXPECT_EQ(scene.oracle.getFunctionValue(x), fresh.value);
        EXPECT_EQ(scene.oracle.getFunctionValue(x), fresh.value);
        fresh.expectEqual(scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian), gradient,
                          hessian);
        scene.oracle.getFunctionValue(x - 0.3);
        fresh.expectEqual(scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian), gradient,
                          hessian);
    }
}

TEST(CrossCorrelationOracle, NoticesWhatIsDoneToItsObjects) {
    Scene scene(1);
    const Vector x = smallMove(7);
    const FreshCall fresh(scene, x, &scene.center);
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    scene.oracle.getFunctionValue(x);
    // Another target, seen by the objects and gone again before the oracle looks.
    const std::vector<double> kept = scene.target;
    std::fill(scene.target.begin(), scene.target.end(), 1.0);
    scene.oracle.getFirstOrder()->execute();
    scene.oracle.getThirdOrder()->execute();
    std::copy(kept.begin(), kept.end(), scene.target.begin());
    fresh.expectEqual(scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian), gradient, hessian);
    EXPECT_EQ(scene.oracle.getFunctionValue(x), fresh.value);
}

// With weight on all voxels the derivatives come from the spectrum of the target.
TEST(CrossCorrelationOracle, AThirdOrderThatSawAnotherTargetTakesNothingOver) {
    Scene scene(1, 3.0);
    const Vector x = smallMove(7);
    const FreshCall fresh(scene, x, &scene.center);
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    const std::vector<double> kept = scene.target;
    std::fill(scene.target.begin(), scene.target.end(), 1.0);
    scene.oracle.getThirdOrder()->execute();
    std::copy(kept.begin(), kept.end(), scene.target.begin());
    scene.oracle.getFunctionValue(x);
    fresh.expectEqual(scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian), gradient, hessian);
}

TEST(CrossCorrelationOracle, ObjectsWithDifferentCentresDoNotShareACorrelation) {
    Scene scene(1);
    const Vector x = smallMove(7);
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    scene.oracle.getFirstOrder()->setRotationCenter(cVector3(1.0, 2.0, 3.0));
    scene.oracle.getFunctionValue(x);
    const FreshCall fresh(scene, x, &scene.center);
    fresh.expectEqual(scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian), gradient, hessian);
}

TEST(CrossCorrelationOracle, TheThirdOrderGoesOnFromWhatItTookOver) {
    Scene scene(1);
    const Vector x = smallMove(7);
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionGradiantAndHessian(x - 0.1, gradient, hessian);
    ThirdOrderCrossCorrelation& third = *scene.oracle.getThirdOrder();
    third.getGradAndHessian(33); // what it has read from must not stay
    scene.oracle.getFunctionValue(x);
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    const std::vector<double> taken = third.getCorrelation();
    const auto [takenGradient, takenHessian] = third.getGradAndHessian(33);
    third.execute();
    EXPECT_EQ(third.getCorrelation(), taken);
    const auto [ownGradient, ownHessian] = third.getGradAndHessian(33);
    EXPECT_TRUE(arma::approx_equal(takenGradient, ownGradient, "absdiff", 0.0));
    EXPECT_TRUE(arma::approx_equal(takenHessian, ownHessian, "absdiff", 0.0));
    const auto best = third.getAllConformations(std::size_t{1}).front();
    EXPECT_EQ(best.m_ddy, x(1));
    EXPECT_EQ(best.m_dgamma, x(5));
    EXPECT_EQ(best.m_eta(0), x(6));
}

class OracleDerivatives : public testing::TestWithParam<unsigned int> {};

// The quotients hold contacts and weights of the density fixed, as the derivatives do.
TEST_P(OracleDerivatives, GradientEqualsDifferenceQuotients) {
    for (const double b : {3.0, 2000.0}) {
        Scene scene(GetParam(), b);
        const Vector x = smallMove(scene.nDof());
        Vector gradient;
        Matrix hessian;
        scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
        ASSERT_EQ(gradient.n_elem, scene.nDof());
        const FrozenObjective f(scene, x);
        constexpr double h = 1e-5;
        for (std::size_t i = 0; i < scene.nDof(); ++i) {
            const double slope = (f(shifted(x, i, h)) - f(shifted(x, i, -h))) / (2.0 * h);
            // Rounding of f over h, and h^2 beta^2 times the cube of the slopes.
            EXPECT_NEAR(gradient(i), slope, 1e-7) << i;
        }
    }
}

// With one voxel of weight the objective is the correlation at that voxel and its Hessian exact.
TEST_P(OracleDerivatives, HessianOfALonePeakEqualsDifferenceQuotients) {
    Scene scene(GetParam(), 1.0e6, 100.0);
    const Vector x = smallMove(scene.nDof());
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    const FrozenObjective f(scene, x);
    constexpr double h = 1e-4;
    const double bound = 1e-6 * arma::abs(hessian).max();
    for (std::size_t i = 0; i < scene.nDof(); ++i) {
        for (std::size_t j = 0; j <= i; ++j) {
            const double curvature =
                (f(shifted(shifted(x, i, h), j, h)) - f(shifted(shifted(x, i, h), j, -h)) -
                 f(shifted(shifted(x, i, -h), j, h)) + f(shifted(shifted(x, i, -h), j, -h))) /
                (4.0 * h * h);
            EXPECT_NEAR(hessian(i, j), curvature, bound) << i << ", " << j;
            EXPECT_NEAR(hessian(j, i), hessian(i, j), bound);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, OracleDerivatives, testing::Values(0U, 2U));

/// The soft maximum's derivatives by one plain loop over all voxels and whole grids.
struct PlainLoop {
    PlainLoop(const Scene& scene, const Vector& x) {
        const std::size_t n = scene.nDof();
        const std::size_t size = scene.target.size();
        std::vector<double> values(size);
        std::vector<std::vector<double>> first(n, values);
        std::vector<std::vector<double>> second(n * n, values);
        scene.densityAt(x).evalRigidFlex(values, first, second);
        const cGrid& grid = *scene.model.grid;
        const std::vector<double> c = correlate(grid, scene.target, values);
        for (auto& map : first) {
            map = correlate(grid, scene.target, map);
        }
        for (auto& map : second) {
            map = correlate(grid, scene.target, map);
        }
        const double soft = softMaximum(c, scene.b);
        gradient.zeros(n);
        hessian.zeros(n, n);
        for (std::size_t s = 0; s < size; ++s) {
            const double w = std::exp(-scene.b * (soft - c[s]));
            for (std::size_t i = 0; i < n; ++i) {
                gradient(i) += w * first[i][s];
                for (std::size_t j = 0; j < n; ++j) {
                    hessian(i, j) +=
                        w * (second[i * n + j][s] - scene.b * (gradient(i) - first[i][s]) * first[j][s]);
                }
            }
        }
    }

    Vector gradient;
    Matrix hessian;
};

// beta small: all voxels have weight, and the grids come from transforms; beta large: few have.
class OracleRegimes : public testing::TestWithParam<double> {};

TEST_P(OracleRegimes, EqualTheFullLoopWithTheRunningGradient) {
    Scene scene(1, GetParam());
    const Vector x = smallMove(7);
    Vector gradient;
    Matrix hessian;
    scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    const PlainLoop plain(scene, x);
    EXPECT_TRUE(arma::approx_equal(gradient, Vector(-plain.gradient), "absdiff",
                                   tolerance * arma::abs(plain.gradient).max()));
    EXPECT_TRUE(arma::approx_equal(hessian, Matrix(-plain.hessian), "absdiff",
                                   tolerance * arma::abs(plain.hessian).max()));
}

INSTANTIATE_TEST_SUITE_P(Beta, OracleRegimes, testing::Values(3.0, 500.0, beta, 1.0e7));

TEST(CrossCorrelationOracle, TheBarrierAtTheOriginIsThatOfTheTwoRadii) {
    Scene scene;
    const Vector x(6, arma::fill::zeros);
    const double free = scene.oracle.getFunctionValue(x);
    scene.oracle.enableLogBarrier(2.0, 1.5, 0.25);
    EXPECT_NEAR(scene.oracle.getFunctionValue(x) - free, -(std::log(1.5 * 1.5) + std::log(0.25 * 0.25)) / 2.0,
                1e-13);
}

TEST(CrossCorrelationOracle, AViolatedBoundGivesTheLargestFiniteValue) {
    // Seen to fail with the largest value alone wherever a bound is violated.
    constexpr double largest = std::numeric_limits<double>::max();
    Scene scene;
    scene.oracle.enableLogBarrier(1e-300, 1.0, 0.5);
    Vector x(6, arma::fill::zeros);
    x(1) = 1.5;
    // A valid rotation still counts, far too little to be seen but for a t this small.
    EXPECT_EQ(scene.oracle.getFunctionValue(x), largest - std::log(0.25) / 1e-300);
    scene.oracle.enableLogBarrier(1.0, 1.0, 0.5);
    EXPECT_EQ(scene.oracle.getFunctionValue(x), largest);
    x(1) = 0.0;
    x(4) = 0.6;
    EXPECT_EQ(scene.oracle.getFunctionValue(x), largest);
}

TEST(CrossCorrelationOracle, TheBarrierIsInfiniteOnTheSphere) {
    // Seen to fail with the sphere counted as outside.
    Scene scene;
    scene.oracle.enableLogBarrier(1.0, 1.0, 0.5);
    Vector x(6, arma::fill::zeros);
    x(2) = 1.0;
    EXPECT_EQ(scene.oracle.getFunctionValue(x), std::numeric_limits<double>::infinity());
}

TEST(CrossCorrelationOracle, WithDerivativesOnlyTheRotationBoundIsThere) {
    // Seen to fail with the bound of the translation in the value, and with it in the gradient.
    constexpr double t = 3.0;
    constexpr double radius = 0.5;
    Scene scene(1);
    Vector x = smallMove(7);
    x(0) = 2.0; // beyond the bound of the translation
    Vector gradient;
    Matrix hessian;
    const double value = scene.oracle.getFunctionGradiantAndHessian(x, gradient, hessian);
    scene.oracle.enableLogBarrier(t, 1.0, radius);
    Vector barrierGradient;
    Matrix barrierHessian;
    const double barrierValue =
        scene.oracle.getFunctionGradiantAndHessian(x, barrierGradient, barrierHessian);

    const auto barrier = [&](const Vector& point) {
        return -std::log(radius * radius - point(3) * point(3) - point(4) * point(4) - point(5) * point(5)) /
               t;
    };
    EXPECT_NEAR(barrierValue - value, barrier(x), 1e-13);
    constexpr double h = 1e-4;
    for (std::size_t i = 0; i < 7; ++i) {
        const double slope = (barrier(shifted(x, i, h)) - barrier(shifted(x, i, -h))) / (2.0 * h);
        EXPECT_NEAR(barrierGradient(i) - gradient(i), slope, 1e-6);
        for (std::size_t j = 0; j < 7; ++j) {
            const double curvature =
                (barrier(shifted(shifted(x, i, h), j, h)) - barrier(shifted(shifted(x, i, h), j, -h)) -
                 barrier(shifted(shifted(x, i, -h), j, h)) + barrier(shifted(shifted(x, i, -h), j, -h))) /
                (4.0 * h * h);
            EXPECT_NEAR(barrierHessian(i, j) - hessian(i, j), curvature, 1e-5);
        }
    }
}

TEST(CrossCorrelationOracle, TheSecondOrderPathDropsItsGradient) {
    // Seen to fail with the gradient negated.
    Scene scene(1);
    scene.oracle.initAsSecondOrder();
    const Vector x = smallMove(7);
    Vector gradient(7, arma::fill::zeros);
    const double value = scene.oracle.getFunctionGradient(x, gradient);
    ASSERT_EQ(gradient.n_elem, 1U);
    EXPECT_EQ(gradient(0), -1.0);
    // Without the centre of the others: compare where no rotation enters.
    const Vector rest(7, arma::fill::zeros);
    EXPECT_NEAR(scene.oracle.getFunctionGradient(rest, gradient), scene.oracle.getFunctionValue(rest), 1e-14);
    EXPECT_NE(value, 0.0);
}

TEST(CrossCorrelationOracle, TheSecondOrderPathWithTheBarrierFailsOnTheSizes) {
    // Seen to fail with the gradient negated where the barrier is on.
    Scene scene;
    scene.oracle.initAsSecondOrder();
    scene.oracle.enableLogBarrier(1.0, 1.0, 0.5);
    Vector gradient(6, arma::fill::zeros);
    EXPECT_THROW(scene.oracle.getFunctionGradient(smallMove(6), gradient), std::logic_error);
}

TEST(CrossCorrelationOracle, SplitsTheDegreesOfFreedom) {
    const Scene scene(2);
    const Vector x{1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0};
    const auto [tau, theta, eta] = scene.oracle.getTweenDof(x);
    EXPECT_EQ(tau, (std::array<double, 3>{1.0, 2.0, 3.0}));
    EXPECT_EQ(theta, (std::array<double, 3>{4.0, 5.0, 6.0}));
    EXPECT_TRUE(arma::approx_equal(eta, Vector{7.0, 8.0}, "absdiff", 0.0));
    EXPECT_TRUE(
        arma::approx_equal(scene.oracle.getTranslation(x), Vector{1, 2, 3, 0, 0, 0, 0, 0}, "absdiff", 0.0));
    EXPECT_TRUE(
        arma::approx_equal(scene.oracle.getRotation(x), Vector{0, 0, 0, 4, 5, 6, 0, 0}, "absdiff", 0.0));
    EXPECT_THROW(scene.oracle.getTweenDof(Vector(5)), std::logic_error);
    EXPECT_THROW(scene.oracle.getRotation(Vector(5)), std::logic_error);
}

TEST(CrossCorrelationOracle, GradientsOfTheConstraintsLiveInTheirOwnElements) {
    // Seen to fail with zeros for numbers other than 1 and 2.
    const Scene scene(2);
    const Vector x{1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0};
    const Vector first{2, 4, 6, 0, 0, 0, 0, 0};
    const Vector second{0, 0, 0, 8, 10, 12, 0, 0};
    EXPECT_TRUE(arma::approx_equal(scene.oracle.logbarDhdx(1, x), first, "absdiff", 0.0));
    for (const std::size_t i : {0U, 2U, 3U, 17U}) {
        EXPECT_TRUE(arma::approx_equal(scene.oracle.logbarDhdx(i, x), second, "absdiff", 0.0));
    }
}

TEST(CrossCorrelationOracle, TellsWhichObjectsItPrepares) {
    Scene scene;
    const auto say = [&](auto&& act) {
        testing::internal::CaptureStdout();
        act();
        return testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(say([&] { scene.oracle.setRotationCenter(scene.center); }),
              "CrossCorrelationOracle::setRotationCenter : m_pFirstOrderCCF \n"
              "CrossCorrelationOracle::setRotationCenter : m_pThirdOrderCCF \n");
    EXPECT_EQ(say([&] { scene.oracle.initPatternEdm(); }),
              "CrossCorrelationOracle::initPatternEdm : m_pFirstOrderCCF \n"
              "CrossCorrelationOracle::initPatternEdm : m_pThirdOrderCCF \n");
    scene.oracle.initAsSecondOrder();
    EXPECT_EQ(say([&] { scene.oracle.setRotationCenter(scene.center); }),
              "CrossCorrelationOracle::setRotationCenter : m_pFirstOrderCCF \n"
              "CrossCorrelationOracle::setRotationCenter : m_pSecondOrderCCF \n"
              "CrossCorrelationOracle::setRotationCenter : m_pThirdOrderCCF \n");
    EXPECT_EQ(say([&] { scene.oracle.initPatternEdm(); }),
              "CrossCorrelationOracle::initPatternEdm : m_pFirstOrderCCF \n"
              "CrossCorrelationOracle::initPatternEdm : m_pSecondOrderCCF \n"
              "CrossCorrelationOracle::initPatternEdm : m_pThirdOrderCCF \n");
    scene.oracle.clearMemory();
    EXPECT_EQ(say([&] { scene.oracle.initPatternEdm(); }), "");
}

/// Keeps apart what is written by separate calls.
class Pieces : public std::streambuf {
public:
    std::vector<std::string> m_pieces;

private:
    std::streamsize xsputn(const char* text, std::streamsize length) override {
        m_pieces.emplace_back(text, static_cast<std::size_t>(length));
        return length;
    }
    int overflow(int character) override {
        m_pieces.emplace_back(1, static_cast<char>(character));
        return character;
    }
};

TEST(CrossCorrelationOracle, WritesALineInOnePieceSoThatLinesOfSeveralWorkersDoNotMix) {
    Scene scene;
    Pieces output;
    std::streambuf* before = std::cout.rdbuf(&output);
    scene.oracle.setRotationCenter(scene.center);
    std::cout.rdbuf(before);
    EXPECT_EQ(output.m_pieces,
              (std::vector<std::string>{"CrossCorrelationOracle::setRotationCenter : m_pFirstOrderCCF \n",
                                        "CrossCorrelationOracle::setRotationCenter : m_pThirdOrderCCF \n"}));
}

TEST(CrossCorrelationOracle, MakesEachObjectOnlyIfMissing) {
    Scene scene;
    const auto* first = scene.oracle.getFirstOrder();
    const auto* third = scene.oracle.getThirdOrder();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(third, nullptr);
    EXPECT_EQ(scene.oracle.getSecondOrder(), nullptr);
    scene.oracle.initAsThirdOrder();
    scene.oracle.initAsSecondOrder();
    EXPECT_EQ(scene.oracle.getFirstOrder(), first);
    EXPECT_EQ(scene.oracle.getThirdOrder(), third);
    EXPECT_NE(scene.oracle.getSecondOrder(), nullptr);
    scene.oracle.clearMemory();
    EXPECT_EQ(scene.oracle.getFirstOrder(), nullptr);
    EXPECT_EQ(scene.oracle.getSecondOrder(), nullptr);
    EXPECT_EQ(scene.oracle.getThirdOrder(), nullptr);
}

TEST(CrossCorrelationOracle, AMissingObjectIsAnErrorUnlessLazy) {
    Scene scene;
    const TestModel& model = scene.model;
    const Vector x = smallMove(6);
    Vector gradient(6);
    Matrix hessian(6, 6);
    CrossCorrelationOracle strict(scene.target.data(), model.grid, model.positions, model.sigma, model.engine,
                                  beta, false);
    EXPECT_THROW(strict.getFunctionValue(x), std::logic_error);
    EXPECT_THROW(strict.getFunctionGradient(x, gradient), std::logic_error);
    EXPECT_THROW(strict.getFunctionGradiantAndHessian(x, gradient, hessian), std::logic_error);

    CrossCorrelationOracle lazy(scene.target.data(), model.grid, model.positions, model.sigma, model.engine,
                                beta, true);
    const double value = lazy.getFunctionValue(x);
    EXPECT_NEAR(lazy.getFunctionGradiantAndHessian(x, gradient, hessian), value, 1e-14);
    EXPECT_NEAR(lazy.getFunctionGradient(x, gradient), value, 1e-14);
    lazy.clearMemory();
    EXPECT_EQ(lazy.getFunctionValue(x), value);
}

TEST(CrossCorrelationOracle, RefusesAVectorOfAnotherLength) {
    Scene scene(2);
    EXPECT_THROW(scene.oracle.getFunctionValue(Vector(5, arma::fill::zeros)), std::logic_error);
    EXPECT_THROW(scene.oracle.getFunctionValue(Vector(7, arma::fill::zeros)), std::logic_error);
    EXPECT_THROW(scene.oracle.getFunctionValue(Vector(9, arma::fill::zeros)), std::logic_error);
}

TEST(CrossCorrelationOracle, ProfilesFailOnTheVectorThatIsNoPoint) {
    // Seen to fail with six zeros put in front of the amplitudes.
    namespace fs = std::filesystem;
    std::string name = (fs::temp_directory_path() / "selvane_profiles_XXXXXX").string();
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    const fs::path directory = name;
    const std::string prefix = (directory / "profile").string();
    Scene rigid;
    rigid.oracle.print(prefix, "a.txt", 0.0, 1.0, 0.5);
    EXPECT_TRUE(fs::is_empty(directory));
    for (const unsigned int modes : {2U, 7U}) {
        Scene scene(modes);
        EXPECT_THROW(scene.oracle.print(prefix, "b.txt", 0.0, 1.0, 0.5), std::logic_error);
        EXPECT_TRUE(fs::exists(prefix + "-mode-0-b.txt"));
        scene.oracle.print(prefix, "c.txt", 1.0, 0.0, 0.5); // nothing to evaluate
        EXPECT_TRUE(fs::exists(prefix + "-mode-1-c.txt"));
    }
    fs::remove_all(directory);
}

TEST(CrossCorrelationOracle, TheTrustRegionSolverImprovesTheFit) {
    const TestModel model(1);
    // The target is the model itself, moved by less than a voxel and bent along its mode.
    ElectronDensity moved = model.density();
    moved.setRotationCenter(cVector3(7.0, 9.0, 6.0));
    moved.setTweenDof({0.4, -0.3, 0.2}, {0.05, 0.02, -0.04}, {0.8});
    std::vector<double> target(model.grid->getTotalSize());
    moved.eval(target);
    const auto oracle = std::make_shared<CrossCorrelationOracle>(target.data(), model.grid, model.positions,
                                                                 model.sigma, model.engine, beta, true);
    const double start = oracle->getFunctionValue(Vector(7, arma::fill::zeros));
    TrustRegionSolver solver(oracle, 7UL, 1.0);
    const Vector x = solver.solve(1e-11, 200);
    const double found = oracle->getFunctionValue(x);
    EXPECT_LT(found, start);
    std::vector<double> self = correlate(*model.grid, target, target);
    EXPECT_NEAR(-found, *std::max_element(self.begin(), self.end()), 0.02 * self[0]);
}

} // namespace
