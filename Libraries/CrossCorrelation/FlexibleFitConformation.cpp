// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/FlexibleFitConformation.h"

#include <ostream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "Math/cGrid.h"
#include "Optimization/TrustRegionSolver.h"
#include "Optimization/smallDense.h"

FlexibleFitConformation::FlexibleFitConformation(double score, int i, int j, int k,
                                                 const arma::Col<double>& eta,
                                                 std::shared_ptr<const cGrid> grid)
    : FlexibleFitConformation(score, i, j, k, eta, std::move(grid), 0.0, 0.0, 0.0) {}

FlexibleFitConformation::FlexibleFitConformation(double score, int i, int j, int k,
                                                 const arma::Col<double>& eta,
                                                 std::shared_ptr<const cGrid> grid, double alpha, double beta,
                                                 double gamma)
    : m_rigidScore(score)
    , m_i(i)
    , m_j(j)
    , m_k(k)
    , m_alpha(alpha)
    , m_beta(beta)
    , m_gamma(gamma)
    , m_eta(eta)
    , m_isSet(true)
    , m_grid(std::move(grid)) {}

void FlexibleFitConformation::setRotation(double alpha, double beta, double gamma) {
    m_alpha = alpha;
    m_beta = beta;
    m_gamma = gamma;
}

void FlexibleFitConformation::setTweenDof(const std::array<double, 3>& tau,
                                          const std::array<double, 3>& theta, const arma::Col<double>& eta) {
    m_ddx = tau[0];
    m_ddy = tau[1];
    m_ddz = tau[2];
    m_dalpha = theta[0];
    m_dbeta = theta[1];
    m_dgamma = theta[2];
    m_eta = eta;
}

std::array<double, 3> FlexibleFitConformation::getTau() const {
    if (!m_grid) {
        throw std::logic_error("FlexibleFitConformation: a translation needs the correlation grid");
    }
    const auto stepsToLast = [this](int axis, int node) {
        return static_cast<double>(m_grid->m_size[axis]) - 1.0 - static_cast<double>(node);
    };
    // Deliberate: z first, and one cell short of what undoes the shift of the correlation.
    return {stepsToLast(2, m_k) * m_grid->m_cellDim.z, stepsToLast(1, m_j) * m_grid->m_cellDim.y,
            stepsToLast(0, m_i) * m_grid->m_cellDim.x};
}

std::string FlexibleFitConformation::toString() const {
    std::ostringstream text;
    text << *this;
    return text.str();
}

bool FlexibleFitConformation::maximizeLocalModel(const arma::Col<double>& gradient,
                                                 const arma::Mat<double>& hessian, double radius) {
    const arma::uword n = gradient.n_elem;
    if (n < 6 || hessian.n_rows != n || hessian.n_cols != n) {
        throw std::length_error(
            "a local model needs a gradient of n >= 6 and a Hessian of n x n elements, not " +
            std::to_string(n) + " and " + std::to_string(hessian.n_rows) + " x " +
            std::to_string(hessian.n_cols));
    }
    // The solver's step satisfies (A + lambda I) d = b. The halves cancel inside the ball and rescale lambda
    // on it.
    const arma::Mat<double> negativeHalfHessian = -0.5 * hessian;
    const arma::Col<double> halfGradient = 0.5 * gradient;
    const auto [isConcave, step] =
        TrustRegionSolver::solveConvexSubProblem(halfGradient, negativeHalfHessian, radius);
    if (!isConcave) {
        m_flexScore = m_rigidScore;
        return false;
    }
    m_ddx += step(0);
    m_ddy += step(1);
    m_ddz += step(2);
    m_dalpha += step(3);
    m_dbeta += step(4);
    m_dgamma += step(5);
    if (n > 6) {
        m_eta.resize(n - 6);
        m_eta += step.tail(n - 6);
    }
    m_flexScore =
        m_rigidScore + arma::dot(step, gradient) + 0.5 * arma::dot(step, smallDense::multiply(hessian, step));
    return true;
}

std::ostream& operator<<(std::ostream& out, const FlexibleFitConformation& conformation) {
    const auto [tz, ty, tx] = conformation.getTau();
    const auto line = [&out](const char* label, double value) { out << label << value << std::endl; };
    const auto nodeLine = [&out](const char* label, double translation, const char* index, int node) {
        out << label << translation << index << node << "]" << std::endl;
    };
    out << std::endl;
    line("\t* Rigid score = ", conformation.m_rigidScore);
    line("\t* Flex score = ", conformation.m_flexScore);
    nodeLine("\t* dx    = ", tx, "\t[i=", conformation.m_i);
    nodeLine("\t* dy    = ", ty, "\t[j=", conformation.m_j);
    nodeLine("\t* dz    = ", tz, "\t[k=", conformation.m_k);
    line("\t* ddx   = ", conformation.m_ddx);
    line("\t* ddy   = ", conformation.m_ddy);
    line("\t* ddz   = ", conformation.m_ddz);
    line("\t* alpha = ", conformation.m_alpha);
    line("\t* beta  = ", conformation.m_beta);
    line("\t* gamma = ", conformation.m_gamma);
    line("\t* dalpha = ", conformation.m_dalpha);
    line("\t* dbeta  = ", conformation.m_dbeta);
    line("\t* dgamma = ", conformation.m_dgamma);
    const arma::Mat<double> etaRow = conformation.m_eta.t();
    return out << "\t* eta   = " << etaRow;
}
