// SPDX-License-Identifier: GPL-3.0-or-later
#include "Optimization/TrustRegionSolver.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "IO/reportText.h"
#include "Optimization/smallDense.h"
#include "Optimization/trustRegionRule.h"

namespace {

// The iteration on the shift.
constexpr double upper = 1.00000000001; // of the radius: lengths below count as inside
constexpr double lower = 0.99999999999; // of the radius: lengths above count as outside
constexpr double tiny = 1e-11;
constexpr int maxPasses = 20000;

using Vector = arma::Col<double>;
using Matrix = arma::Mat<double>;

/// Solution of R^T R p = b.
Vector solveFactorised(const Matrix& R, const Vector& b) {
    return smallDense::solveUpper(R, smallDense::solveTransposed(R, b));
}

/// Least left end of the Gershgorin discs of A's rows: no eigenvalue of a symmetric A lies below.
double gershgorinBound(const Matrix& A) {
    double bound = std::numeric_limits<double>::infinity();
    for (arma::uword i = 0; i < A.n_rows; ++i) {
        const double discRadius = arma::sum(arma::abs(A.row(i))) - std::abs(A(i, i));
        bound = std::min(bound, A(i, i) - discRadius);
    }
    return bound;
}

/// The shift lambda and its bracket.
struct Shift {
    double low, high, lambda;

    void bisect() { lambda = std::max(low + 0.25 * (high - low), std::sqrt(high * low)); }
};

enum class Pass { Done, Continue, HardCase };

/// One safeguarded Newton step on 1/radius = 1/|p(lambda)|; Done leaves the solution in p.
Pass improve(Shift& shift, const Vector& b, const Matrix& A, double radius, Vector& p) {
    const std::optional<Matrix> R = smallDense::factorise(A + shift.lambda * arma::eye(A.n_rows, A.n_cols));
    if (!R) {
        if (shift.high - shift.lambda < tiny) {
            return Pass::HardCase;
        }
        shift.low = shift.lambda;
        shift.bisect();
        return Pass::Continue;
    }
    p = solveFactorised(*R, b);
    const Vector q = smallDense::solveTransposed(*R, p);
    const double length = arma::norm(p, 2);
    if (length > radius * lower && length < radius * upper) {
        return Pass::Done;
    }

    const double ratio = length / arma::norm(q, 2);
    const double newton = ratio * ratio * (length - radius) / radius + shift.lambda;
    if (length > radius * upper) {
        shift.low = shift.lambda;
    }
    if (length < radius * lower) {
        shift.high = shift.lambda;
    }
    if (shift.high - shift.low < tiny) {
        return Pass::HardCase;
    }
    if (shift.low < newton && newton < shift.high) {
        shift.lambda = newton;
    } else {
        shift.bisect();
    }
    return Pass::Continue;
}

/// b has no part along the lowest eigenvector, which alone can then bring the step to the boundary.
Vector solveHardCase(const Vector& b, const Matrix& A, double radius) {
    reportText("Hard case !\n");

    Vector eigenvalues;
    Matrix eigenvectors;
    // Deliberate: without a decomposition the radius multiplies |b| and doesn't divide it.
    if (!smallDense::decompose(A, eigenvalues, eigenvectors)) {
        return b * (arma::norm(b, 2) * radius);
    }

    // The shift is minus the lowest eigenvalue; the pseudo-inverse of the then singular matrix gives p.
    const double lowest = eigenvalues[0];
    Vector weights = eigenvalues - lowest;
    weights.transform([](double e) { return std::abs(e) < tiny ? 0.0 : 1.0 / e; });
    const Vector parts = smallDense::multiply(Matrix(eigenvectors.t()), b);
    const Vector p = smallDense::multiply(eigenvectors, weights % parts);

    const double missing = radius - arma::norm(p, 2);
    const Vector first = p + missing * eigenvectors.col(0);
    const Vector second = p - missing * eigenvectors.col(0);
    const auto twiceModel = [&](const Vector& x) {
        return arma::dot(x, smallDense::multiply(A, x)) - 2.0 * arma::dot(b, x);
    };
    // Deliberate: of the two candidates the one with the larger, that is poorer, model value is taken.
    return twiceModel(first) > twiceModel(second) ? first : second;
}

} // namespace

TrustRegionSolver::TrustRegionSolver(std::shared_ptr<ThirdOrderOracle> oracle, unsigned long n, double radius)
    : TrustRegionSolver(std::move(oracle), Vector(n, arma::fill::zeros), radius) {}

TrustRegionSolver::TrustRegionSolver(std::shared_ptr<ThirdOrderOracle> oracle, const arma::Col<double>& x0,
                                     double radius)
    : m_oracle(std::move(oracle))
    , m_gradient(x0.n_elem, arma::fill::zeros)
    , m_step(x0.n_elem, arma::fill::zeros)
    , m_radius(radius) {
    m_x = x0;
}

void TrustRegionSolver::doStep() {
    m_value = m_oracle->getFunctionGradiantAndHessian(m_x, m_gradient, m_hessian);
    double ratio = reductionRatio();
    // Deliberate: a ratio that isn't a number passes, and so does any ratio once the radius has collapsed.
    while (ratio < trustRegion::acceptRatio && m_radius >= trustRegion::collapsedRadius) {
        m_radius = trustRegion::shrunk(m_radius);
        ratio = reductionRatio();
    }
    m_x += m_step;
    if (ratio > trustRegion::growRatio) {
        m_radius += m_radius;
    }
}

double TrustRegionSolver::getResiduals() {
    return m_radius < trustRegion::collapsedRadius ? 0.0 : arma::dot(m_gradient, m_gradient);
}

/// Solves for m_step inside the present radius and weighs its reduction against the model's.
double TrustRegionSolver::reductionRatio() {
    m_step = solveSubProblem(-0.5 * m_gradient, 0.5 * m_hessian, m_radius);
    const double actual = m_oracle->getFunctionValue(m_x + m_step) - m_value;
    const double predicted =
        arma::dot(m_gradient, m_step) + 0.5 * arma::dot(m_step, smallDense::multiply(m_hessian, m_step));
    return actual / predicted;
}

arma::Col<double> TrustRegionSolver::solveSubProblem(const arma::Col<double>& b, const arma::Mat<double>& A,
                                                     double radius) {
    if (const std::optional<Matrix> R = smallDense::factorise(A)) {
        const Vector p = solveFactorised(*R, b);
        if (arma::norm(p, 2) < radius * upper) {
            return p;
        }
    }

    Shift shift;
    shift.low = 0.0;
    shift.high = arma::norm(b, 2) * upper / radius + smallDense::spectralNorm(A);
    shift.lambda = std::max(0.0, -gershgorinBound(A));
    Vector p;
    for (int pass = 0; pass < maxPasses; ++pass) {
        const Pass outcome = improve(shift, b, A, radius, p);
        if (outcome == Pass::Done) {
            return p;
        }
        if (outcome == Pass::HardCase) {
            break;
        }
    }
    return solveHardCase(b, A, radius);
}

std::pair<bool, arma::Col<double>> TrustRegionSolver::solveConvexSubProblem(const arma::Col<double>& b,
                                                                            const arma::Mat<double>& A,
                                                                            double radius) {
    if (!smallDense::factorise(A)) {
        return {false, Vector(b.n_elem, arma::fill::zeros)};
    }
    return {true, solveSubProblem(b, A, radius)};
}
