// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

#include "CrossCorrelation/tests/testModel.h"
#include "Interface/ConformationOracle.h"
#include "Math/structure.h"
#include "Optimization/BfgsTrustRegionSolver.h"
#include "Optimization/TrustRegionSolver.h"

namespace {

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;
using Maps = std::vector<std::vector<double>>;

constexpr double tightEps = 1e-11;
constexpr unsigned long manyIterations = 20000;

std::shared_ptr<ElectronDensity> densityOf(const TestModel& model) {
    return std::make_shared<ElectronDensity>(model.density());
}

/// A small move in all degrees of freedom.
Vector smallMove(std::size_t nDof) {
    Vector x(nDof);
    for (std::size_t i = 0; i < nDof; ++i) {
        x(i) = 0.05 * std::sin(1.0 + 2.0 * static_cast<double>(i));
    }
    return x;
}

/// -sum T M / L, one product after the other.
double negatedMean(const std::vector<double>& target, const std::vector<double>& map) {
    long double sum = 0.0;
    for (std::size_t v = 0; v < target.size(); ++v) {
        sum += static_cast<long double>(target[v]) * map[v];
    }
    return static_cast<double>(-sum / static_cast<long double>(target.size()));
}

/// The maps of a density of its own, moved to x.
struct PlainMaps {
    PlainMaps(const TestModel& model, const Vector& x)
        : values(model.grid->getTotalSize())
        , gradient(x.n_elem, values)
        , hessian(x.n_elem * x.n_elem, values) {
        ElectronDensity density = model.density();
        density.setTweenDof({x(0), x(1), x(2)}, {x(3), x(4), x(5)}, x.tail(x.n_elem - 6));
        density.evalRigidFlex(values, gradient, hessian);
    }
    std::vector<double> values;
    Maps gradient;
    Maps hessian;
};

class ConformationOracleOfModes : public testing::TestWithParam<unsigned int> {
protected:
    ConformationOracleOfModes() : model(GetParam()), nDof(GetParam() + 6) {}

    TestModel model;
    std::size_t nDof;
};

TEST_P(ConformationOracleOfModes, EqualsPlainSumsOverTheMaps) {
    const std::vector<double> target = noise(model.grid->getTotalSize(), 3);
    ConformationOracle oracle(target, densityOf(model), nDof);
    const Vector x = smallMove(nDof);
    Vector gradient(nDof), gradientAgain(nDof);
    Matrix hessian(nDof, nDof);
    const double withHessian = oracle.getFunctionGradiantAndHessian(x, gradientAgain, hessian);
    const double withGradient = oracle.getFunctionGradient(x, gradient);
    const double value = oracle.getFunctionValue(x);

    const PlainMaps maps(model, x);
    constexpr double rounding = 1e-14;
    EXPECT_NEAR(value, negatedMean(target, maps.values), rounding);
    EXPECT_EQ(withGradient, value);
    EXPECT_EQ(withHessian, value);
    for (std::size_t i = 0; i < nDof; ++i) {
        EXPECT_NEAR(gradient(i), negatedMean(target, maps.gradient[i]), rounding) << i;
        EXPECT_EQ(gradientAgain(i), gradient(i)) << i;
        for (std::size_t j = 0; j < nDof; ++j) {
            EXPECT_NEAR(hessian(i, j), negatedMean(target, maps.hessian[i * nDof + j]), rounding)
                << i << ", " << j;
        }
    }
}

TEST_P(ConformationOracleOfModes, ZeroTargetGivesZerosEverywhere) {
    const std::vector<double> target(model.grid->getTotalSize(), 0.0);
    ConformationOracle oracle(target, densityOf(model), nDof);
    for (const double scale : {0.0, 1.0, 30.0}) {
        Vector gradient(nDof, arma::fill::ones);
        Matrix hessian(nDof, nDof, arma::fill::ones);
        const Vector x = scale * smallMove(nDof);
        EXPECT_EQ(oracle.getFunctionGradiantAndHessian(x, gradient, hessian), 0.0);
        EXPECT_TRUE(gradient.is_zero());
        EXPECT_TRUE(hessian.is_zero());
        gradient.ones();
        EXPECT_EQ(oracle.getFunctionGradient(x, gradient), 0.0);
        EXPECT_TRUE(gradient.is_zero());
        EXPECT_EQ(oracle.getFunctionValue(x), 0.0);
    }
}

/// The maps of ElectronDensity are symmetric to the bit, and so is what is made of them.
TEST_P(ConformationOracleOfModes, HessianIsAsSymmetricAsTheMaps) {
    const std::vector<double> target = noise(model.grid->getTotalSize(), 4);
    ConformationOracle oracle(target, densityOf(model), nDof);
    Vector gradient(nDof);
    Matrix hessian(nDof, nDof);
    oracle.getFunctionGradiantAndHessian(smallMove(nDof), gradient, hessian);
    for (std::size_t i = 0; i < nDof; ++i) {
        for (std::size_t j = 0; j < nDof; ++j) {
            EXPECT_EQ(oracle.m_hessPatternEdm[i * nDof + j], oracle.m_hessPatternEdm[j * nDof + i]);
            EXPECT_EQ(hessian(i, j), hessian(j, i));
        }
    }
}

TEST_P(ConformationOracleOfModes, GradientOfNElementsIsWrittenCompletely) {
    const std::vector<double> target = noise(model.grid->getTotalSize(), 5);
    ConformationOracle oracle(target, densityOf(model), nDof);
    Vector gradient(nDof, arma::fill::value(arma::datum::nan));
    oracle.getFunctionGradient(smallMove(nDof), gradient);
    EXPECT_EQ(gradient.n_elem, nDof);
    EXPECT_TRUE(gradient.is_finite());
}

TEST_P(ConformationOracleOfModes, ValueAsTheVeryFirstCallIsASizeErrorOfTheGradient) {
    // Seen to fail with the gradient maps sized for a value too.
    const std::vector<double> target = noise(model.grid->getTotalSize(), 6);
    ConformationOracle oracle(target, densityOf(model), nDof);
    const Vector x(nDof, arma::fill::zeros);
    try {
        oracle.getFunctionValue(x);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "gradient[0] size must be " + std::to_string(target.size()) + ".");
    }
    Vector gradient(nDof);
    const double value = oracle.getFunctionGradient(x, gradient);
    EXPECT_EQ(oracle.getFunctionValue(x), value); // once sized, the maps serve
}

TEST_P(ConformationOracleOfModes, TweenDofAreTheThreePartsOfX) {
    const std::vector<double> target(model.grid->getTotalSize());
    const ConformationOracle oracle(target, densityOf(model), nDof);
    const Vector x = arma::regspace(1.0, static_cast<double>(nDof));
    const auto [translation, rotation, eta] = oracle.getTweenDof(x);
    EXPECT_EQ(translation, (std::array<double, 3>{1.0, 2.0, 3.0}));
    EXPECT_EQ(rotation, (std::array<double, 3>{4.0, 5.0, 6.0}));
    ASSERT_EQ(eta.n_elem, nDof - 6);
    for (arma::uword m = 0; m < eta.n_elem; ++m) {
        EXPECT_EQ(eta(m), 7.0 + static_cast<double>(m));
    }
}

INSTANTIATE_TEST_SUITE_P(WithAndWithoutModes, ConformationOracleOfModes, testing::Values(0U, 2U));

TEST(ConformationOracle, ConstructorMakesZeroPatternAndEmptyDerivativeMaps) {
    const TestModel model(2);
    const std::vector<double> target(model.grid->getTotalSize(), 1.0);
    const auto density = densityOf(model);
    const ConformationOracle oracle(target, density, 8);
    EXPECT_EQ(oracle.m_density, density);
    EXPECT_EQ(&oracle.m_targetEdm, &target);
    EXPECT_EQ(oracle.m_patternEdm, std::vector<double>(target.size(), 0.0));
    EXPECT_EQ(oracle.m_gradPatternEdm, Maps(8));
    EXPECT_EQ(oracle.m_hessPatternEdm, Maps(64));
    EXPECT_EQ(oracle.m_nDof, 8u);
}

TEST(ConformationOracle, DensityStaysWhereTheLastCallPutIt) {
    const TestModel model(1);
    const std::vector<double> target = noise(model.grid->getTotalSize(), 7);
    const auto density = densityOf(model);
    ConformationOracle oracle(target, density, 7);
    const Vector x = smallMove(7);
    Vector gradient(7);
    oracle.getFunctionGradient(x, gradient);
    std::vector<double> values(target.size());
    density->eval(values);
    const PlainMaps expected(model, x);
    for (std::size_t v = 0; v < values.size(); ++v) {
        EXPECT_NEAR(values[v], expected.values[v], 1e-15);
    }
}

TEST(ConformationOracle, TargetOfAnotherLengthIsASizeError) {
    const TestModel model;
    const std::vector<double> target(model.grid->getTotalSize() - 1);
    ConformationOracle oracle(target, densityOf(model), 6);
    Vector gradient(6);
    try {
        oracle.getFunctionGradient(Vector(6, arma::fill::zeros), gradient);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_EQ(std::string(error.what()),
                  "values size must be " + std::to_string(model.grid->getTotalSize()) + ".");
    }
}

TEST(ConformationOracle, OutputsThatAreTooSmallRunIntoTheBoundsOfTheMatrixLibrary) {
    const TestModel model;
    const std::vector<double> target = noise(model.grid->getTotalSize(), 8);
    ConformationOracle oracle(target, densityOf(model), 6);
    const Vector x(6, arma::fill::zeros);
    Vector shortGradient(5), gradient(6);
    Matrix smallHessian(6, 5);
    try {
        oracle.getFunctionGradient(x, shortGradient);
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "Mat::operator(): index out of bounds");
    }
    EXPECT_THROW(oracle.getFunctionGradiantAndHessian(x, gradient, smallHessian), std::logic_error);
}

// --- minima ---

double distance(const std::vector<std::array<double, 3>>& a, const std::vector<std::array<double, 3>>& b) {
    double sum = 0.0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            sum += (a[i][c] - b[i][c]) * (a[i][c] - b[i][c]);
        }
    }
    return std::sqrt(sum / static_cast<double>(a.size()));
}

/// The model moved by a translation and an infinitesimal rotation about its centre.
std::vector<std::array<double, 3>> movedBy(std::vector<std::array<double, 3>> positions, const Vector& x) {
    const std::array<double, 3> c = getCenter(positions);
    for (auto& p : positions) {
        const std::array<double, 3> d{p[0] - c[0], p[1] - c[1], p[2] - c[2]};
        p[0] += x(0) + x(4) * d[2] - x(5) * d[1];
        p[1] += x(1) + x(5) * d[0] - x(3) * d[2];
        p[2] += x(2) + x(3) * d[1] - x(4) * d[0];
    }
    return positions;
}

class DisplacedModel : public testing::Test {
protected:
    DisplacedModel() {
        truth.grid->m_box = cBBox(cVector3(-3.0, 2.0, 1.0), cVector3(23.0, 30.0, 25.0));
        truth.grid->setSize(27, 29, 25);
        truth.positions = spreadAtoms();
        target.resize(truth.grid->getTotalSize());
        truth.density().eval(target);
        for (double& value : target) {
            value *= mapScale;
        }
        displaced = truth;
        const Vector displacement = {0.6, -0.5, 0.4, 0.05, -0.06, 0.04};
        displaced.positions = movedBy(truth.positions, displacement);
        density = densityOf(displaced);
        oracle = std::make_shared<ConformationOracle>(target, density, 6);
    }

    /// Wide enough that a turn of few degrees outweighs the swelling that an infinitesimal one brings with
    /// it.
    static std::vector<std::array<double, 3>> spreadAtoms() {
        const std::vector<double> along = noise(60, 9, 0.0, 12.0);
        std::vector<std::array<double, 3>> positions;
        for (std::size_t a = 0; a < along.size(); a += 3) {
            positions.push_back({4.0 + along[a], 10.0 + along[a + 1], 7.0 + along[a + 2]});
        }
        return positions;
    }

    /// A mean over voxels is small, and a squared gradient of 1e-11 ends a solve at once.
    static constexpr double mapScale = 1e4;
    /// A turn of theta and back swells the model by |theta|^2, here 0.8 per cent of arms of 7 angstrom.
    static constexpr double swelling = 0.06;

    TestModel truth;
    TestModel displaced;
    std::vector<double> target;
    std::shared_ptr<ElectronDensity> density;
    std::shared_ptr<ConformationOracle> oracle;
};

TEST_F(DisplacedModel, ComesBackWithTheSecondDerivatives) {
    ASSERT_GT(distance(displaced.positions, truth.positions), 0.8);
    TrustRegionSolver solver(oracle, 6, 1.0);
    solver.m_hessian.zeros(6, 6);
    const Vector x = solver.solve(tightEps, manyIterations);
    EXPECT_LT(distance(movedBy(displaced.positions, x), truth.positions), swelling);
}

TEST_F(DisplacedModel, ComesBackWithLearntSecondDerivatives) {
    BfgsTrustRegionSolver solver(oracle, 6, 1.0);
    const Vector x = solver.solve(tightEps, manyIterations);
    EXPECT_LT(distance(movedBy(displaced.positions, x), truth.positions), swelling);
}

TEST_F(DisplacedModel, DerivativesFollowTheValueToTheVariationOfTheWeights) {
    Vector gradient(6), ahead(6), behind(6);
    Matrix hessian(6, 6);
    const Vector x(6, arma::fill::zeros);
    oracle->getFunctionGradiantAndHessian(x, gradient, hessian);
    constexpr double h = 1e-4;
    const double variation = 0.02 * arma::norm(gradient);
    for (std::size_t i = 0; i < 6; ++i) {
        Vector plus = x, minus = x;
        plus(i) += h;
        minus(i) -= h;
        const double up = oracle->getFunctionGradient(plus, ahead);
        const double down = oracle->getFunctionGradient(minus, behind);
        EXPECT_NEAR((up - down) / (2.0 * h), gradient(i), variation) << i;
        const Vector row = (ahead - behind) / (2.0 * h);
        EXPECT_LT(arma::norm(row - hessian.col(i)), 0.02 * arma::norm(hessian)) << i;
    }
}

} // namespace
