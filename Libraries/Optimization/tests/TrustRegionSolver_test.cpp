// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "Optimization/TrustRegionSolver.h"
#include "Optimization/tests/testFunctions.h"

namespace {

constexpr double tightEps = 1e-11;
constexpr unsigned long manyIterations = 20000;

/// Half of what solveSubProblem minimises.
double model(const Vector& p, const Vector& b, const Matrix& A) {
    return 0.5 * arma::dot(p, A * p) - arma::dot(b, p);
}

/// Global optimality (Nocedal, Wright, theorem 4.1): (A + lambda I) p = b, lambda >= 0, A + lambda I positive
/// semidefinite, lambda (radius - |p|) = 0. The multiplier is read off the solution.
void expectGlobalMinimum(const Vector& p, const Vector& b, const Matrix& A, double radius) {
    const double length = arma::norm(p);
    ASSERT_LE(length, radius * (1.0 + 1e-10));
    const bool onBoundary = length > radius * (1.0 - 1e-10);
    const double lambda = onBoundary ? arma::dot(p, b - A * p) / (length * length) : 0.0;
    // The length is met to 1e-11 only, so that lambda carries that error times the size of A.
    const double scale = arma::norm(A, 2) + arma::norm(b) / length;
    EXPECT_GE(lambda, -1e-9 * scale);
    EXPECT_LT(arma::norm(A * p + lambda * p - b), 1e-9 * scale * length);
    EXPECT_GE(arma::eig_sym(A)[0] + lambda, -1e-9 * scale);
}

/// A gradient that lies, so that no step is ever a reduction.
struct Liar final : ThirdOrderOracle {
    double getFunctionValue(const Vector& x) override { return arma::dot(x, x); }
    double getFunctionGradient(const Vector& x, Vector& gradient) override {
        gradient = Vector(x.n_elem, arma::fill::ones);
        return getFunctionValue(x);
    }
    double getFunctionGradiantAndHessian(const Vector& x, Vector& gradient, Matrix& hessian) override {
        hessian = arma::eye(x.n_elem, x.n_elem);
        return getFunctionGradient(x, gradient);
    }
};

/// Has derivatives, but no value.
struct Valueless : Quadratic {
    using Quadratic::Quadratic;
    double getFunctionValue(const Vector&) override { return std::numeric_limits<double>::quiet_NaN(); }
};

// --- the sub-problem ---

TEST(SolveSubProblem, InteriorNewtonStepIsReturnedWithoutAMessage) {
    Draw draw(1);
    const Matrix A = draw.positiveDefinite(5);
    const Vector b = draw.vector(5);
    const Vector newton = arma::inv(A) * b;
    const Output output = capture([&] {
        const Vector p = TrustRegionSolver::solveSubProblem(b, A, 2.0 * arma::norm(newton));
        EXPECT_LT(arma::norm(p - newton), 1e-11 * arma::norm(newton));
    });
    EXPECT_EQ(output.out, "");
    EXPECT_EQ(output.err, "");
}

TEST(SolveSubProblem, NewtonStepJustBeyondTheBoundaryIsAcceptedAtOnce) {
    const Matrix A = arma::eye(2, 2);
    const double radius = 1.0;
    const Vector inside = {radius * (1.0 + 0.5e-11), 0.0};
    const Vector p = TrustRegionSolver::solveSubProblem(inside, A, radius);
    EXPECT_EQ(p[0], inside[0]); // unshifted, that is, from the interior try
    const Vector outside = {radius * (1.0 + 2e-11), 0.0};
    EXPECT_LT(TrustRegionSolver::solveSubProblem(outside, A, radius)[0], outside[0]);
}

TEST(SolveSubProblem, SolutionsAreGlobalMinimaAtAllSizesAndRadii) {
    for (const arma::uword n : {1u, 2u, 3u, 6u, 11u, 40u}) {
        // Far larger radii ask for a shift finer than the width at which the bracket counts as collapsed.
        for (const double radius : {1e-6, 0.01, 0.5, 1.0, 10.0}) {
            Draw draw(static_cast<unsigned>(n));
            for (int repeat = 0; repeat < 4; ++repeat) {
                const Matrix A = repeat < 2 ? draw.symmetric(n) : draw.positiveDefinite(n);
                const Vector b = draw.vector(n);
                SCOPED_TRACE(testing::Message() << n << " dimensions, radius " << radius);
                expectGlobalMinimum(TrustRegionSolver::solveSubProblem(b, A, radius), b, A, radius);
            }
        }
    }
}

TEST(SolveSubProblem, NoPointOfThePlaneIsBetter) {
    Draw draw(3);
    for (int repeat = 0; repeat < 20; ++repeat) {
        const Matrix A = draw.symmetric(2);
        const Vector b = draw.vector(2);
        const double radius = 0.2 + 0.1 * repeat;
        const double found = model(TrustRegionSolver::solveSubProblem(b, A, radius), b, A);
        double best = 0.0;
        constexpr int steps = 400;
        for (int i = 0; i <= steps; ++i) {
            for (int k = 0; k < steps; ++k) {
                const double r = radius * i / steps;
                const double angle = 2.0 * M_PI * k / steps;
                best = std::min(best, model({r * std::cos(angle), r * std::sin(angle)}, b, A));
            }
        }
        EXPECT_LE(found, best + 1e-9);
        // The polar grid comes within a cell of the minimum: the model changes by |gradient| times that.
        const double slope = arma::norm(A, 2) * radius + arma::norm(b);
        EXPECT_GE(found, best - slope * radius * 2.0 * M_PI / steps);
    }
}

TEST(SolveSubProblem, ZeroProblemIsAHardCaseOfLengthRadius) {
    Vector p;
    const Output output =
        capture([&] { p = TrustRegionSolver::solveSubProblem(arma::zeros(3), arma::zeros(3, 3), 0.7); });
    EXPECT_NEAR(arma::norm(p), 0.7, 1e-14);
    EXPECT_EQ(output.out, "Hard case !\n");
    EXPECT_EQ(output.err, "");
}

TEST(SolveSubProblem, NegativeIdentityGivesMinusRadiusTimesTheFirstEigenvector) {
    const Matrix A = -arma::eye(3, 3);
    Vector p;
    const Output output = capture([&] { p = TrustRegionSolver::solveSubProblem(arma::zeros(3), A, 2.5); });
    Vector eigenvalues;
    Matrix eigenvectors;
    arma::eig_sym(eigenvalues, eigenvectors, A, "dc");
    EXPECT_LT(arma::norm(p + 2.5 * eigenvectors.col(0)), 1e-14);
    EXPECT_EQ(output.out, "Hard case !\n");
}

TEST(SolveSubProblem, HardCaseTakesThePoorerCandidate) {
    // Seen to fail with the better candidate taken.
    // Lowest eigenvector along y, b along x with a small part along y that the bracket can't resolve.
    const Matrix A = arma::diagmat(Vector{1.0, -1.0});
    const Vector b = {1.0, 1e-14};
    Vector p;
    const Output output = capture([&] { p = TrustRegionSolver::solveSubProblem(b, A, 2.0); });
    ASSERT_EQ(output.out, "Hard case !\n");
    const double missing = 2.0 - 0.5; // the part along x is 1 / (1 + 1)
    EXPECT_NEAR(p[0], 0.5, 1e-9);
    EXPECT_NEAR(std::abs(p[1]), missing, 1e-9);
    const double value = model(p, b, A);
    const double other = model({p[0], -p[1]}, b, A);
    EXPECT_GE(value, other - 1e-15);
    EXPECT_LT(b[1] * p[1], 0.0); // against b: the poorer of the two
}

TEST(SolveSubProblem, WithoutAnEigenDecompositionTheRadiusMultiplies) {
    // Seen to fail with b brought to the length of the radius.
    Matrix A(2, 2, arma::fill::eye);
    A(0, 0) = -std::numeric_limits<double>::infinity();
    const Vector b = {3.0, 4.0};
    Vector p;
    const Output output = capture([&] { p = TrustRegionSolver::solveSubProblem(b, A, 0.5); });
    EXPECT_EQ(p[0], 3.0 * 2.5);
    EXPECT_EQ(p[1], 4.0 * 2.5);
    EXPECT_EQ(output.out, "Hard case !\n");
    EXPECT_EQ(output.err, "");
}

TEST(SolveSubProblem, FactorisationsReadTheUpperTriangleAlone) {
    Draw draw(4);
    const Matrix symmetric = draw.positiveDefinite(4);
    Matrix A = symmetric;
    A(2, 0) += 50.0;
    A(3, 1) -= 70.0;
    const Vector b = draw.vector(4);
    for (const double radius : {100.0, 0.1}) { // interior and boundary
        Vector p;
        const Output output = capture([&] { p = TrustRegionSolver::solveSubProblem(b, A, radius); });
        const Vector expected = TrustRegionSolver::solveSubProblem(b, symmetric, radius);
        EXPECT_LT(arma::norm(p - expected), 1e-9 * arma::norm(expected));
        EXPECT_EQ(output.err, "");
    }
}

TEST(SolveSubProblem, CandidateValuesReadTheWholeMatrix) {
    // Symmetric reading: both candidates are equal. The lower element tells them apart.
    Matrix A = arma::diagmat(Vector{1.0, -1.0});
    A(1, 0) = 1.0;
    const Vector b = {1.0, 0.0};
    Vector p;
    capture([&] { p = TrustRegionSolver::solveSubProblem(b, A, 2.0); });
    EXPECT_NEAR(std::abs(p[1]), 1.5, 1e-9);
    EXPECT_GT(model(p, b, A), model({p[0], -p[1]}, b, A));
}

TEST(SolveSubProblem, MatrixThatIsNotSquareIsALogicError) {
    try {
        TrustRegionSolver::solveSubProblem(arma::zeros(2), arma::zeros(2, 3), 1.0);
        FAIL();
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "chol(): given matrix is not square");
    }
}

TEST(SolveSubProblem, SizesThatDoNotMatchAreALogicError) {
    EXPECT_THROW(TrustRegionSolver::solveSubProblem(arma::ones(2), arma::eye(3, 3), 1.0), std::logic_error);
}

TEST(SolveSubProblem, NoUnknownsGiveAnEmptyStep) {
    EXPECT_EQ(TrustRegionSolver::solveSubProblem(Vector(), Matrix(), 1.0).n_elem, 0u);
    EXPECT_EQ(TrustRegionSolver::solveSubProblem(Vector(), Matrix(), 0.0).n_elem, 0u);
}

// --- the convex form ---

TEST(SolveConvexSubProblem, PositiveDefiniteMatrixGivesTheSubProblemsSolution) {
    Draw draw(5);
    const Matrix A = draw.positiveDefinite(6);
    const Vector b = draw.vector(6);
    for (const double radius : {1e3, 0.1}) {
        const auto [convex, p] = TrustRegionSolver::solveConvexSubProblem(b, A, radius);
        EXPECT_TRUE(convex);
        EXPECT_TRUE(arma::approx_equal(p, TrustRegionSolver::solveSubProblem(b, A, radius), "absdiff", 0.0));
    }
}

TEST(SolveConvexSubProblem, OtherMatricesGiveFalseAndAZeroColumn) {
    for (const Matrix& A : {Matrix(3, 3, arma::fill::zeros), Matrix(-arma::eye(3, 3)),
                            Matrix(arma::diagmat(Vector{1.0, 1.0, -1e-3}))}) {
        Output output = capture([&] {
            const auto [convex, p] = TrustRegionSolver::solveConvexSubProblem(arma::ones(3), A, 1.0);
            EXPECT_FALSE(convex);
            EXPECT_EQ(p.n_elem, 3u);
            EXPECT_TRUE(p.is_zero());
        });
        EXPECT_EQ(output.out + output.err, "");
    }
}

TEST(SolveConvexSubProblem, MatrixThatIsNotSquareIsALogicError) {
    EXPECT_THROW(TrustRegionSolver::solveConvexSubProblem(arma::zeros(2), arma::zeros(2, 3), 1.0),
                 std::logic_error);
}

// --- the loop ---

TEST(TrustRegionSolver, ConstructorsSetPointsSizesAndRadius) {
    TrustRegionSolver atOrigin(std::make_shared<Rosenbrock>(), 4, 0.5);
    EXPECT_EQ(atOrigin.m_x.n_elem, 4u);
    EXPECT_TRUE(atOrigin.m_x.is_zero());
    EXPECT_EQ(atOrigin.m_gradient.n_elem, 4u);
    EXPECT_EQ(atOrigin.m_step.n_elem, 4u);
    EXPECT_TRUE(atOrigin.m_hessian.is_empty());
    EXPECT_EQ(atOrigin.m_radius, 0.5);
    EXPECT_FALSE(atOrigin.m_converged);

    TrustRegionSolver atPoint(std::make_shared<Rosenbrock>(), Vector{1.0, 2.0}, 3.0);
    EXPECT_EQ(atPoint.m_x[1], 2.0);
    EXPECT_EQ(atPoint.m_gradient.n_elem, 2u);
}

TEST(TrustRegionSolver, QuadraticIsSolvedInOneNewtonStepInsideTheBall) {
    Draw draw(6);
    const auto oracle = std::make_shared<Quadratic>(draw.positiveDefinite(5), draw.vector(5));
    TrustRegionSolver solver(oracle, 5, 1e3);
    solver.doStep();
    EXPECT_LT(arma::norm(solver.m_x - arma::inv(oracle->H) * oracle->g), 1e-9);
    EXPECT_EQ(oracle->hessianCalls, 1);
    EXPECT_EQ(oracle->valueCalls, 1);
    EXPECT_EQ(solver.m_radius, 2e3); // the model is exact, so the region grows
}

TEST(TrustRegionSolver, QuadraticIsSolvedFromASmallBall) {
    Draw draw(7);
    const auto oracle = std::make_shared<Quadratic>(draw.positiveDefinite(8), draw.vector(8));
    TrustRegionSolver solver(oracle, 8, 1e-3);
    solver.solve(tightEps, manyIterations);
    EXPECT_LT(arma::norm(solver.m_x - arma::inv(oracle->H) * oracle->g), 1e-5);
}

TEST(TrustRegionSolver, RosenbrockValleyIsFollowedToItsMinimum) {
    for (const arma::uword n : {2u, 3u, 6u}) {
        TrustRegionSolver solver(std::make_shared<Rosenbrock>(), n, 1.0);
        solver.solve(1e-18, 2000);
        EXPECT_LT(arma::norm(solver.m_x - arma::ones(n)), 1e-6) << n;
        EXPECT_TRUE(solver.m_converged);
    }
}

TEST(TrustRegionSolver, ClassicStartOfRosenbrockConverges) {
    TrustRegionSolver solver(std::make_shared<Rosenbrock>(), Vector{-1.2, 1.0}, 1.0);
    solver.solve(tightEps, manyIterations);
    EXPECT_LT(arma::norm(solver.m_x - arma::ones(2)), 1e-6);
}

TEST(TrustRegionSolver, StartWithoutGradientTakesOneStep) {
    const auto oracle = std::make_shared<Quadratic>(arma::eye(3, 3), arma::zeros(3));
    TrustRegionSolver solver(oracle, 3, 1.0);
    solver.solve(tightEps, manyIterations);
    EXPECT_EQ(oracle->hessianCalls, 1);
    EXPECT_TRUE(solver.m_x.is_zero());
    EXPECT_FALSE(solver.m_converged);
}

TEST(TrustRegionSolver, CollapsedRadiusEndsTheRunConverged) {
    TrustRegionSolver solver(std::make_shared<Liar>(), 2, 1.0);
    solver.solve(tightEps, manyIterations);
    EXPECT_FALSE(solver.m_converged); // the very first step collapses it: r0 = 0
    EXPECT_LT(solver.m_radius, 1e-11);
    EXPECT_EQ(solver.getResiduals(), 0.0);

    // From here the gradient is true at first and the lie comes later.
    struct LateLiar : Quadratic {
        using Quadratic::Quadratic;
        double getFunctionGradient(const Vector& x, Vector& gradient) override {
            const double value = Quadratic::getFunctionGradient(x, gradient);
            if (hessianCalls > 3) {
                gradient = -gradient;
            }
            return value;
        }
    };
    TrustRegionSolver late(std::make_shared<LateLiar>(arma::eye(2, 2), Vector{10.0, 0.0}), 2, 0.1);
    late.solve(tightEps, manyIterations);
    EXPECT_TRUE(late.m_converged);
    EXPECT_EQ(late.getResiduals(), 0.0);
}

TEST(TrustRegionSolver, StepOfACollapsedRadiusIsTakenWhateverItsRatio) {
    // Seen to fail with that step dropped like the refused ones before it.
    TrustRegionSolver solver(std::make_shared<Liar>(), 2, 1.0);
    capture([&] { solver.doStep(); });
    EXPECT_LT(solver.m_radius, 1e-11);
    EXPECT_NEAR(arma::norm(solver.m_x), solver.m_radius, 1e-9 * solver.m_radius); // uphill
}

TEST(TrustRegionSolver, RejectionsShrinkByFourAndCostOneValueEach) {
    // |x|^4-like growth that the linear model ignores: f = -x + 50 x^2 with a Hessian that claims 0.
    struct Flat : Quadratic {
        using Quadratic::Quadratic;
        double getFunctionGradiantAndHessian(const Vector& x, Vector& gradient, Matrix& hessian) override {
            const double value = Quadratic::getFunctionGradiantAndHessian(x, gradient, hessian);
            hessian.zeros();
            return value;
        }
    };
    const auto oracle = std::make_shared<Flat>(Matrix(1, 1, arma::fill::value(100.0)), Vector{1.0});
    TrustRegionSolver solver(oracle, 1, 1.0);
    capture([&] { solver.doStep(); });
    // rho = 1 - 50 r: rejected at 1, 1/4, 1/16; at 1/64 it is 0.22; at 1/256 it is 0.80.
    EXPECT_EQ(oracle->hessianCalls, 1);
    EXPECT_EQ(oracle->valueCalls, 5);
    EXPECT_NEAR(solver.m_x[0], 1.0 / 256.0, 1e-12);
    EXPECT_EQ(solver.m_radius, 2.0 / 256.0);
}

TEST(TrustRegionSolver, ValueThatIsNotANumberAcceptsWithoutGrowth) {
    // Seen to fail with such a value refused.
    const auto oracle = std::make_shared<Valueless>(arma::eye(2, 2), Vector{1.0, 1.0});
    TrustRegionSolver solver(oracle, 2, 0.5);
    solver.doStep();
    EXPECT_NEAR(arma::norm(solver.m_x), 0.5, 1e-10);
    EXPECT_EQ(solver.m_radius, 0.5);
}

TEST(TrustRegionSolver, ResidualIsTheSquaredGradientOfTheStepsStart) {
    const auto oracle = std::make_shared<Quadratic>(arma::eye(2, 2), Vector{3.0, 4.0});
    TrustRegionSolver solver(oracle, 2, 1e-3);
    solver.doStep();
    EXPECT_EQ(solver.getResiduals(), 25.0);
    EXPECT_EQ(solver.m_value, 0.0);
}

TEST(TrustRegionSolver, InfiniteRadiusShrinksToNothing) {
    // Without a limit of the radius a quarter of it is infinite for ever.
    constexpr double infinity = std::numeric_limits<double>::infinity();
    TrustRegionSolver solver(std::make_shared<Liar>(), 2, infinity);
    capture([&] { solver.solve(tightEps, 3); });
    EXPECT_LT(solver.m_radius, 1e-11);
    EXPECT_EQ(solver.getResiduals(), 0.0);
}

/// Value, slope and curvature as given, wherever.
struct Constant final : ThirdOrderOracle {
    Constant(double v, double s, double c) : value(v), slope(s), curvature(c) {}
    double getFunctionValue(const Vector&) override { return value; }
    double getFunctionGradient(const Vector& x, Vector& gradient) override {
        gradient = Vector(x.n_elem).fill(slope);
        return value;
    }
    double getFunctionGradiantAndHessian(const Vector& x, Vector& gradient, Matrix& hessian) override {
        hessian = curvature * arma::eye(x.n_elem, x.n_elem);
        return getFunctionGradient(x, gradient);
    }
    double value, slope, curvature;
};

TEST(TrustRegionSolver, EveryInputComesToAnEnd) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double numbers[] = {
        0.0, 1.0, -1.0, 1e300, -1e300, 1e-300, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()};
    constexpr unsigned long fewSteps = 3;
    capture([&] {
        for (const double radius : numbers) {
            for (const double value : numbers) {
                for (const double slope : numbers) {
                    for (const double curvature : numbers) {
                        TrustRegionSolver solver(std::make_shared<Constant>(value, slope, curvature), 2,
                                                 radius);
                        solver.solve(tightEps, fewSteps);
                    }
                }
            }
        }
    });
}

TEST(SolveSubProblem, EveryInputGivesAStep) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double numbers[] = {
        0.0, 1.0, -1.0, 1e300, -1e300, 1e-300, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()};
    capture([&] {
        for (const double radius : numbers) {
            for (const double right : numbers) {
                for (const double diagonal : numbers) {
                    for (const double beside : numbers) {
                        const Matrix A{{diagonal, beside}, {beside, 1.0}};
                        EXPECT_EQ(TrustRegionSolver::solveSubProblem({right, 1.0}, A, radius).n_elem, 2u);
                    }
                }
            }
        }
    });
}

} // namespace
