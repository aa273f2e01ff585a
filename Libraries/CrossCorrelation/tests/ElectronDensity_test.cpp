// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/fccf.h"
#include "CrossCorrelation/gaussianCut.h"
#include "Interpolation/lerp.h"
#include "Math/cMatrix33.h"
#include "Math/pi.h"
#include "testModel.h"

namespace {

constexpr double rounding = 1e-13;

std::string messageOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const std::length_error& error) {
        return error.what();
    }
    return "";
}

double total(const std::vector<double>& field) {
    return std::accumulate(field.begin(), field.end(), 0.0);
}

std::vector<double> evaluate(const ElectronDensity& density, std::size_t size) {
    std::vector<double> values(size);
    density.eval(values);
    return values;
}

/// Displacement of an atom under q, from the definition: t + w x (p - C) + G eta.
cVector3 displacement(const TestModel& model, std::size_t atom, const cVector3& center,
                      const arma::Col<double>& q) {
    const auto& p = model.positions[atom];
    const cVector3 arm = cVector3(p[0], p[1], p[2]) - center;
    cVector3 moved = cVector3(q(0), q(1), q(2)) + (cVector3(q(3), q(4), q(5)) ^ arm);
    for (unsigned int m = 0; m < model.engine->m_nModes; ++m) {
        moved +=
            q(6 + m) * cVector3(model.engine->m_modes(3 * atom, m), model.engine->m_modes(3 * atom + 1, m),
                                model.engine->m_modes(3 * atom + 2, m));
    }
    return moved;
}

bool reaches(const TestModel& model, const ElectronDensity& density, std::size_t atom, std::size_t node) {
    const auto [i, j, k] = model.grid->m_flatIndex2Index[node];
    const std::array<std::size_t, 3> index{i, j, k};
    const NodeBox reach = density.reachOf(atom);
    for (std::size_t a = 0; a < 3; ++a) {
        if (static_cast<int>(index[a]) < reach.low[a] || static_cast<int>(index[a]) > reach.high[a]) {
            return false;
        }
    }
    return true;
}

/// The nodes that some atom reaches, ascending.
std::vector<std::size_t> reachedNodes(const TestModel& model, const ElectronDensity& density) {
    std::vector<std::size_t> nodes;
    for (std::size_t node = 0; node < model.grid->getTotalSize(); ++node) {
        bool reached = false;
        for (std::size_t atom = 0; atom < density.atomCount(); ++atom) {
            reached = reached || reaches(model, density, atom, node);
        }
        if (reached) {
            nodes.push_back(node);
        }
    }
    return nodes;
}

/// The density at a node for the contacts and weights that the density holds, atoms displaced by q.
double frozenDensity(const TestModel& model, const ElectronDensity& density, std::size_t node,
                     const cVector3& center, const arma::Col<double>& q) {
    double rho = 0.0;
    const cVector3 x = model.node(node);
    for (std::size_t a = 0; a < model.positions.size(); ++a) {
        if (!reaches(model, density, a, node)) {
            continue;
        }
        const auto& p = model.positions[a];
        const cVector3 d = x - cVector3(p[0], p[1], p[2]) - displacement(model, a, center, q);
        rho += density.atomWeight(a) * density.gaussianNorm() *
               std::exp(-d.norm2() / (2.0 * model.sigma * model.sigma));
    }
    return rho;
}

TEST(ElectronDensity, CutsWhereTheGaussianFallsToEpsilon) {
    // Seen to fail with sigma to the power 6 under the root.
    const TestModel model;
    const ElectronDensity density = model.density();
    const double z = std::sqrt(8.0 * pi * pi * pi * std::pow(model.sigma, 3));
    EXPECT_NEAR(density.gaussianNorm() * z, 1.0, rounding);
    const double radius = 0.5 * density.cutoffDiameter();
    EXPECT_NEAR(std::exp(-radius * radius / (2.0 * model.sigma * model.sigma)) / z, 0.0001, 1e-15);
}

TEST(ElectronDensity, TheFactorsUnderTheRootGoInTheirOrder) {
    // Seen to fail with 8 pi^3 first and sigma^3 behind it.
    bool orderShows = false;
    for (double sigma = 0.5; sigma < 12.0; sigma += 0.37) {
        double product = sigma * 2.0 * pi + sigma * 2.0 * pi;
        product = product * pi * sigma;
        product = (product + product) * pi * sigma;
        EXPECT_EQ(gaussianCut::normalization(sigma), std::sqrt(product));
        orderShows =
            orderShows || std::sqrt(8.0 * pi * pi * pi * sigma * sigma * sigma) != std::sqrt(product);
    }
    EXPECT_TRUE(orderShows);
}

TEST(ElectronDensity, EqualsALiteralLoopOverAtomsAndTheirBoxesOfNodes) {
    // Seen to fail with the nearest node floored, and with a box wider by a node.
    TestModel model;
    // In cells from the low corner: beside and on the faces, halfway between nodes, on a node.
    for (const double cells : {-2.4, -1.2, -0.5, 0.0, 3.0, 4.5, 8.5, 10.7}) {
        const cVector3 p = model.node(0) + cells * model.grid->m_cellDim;
        model.positions.push_back({p.x, 10.0, 6.0});
        model.positions.push_back({p.x, p.y, p.z});
    }
    const ElectronDensity density = model.density();
    const double cell[3] = {model.grid->m_cellDim.x, model.grid->m_cellDim.y, model.grid->m_cellDim.z};
    const double low[3] = {model.grid->m_box.m_min.x, model.grid->m_box.m_min.y, model.grid->m_box.m_min.z};
    std::vector<double> expected(model.grid->getTotalSize(), 0.0);
    for (const auto& p : model.positions) {
        int nearest[3];
        int half[3];
        for (int a = 0; a < 3; ++a) {
            nearest[a] = static_cast<int>((p[static_cast<std::size_t>(a)] - low[a]) / cell[a] + 0.5);
            half[a] = static_cast<int>(std::floor(density.cutoffDiameter() / (cell[a] + cell[a])));
        }
        std::vector<std::pair<unsigned int, double>> gaussian;
        double sum = 0.0;
        for (int i = nearest[0] - half[0]; i <= nearest[0] + half[0]; ++i) {
            for (int j = nearest[1] - half[1]; j <= nearest[1] + half[1]; ++j) {
                for (int k = nearest[2] - half[2]; k <= nearest[2] + half[2]; ++k) {
                    if (!model.grid->isIndexOnGrid(i, j, k)) {
                        continue;
                    }
                    const cVector3 d(i * cell[0] + low[0] - p[0], j * cell[1] + low[1] - p[1],
                                     k * cell[2] + low[2] - p[2]);
                    gaussian.emplace_back(model.grid->indexToFlatIndex(i, j, k),
                                          std::exp(-d.norm2() / (2.0 * model.sigma * model.sigma)));
                    sum += gaussian.back().second;
                }
            }
        }
        for (const auto& [node, value] : gaussian) {
            expected[node] += value / sum;
        }
    }
    const std::vector<double> values = evaluate(density, expected.size());
    for (std::size_t n = 0; n < values.size(); ++n) {
        EXPECT_NEAR(values[n], expected[n], rounding) << "node " << n;
    }
}

TEST(ElectronDensity, AnAtomOnANodePeaksThereAndAddsUpToOne) {
    TestModel model;
    const std::size_t node = model.grid->indexToFlatIndex(6, 5, 4);
    const cVector3 x = model.node(node);
    model.positions = {{x.x, x.y, x.z}};
    const ElectronDensity density = model.density();
    const std::vector<double> values = evaluate(density, model.grid->getTotalSize());
    EXPECT_NEAR(values[node], density.atomWeight(0) * density.gaussianNorm(), rounding);
    EXPECT_EQ(std::max_element(values.begin(), values.end()) - values.begin(), static_cast<long>(node));
    EXPECT_NEAR(total(values), 1.0, rounding);
}

TEST(ElectronDensity, AnAtomWhoseNearestNodeIsOffTheGridStillAddsUpToOne) {
    TestModel model;
    model.positions = {{model.grid->m_box.m_min.x - 2.0, 10.0, 6.0}};
    const ElectronDensity density = model.density();
    EXPECT_FALSE(reachedNodes(model, density).empty());
    EXPECT_NEAR(total(evaluate(density, model.grid->getTotalSize())), 1.0, rounding);
}

// Truncation is toward zero, so the first node counts as the nearest from 1.5 cells before it.
TEST(ElectronDensity, AnAtomBeforeTheLowCornerReachesFromTheFirstNodeOn) {
    TestModel model;
    const cVector3 p = model.node(0) - 1.2 * model.grid->m_cellDim;
    const cVector3 first = model.node(0);
    model.positions = {{p.x, p.y, p.z}, {first.x, first.y, first.z}};
    const ElectronDensity density = model.density();
    EXPECT_EQ(density.reachOf(0).high, density.reachOf(1).high);
}

TEST(ElectronDensity, AnAtomFarFromTheGridIsHarmless) {
    TestModel model;
    model.positions = {{1.0e12, 10.0, 6.0}, {6.0, 10.0, 6.0}, {-1.0e300, 0.0, 0.0}};
    const ElectronDensity density = model.density();
    EXPECT_NEAR(total(evaluate(density, model.grid->getTotalSize())), 1.0, rounding);
    EXPECT_TRUE(std::isinf(density.atomWeight(0)));
}

TEST(ElectronDensity, TotalIsTheNumberOfAtomsThatTouchTheGrid) {
    const TestModel model;
    EXPECT_NEAR(total(evaluate(model.density(), model.grid->getTotalSize())), 6.0, 6.0 * rounding);
}

TEST(ElectronDensity, AddsTheAtomsOfANodeUpInAscendingOrder) {
    const TestModel model;
    const std::size_t size = model.grid->getTotalSize();
    std::vector<double> sum(size, 0.0);
    for (const auto& position : model.positions) {
        TestModel one = model;
        one.positions = {position};
        const std::vector<double> values = evaluate(one.density(), size);
        for (std::size_t n = 0; n < size; ++n) {
            sum[n] += values[n];
        }
    }
    EXPECT_EQ(evaluate(model.density(), size), sum);
}

TEST(ElectronDensity, ZeroDegreesOfFreedomGiveBackTheDensityOfTheConstructor) {
    const TestModel model(3);
    ElectronDensity density = model.density();
    const auto before = evaluate(density, model.grid->getTotalSize());
    density.setTweenDof({0.5, 0.0, -1.0}, {0.0, 0.1, 0.0}, {0.3, 0.0, -0.2});
    EXPECT_NE(evaluate(density, before.size()), before);
    density.setTweenDof({0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, {0.0, 0.0, 0.0});
    EXPECT_EQ(evaluate(density, before.size()), before);
}

TEST(ElectronDensity, RotationCenterAloneLeavesTheDensityUntilTheNextMove) {
    // Seen to fail with the atoms put back by a new centre.
    const TestModel model;
    ElectronDensity density = model.density();
    density.setTweenDof({0.0, 0.0, 0.0}, {0.0, 0.0, 0.1}, {});
    const auto before = evaluate(density, model.grid->getTotalSize());
    density.setRotationCenter(cVector3(20.0, 20.0, 20.0));
    EXPECT_EQ(evaluate(density, before.size()), before);
    density.setTweenDof({0.0, 0.0, 0.0}, {0.0, 0.0, 0.1}, {});
    EXPECT_NE(evaluate(density, before.size()), before);
}

TEST(ElectronDensity, AmplitudesOfTheConstructorMoveTheAtoms) {
    const TestModel model(2);
    const arma::Col<double> eta{0.4, -0.3};
    const ElectronDensity made(model.positions.data(), model.sigma, model.positions.size(), model.grid,
                               *model.engine, eta, ElectronDensity::EPSILON);
    ElectronDensity moved = model.density();
    moved.setTweenDof({0.0, 0.0, 0.0}, {0.0, 0.0, 0.0}, eta);
    EXPECT_EQ(evaluate(made, model.grid->getTotalSize()), evaluate(moved, model.grid->getTotalSize()));
}

TEST(ElectronDensity, RefusesAmplitudesThatDoNotFitTheModes) {
    const TestModel model(2);
    const arma::Col<double> eta{0.4};
    EXPECT_THROW(ElectronDensity(model.positions.data(), model.sigma, model.positions.size(), model.grid,
                                 *model.engine, eta, ElectronDensity::EPSILON),
                 std::logic_error);
}

TEST(ElectronDensity, RefusesASigmaThatLeavesNothingAboveTheCut) {
    TestModel model;
    model.sigma = 73.8;
    EXPECT_NO_THROW(model.density());
    model.sigma = 73.9;
    EXPECT_THROW(model.density(), std::invalid_argument);
    model.sigma = 0.0;
    EXPECT_THROW(model.density(), std::invalid_argument);
}

class DensityDerivatives : public testing::TestWithParam<unsigned int> {};

// The quotients hold weights and contacts fixed, as the derivatives do.
TEST_P(DensityDerivatives, EqualDifferenceQuotients) {
    const TestModel model(GetParam());
    ElectronDensity density = model.density();
    const cVector3 center(6.0, 9.0, 5.0);
    density.setRotationCenter(center);
    arma::Col<double> q(density.nDof());
    for (arma::uword k = 0; k < q.n_elem; ++k) {
        q(k) = 0.05 * std::cos(static_cast<double>(3 * k));
    }
    arma::Col<double> eta(model.engine->m_nModes);
    for (arma::uword m = 0; m < eta.n_elem; ++m) {
        eta(m) = q(6 + m);
    }
    density.setTweenDof({q(0), q(1), q(2)}, {q(3), q(4), q(5)}, eta);

    const std::size_t size = model.grid->getTotalSize();
    const std::size_t dof = density.nDof();
    std::vector<double> values(size);
    std::vector<std::vector<double>> gradient(dof, std::vector<double>(size, 9.0));
    std::vector<std::vector<double>> hessian(dof * dof, std::vector<double>(size, 9.0));
    density.evalRigidFlex(values, gradient, hessian);

    constexpr double h = 1e-4;
    constexpr double firstTolerance = 1e-7;  // h^2 times third derivatives of order ten
    constexpr double secondTolerance = 1e-6; // and rounding over h^2
    const auto rho = [&](std::size_t n, arma::uword r, double dr, arma::uword s, double ds) {
        arma::Col<double> moved = q;
        moved(r) += dr;
        moved(s) += ds;
        return frozenDensity(model, density, n, center, moved);
    };
    const std::vector<std::size_t> nodes = reachedNodes(model, density);
    for (std::size_t p = 0; p < nodes.size(); p += 7) {
        const std::size_t node = nodes[p];
        EXPECT_NEAR(values[node], rho(node, 0, 0.0, 0, 0.0), rounding);
        for (std::size_t r = 0; r < dof; ++r) {
            const double slope = (rho(node, r, h, r, 0.0) - rho(node, r, -h, r, 0.0)) / (2.0 * h);
            EXPECT_NEAR(gradient[r][node], slope, firstTolerance);
            for (std::size_t s = 0; s < dof; ++s) {
                const double curvature = (rho(node, r, h, s, h) - rho(node, r, h, s, -h) -
                                          rho(node, r, -h, s, h) + rho(node, r, -h, s, -h)) /
                                         (4.0 * h * h);
                EXPECT_NEAR(hessian[r * dof + s][node], curvature, secondTolerance) << r << ", " << s;
                EXPECT_EQ(hessian[r * dof + s][node], hessian[s * dof + r][node]);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, DensityDerivatives, testing::Values(0U, 3U));

TEST(ElectronDensity, NodesOutOfReachHaveZeroDensityAndDerivatives) {
    const TestModel model;
    const ElectronDensity density = model.density();
    const std::size_t size = model.grid->getTotalSize();
    std::vector<double> values(size, 9.0);
    std::vector<std::vector<double>> gradient(6, values);
    std::vector<std::vector<double>> hessian(36, values);
    density.evalRigidFlex(values, gradient, hessian);
    const std::size_t corner = 0;
    ASSERT_NE(reachedNodes(model, density).front(), corner);
    EXPECT_EQ(values[corner], 0.0);
    for (const auto& field : gradient) {
        EXPECT_EQ(field[corner], 0.0);
    }
    for (const auto& field : hessian) {
        EXPECT_EQ(field[corner], 0.0);
    }
}

TEST(ElectronDensity, TranslationGradientPointsFromTheAtomToTheNode) {
    TestModel model;
    model.positions = {{6.2, 9.9, 6.1}};
    const ElectronDensity density = model.density();
    const std::size_t size = model.grid->getTotalSize();
    std::vector<double> values(size);
    std::vector<std::vector<double>> gradient(6, values);
    density.evalRigidFlex(values, gradient);
    for (const std::size_t node : reachedNodes(model, density)) {
        const cVector3 d = model.node(node) - cVector3(6.2, 9.9, 6.1);
        const double scale = values[node] / (model.sigma * model.sigma);
        EXPECT_NEAR(gradient[0][node], scale * d.x, rounding);
        EXPECT_NEAR(gradient[1][node], scale * d.y, rounding);
        EXPECT_NEAR(gradient[2][node], scale * d.z, rounding);
    }
}

TEST(ElectronDensity, AllEvaluationsGiveTheSameNumbers) {
    const TestModel model(2);
    const ElectronDensity density = model.density();
    const std::size_t size = model.grid->getTotalSize();
    const std::size_t dof = 8;
    std::vector<double> values(size);
    std::vector<double> other(size);
    std::vector<std::vector<double>> gradient(dof, values);
    std::vector<std::vector<double>> otherGradient(dof, values);
    std::vector<std::vector<double>> hessian(dof * dof, values);
    density.evalRigidFlex(values, gradient, hessian);
    density.evalRigidFlex(other, otherGradient);
    EXPECT_EQ(values, other);
    EXPECT_EQ(gradient, otherGradient);
    EXPECT_EQ(values, evaluate(density, size));

    const DensityTable table = density.tabulate();
    const std::vector<std::size_t> nodes = reachedNodes(model, density);
    ASSERT_TRUE(std::equal(table.nodes.begin(), table.nodes.end(), nodes.begin(), nodes.end()));
    for (std::size_t n = 0; n < table.nodes.size(); ++n) {
        const std::size_t node = table.nodes[n];
        EXPECT_EQ(table.row(n)[0], values[node]);
        for (std::size_t r = 0; r < dof; ++r) {
            EXPECT_EQ(table.row(n)[DensityTable::gradientColumn(r)], gradient[r][node]);
            for (std::size_t s = 0; s < dof; ++s) {
                EXPECT_EQ(table.row(n)[table.hessianColumn(r, s)], hessian[r * dof + s][node]);
            }
        }
    }
}

TEST(ElectronDensity, ATableWithoutSecondDerivativesHoldsTheRest) {
    const TestModel model(2);
    const ElectronDensity density = model.density();
    const DensityTable full = density.tabulate();
    const DensityTable table = density.tabulate(false);
    EXPECT_EQ(table.columns(), 9U);
    EXPECT_EQ(full.columns(), 9U + 36U);
    ASSERT_EQ(table.nodes, full.nodes);
    for (std::size_t n = 0; n < table.nodes.size(); ++n) {
        EXPECT_TRUE(std::equal(table.row(n), table.row(n) + 9, full.row(n)));
    }
}

TEST(ElectronDensity, GradientOnTheReachedBoxIsThatOfTheGrid) {
    const TestModel model(1);
    const ElectronDensity density = model.density();
    const NodeBox box = density.reachedBox();
    const std::vector<double> gradient = density.gradientOnBox();
    ASSERT_EQ(gradient.size(), 7 * box.size());
    std::vector<double> values(model.grid->getTotalSize());
    std::vector<std::vector<double>> expected(7, values);
    density.evalRigidFlex(values, expected);
    for (std::size_t r = 0; r < 7; ++r) {
        double outside = total(expected[r]);
        for (int i = box.low[0]; i <= box.high[0]; ++i) {
            for (int j = box.low[1]; j <= box.high[1]; ++j) {
                for (int k = box.low[2]; k <= box.high[2]; ++k) {
                    const double value = expected[r][model.grid->indexToFlatIndex(i, j, k)];
                    EXPECT_EQ(gradient[r * box.size() + box.index(i, j, k)], value);
                    outside -= value;
                }
            }
        }
        EXPECT_NEAR(outside, 0.0, rounding);
    }
}

TEST(ElectronDensity, WeighedDerivativesAreSumsOverTheTable) {
    const TestModel model(2);
    ElectronDensity density = model.density();
    density.setTweenDof({0.3, -0.2, 0.1}, {0.02, 0.0, 0.05}, {0.3, -0.1});
    const DensityTable table = density.tabulate();
    const NodeBox box = density.reachedBox();
    const std::vector<double> field = noise(box.size(), 8);
    std::vector<double> expected(table.columns() - 1, 0.0);
    for (std::size_t n = 0; n < table.nodes.size(); ++n) {
        const auto [i, j, k] = model.grid->m_flatIndex2Index[table.nodes[n]];
        const double weight = field[box.index(static_cast<int>(i), static_cast<int>(j), static_cast<int>(k))];
        for (std::size_t q = 0; q < expected.size(); ++q) {
            expected[q] += weight * table.row(n)[1 + q];
        }
    }
    const std::vector<double> sums = density.weighDerivatives({field}, true);
    ASSERT_EQ(sums.size(), expected.size());
    for (std::size_t q = 0; q < sums.size(); ++q) {
        EXPECT_NEAR(sums[q], expected[q], 1e-12) << "column " << q;
    }
    const std::vector<double> gradient(sums.begin(), sums.begin() + 8);
    EXPECT_EQ(density.weighDerivatives({field}, false), gradient);
    const std::vector<double> zeros(box.size(), 0.0);
    std::vector<double> rows(8, 0.0);
    rows.insert(rows.end(), gradient.begin(), gradient.end());
    EXPECT_EQ(density.weighDerivatives({zeros, field}, false), rows);
    EXPECT_THROW(density.weighDerivatives({std::vector<double>(3)}, true), std::length_error);
}

TEST(ElectronDensity, ACopyIsIndependent) {
    const TestModel model(1);
    const ElectronDensity density = model.density();
    const std::size_t size = model.grid->getTotalSize();
    const auto before = evaluate(density, size);
    const std::vector<double> gradient = density.gradientOnBox();
    ElectronDensity copy = density;
    copy.setRotationCenter(cVector3(1.0, 1.0, 1.0));
    copy.setTweenDof({0.5, 0.0, 0.0}, {0.0, 0.3, 0.0}, {0.4});
    EXPECT_NE(evaluate(copy, size), before);
    EXPECT_EQ(evaluate(density, size), before);
    EXPECT_EQ(density.gradientOnBox(), gradient);
}

TEST(ElectronDensity, AModelThatReachesNoNodeHasEmptyTables) {
    TestModel model;
    model.positions = {{1.0e6, 0.0, 0.0}};
    const ElectronDensity density = model.density();
    EXPECT_TRUE(density.reachedBox().isEmpty());
    EXPECT_TRUE(density.tabulate().nodes.empty());
    EXPECT_TRUE(density.gradientOnBox().empty());
    EXPECT_EQ(density.weighDerivatives({std::vector<double>()}, true), std::vector<double>(27, 0.0));
}

TEST(ElectronDensity, GradYFunctionIsTheGradientOfTheLogarithmOfOneGaussian) {
    TestModel model(2);
    model.positions = {{6.2, 9.9, 6.1}};
    const TestModel shape = model;
    const ElectronDensity density = model.density();
    std::vector<double> values(model.grid->getTotalSize());
    std::vector<std::vector<double>> gradient(8, values);
    density.evalRigidFlex(values, gradient);
    const DensityTable table = density.tabulate();
    const std::size_t node = table.nodes[table.nodes.size() / 2];
    const cVector3 x = shape.node(node);
    const arma::Col<double> y = density.evalRigidFlexGradYFunction(0, {x.x, x.y, x.z});
    ASSERT_EQ(y.n_elem, 8U);
    for (std::size_t k = 0; k < 8; ++k) {
        EXPECT_NEAR(values[node] * y(k), gradient[k][node], rounding);
    }
}

TEST(ElectronDensity, NamesTheExpectedSizeOfEveryArray) {
    const TestModel model;
    const ElectronDensity density = model.density();
    const std::size_t size = model.grid->getTotalSize();
    std::vector<double> values(size);
    std::vector<double> shorter(size - 1);
    std::vector<std::vector<double>> gradient(6, values);
    std::vector<std::vector<double>> hessian(36, values);
    EXPECT_EQ(messageOf([&] { density.eval(shorter); }), "values size must be 1188.");
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(shorter, gradient); }), "values size must be 1188.");
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(shorter, gradient, hessian); }),
              "values size must be 1188.");
    std::vector<std::vector<double>> five(5, values);
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, five); }), "gradient dimension must be 6.");
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, five, hessian); }),
              "gradient dimension must be 6.");
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, gradient, gradient); }),
              "hessian dimension must be 36.");
    hessian[2 * 6 + 4] = shorter;
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, gradient, hessian); }),
              "hessian[2, 4] size must be 1188.");
    // A gradient row is tested before the rows of the Hessian with the same first index.
    gradient[2] = shorter;
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, gradient, hessian); }),
              "gradient[2] size must be 1188.");
    // But those of lower first indices come before it.
    hessian[1 * 6 + 5] = shorter;
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, gradient, hessian); }),
              "hessian[1, 5] size must be 1188.");
    EXPECT_EQ(messageOf([&] { density.evalRigidFlex(values, gradient); }), "gradient[2] size must be 1188.");
}

TEST(ElectronDensity, BoundingBoxIsTheAtomsPlusTheCutRadius) {
    // Seen to fail with sigma to the power 6 under the root.
    const std::vector<std::array<double, 3>> positions{{1.0, 2.0, 3.0}, {-4.0, 5.0, 2.5}};
    const double sigma = 2.0;
    const double radius = std::sqrt(-2.0 * sigma * sigma *
                                    std::log(0.0001 * std::sqrt(8.0 * pi * pi * pi * sigma * sigma * sigma)));
    const cBBox box = ElectronDensity::getBoundingBox(positions, sigma, 0.0001, 1.5);
    EXPECT_NEAR(box.m_min.x, -4.0 - 1.5 * radius, rounding * 10);
    EXPECT_NEAR(box.m_min.y, 2.0 - 1.5 * radius, rounding * 10);
    EXPECT_NEAR(box.m_min.z, 2.5 - 1.5 * radius, rounding * 10);
    EXPECT_NEAR(box.m_max.x, 1.0 + 1.5 * radius, rounding * 10);
    EXPECT_NEAR(box.m_max.y, 5.0 + 1.5 * radius, rounding * 10);
    EXPECT_NEAR(box.m_max.z, 3.0 + 1.5 * radius, rounding * 10);
    const arma::Col<double> column{1.0, 2.0, 3.0, -4.0, 5.0, 2.5};
    EXPECT_EQ(ElectronDensity::getBoundingBox(column, sigma, 0.0001, 1.5), box);
    EXPECT_THROW(ElectronDensity::getBoundingBox(std::vector<std::array<double, 3>>(), sigma, 0.0001, 1.0),
                 std::invalid_argument);
}

cGrid gridOf(unsigned int nx, unsigned int ny, unsigned int nz) {
    cGrid grid;
    grid.m_box = cBBox(cVector3(1.0, -2.0, 0.5), cVector3(7.1, 5.3, 9.9));
    grid.setSize(nx, ny, nz);
    return grid;
}

TEST(ElectronDensity, ZeroPaddKeepsTheLowCornerAndClearsTheRest) {
    const cGrid small = gridOf(3, 4, 5);
    const cGrid large = gridOf(4, 8, 8);
    const std::vector<double> source = noise(60, 3);
    std::vector<double> target(large.getTotalSize(), 7.0);
    ElectronDensity::zeroPadd(source.data(), small, large, target.data());
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 8; ++j) {
            for (int k = 0; k < 8; ++k) {
                const double expected =
                    small.isIndexOnGrid(i, j, k) ? source[small.indexToFlatIndex(i, j, k)] : 0.0;
                EXPECT_EQ(target[large.indexToFlatIndex(i, j, k)], expected);
            }
        }
    }
}

TEST(ElectronDensity, ZeroPaddOfVectorsKeepsWhatLiesOutsideTheCopiedRegion) {
    // Seen to fail with the target cleared first, as in the other form.
    const cGrid small = gridOf(3, 4, 5);
    const cGrid large = gridOf(4, 8, 8);
    const std::vector<double> source = noise(60, 3);
    std::vector<double> target(10, 7.0);
    ElectronDensity::zeroPadd(source, small, large, target);
    ASSERT_EQ(target.size(), large.getTotalSize());
    EXPECT_EQ(target[large.indexToFlatIndex(2, 3, 4)], source[small.indexToFlatIndex(2, 3, 4)]);
    EXPECT_EQ(target[large.indexToFlatIndex(0, 0, 5)], 7.0);
    EXPECT_EQ(target[large.indexToFlatIndex(3, 7, 7)], 0.0);
}

TEST(ElectronDensity, PaddingIntoFewerNodesOnAnyAxisThrows) {
    const cGrid source = gridOf(3, 4, 5);
    const std::vector<double> values = noise(60, 3);
    for (const cGrid& target : {gridOf(2, 4, 5), gridOf(3, 3, 5), gridOf(3, 4, 4)}) {
        std::vector<double> padded(target.getTotalSize(), 7.0);
        EXPECT_THROW(ElectronDensity::zeroPadd(values.data(), source, target, padded.data()),
                     std::length_error);
        EXPECT_EQ(padded, std::vector<double>(target.getTotalSize(), 7.0));
    }
}

TEST(ElectronDensity, RotationEqualsSamplingFilteringAndPaddingOneAfterTheOther) {
    const cGrid map = gridOf(7, 9, 6);
    const cGrid padded = gridOf(8, 16, 8);
    const std::vector<double> source = noise(map.getTotalSize(), 11, -0.5, 1.0);
    const std::array<double, 3> angles{0.3, -1.1, 2.2};
    const cMatrix33 rotation = cMatrix33::rotationXYZ(angles[0], angles[1], angles[2]);
    for (const double filter : {-3.0, 0.0, 1.0}) {
        std::vector<cVector3> positions(map.getTotalSize());
        map.getRotatedPos(rotation, 0.5 * (map.m_box.m_min + map.m_box.m_max), positions);
        std::vector<double> values(map.getTotalSize());
        lerp::lerp3d(positions, map, source, values);
        fccf::filterValues(values, filter);
        std::vector<double> expected(padded.getTotalSize());
        ElectronDensity::zeroPadd(values.data(), map, padded, expected.data());

        std::vector<double> rotated(padded.getTotalSize(), 5.0);
        ElectronDensity::rotateNonZeroPadded(source, map, angles, padded, rotated.data(), filter);
        EXPECT_EQ(rotated, expected);
    }
}

} // namespace
