// SPDX-License-Identifier: GPL-3.0-or-later
#include "Interface/CrossCorrelationOracle.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <utility>

#include "CrossCorrelation/FirstOrderCrossCorrelation.h"
#include "CrossCorrelation/SecondOrderCrossCorrelation.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "IO/reportText.h"
#include "Interface/tweenDof.h"
#include "NMAEngine/NormalModeEngine.h"

namespace {

// The constraints of the barrier.
constexpr std::size_t translationConstraint = 1;
constexpr std::size_t rotationConstraint = 2;

/// Elements first, first + 1, first + 2 of x, zeros elsewhere.
arma::Col<double> keepThree(const arma::Col<double>& x, std::size_t first) {
    splitTweenDof(x, 0); // for its check of the length
    arma::Col<double> kept(x.n_elem, arma::fill::zeros);
    kept.subvec(first, first + 2) = x.subvec(first, first + 2);
    return kept;
}

bool isSame(const arma::Col<double>& a, const arma::Col<double>& b) {
    return a.n_elem == b.n_elem && std::equal(a.begin(), a.end(), b.begin());
}

/// Applies an operation to a correlation that exists and tells so, in one piece: the oracles of all workers
/// write at the same time.
template <class Correlation, class Operation>
void applyTo(const std::unique_ptr<Correlation>& correlation, const char* operation, const char* name,
             Operation&& apply) {
    if (correlation) {
        apply(*correlation);
        reportText(std::string("CrossCorrelationOracle::") + operation + " : " + name + " \n");
    }
}

} // namespace

CrossCorrelationOracle::CrossCorrelationOracle(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                               const std::vector<std::array<double, 3>>& atoms, double sigma,
                                               std::shared_ptr<const NormalModeEngine> nma,
                                               double softMaxBeta, bool lazyInit)
    : m_targetEdm(targetEdm)
    , m_grid(std::move(grid))
    , m_atoms(atoms)
    , m_sigma(sigma)
    , m_nma(std::move(nma))
    , m_softMaxBeta(softMaxBeta)
    , m_nModes(m_nma->m_nModes)
    , m_lazyInit(lazyInit) {}

CrossCorrelationOracle::~CrossCorrelationOracle() = default;

template <class Correlation>
void CrossCorrelationOracle::make(std::unique_ptr<Correlation>& correlation) const {
    if (!correlation) {
        correlation = std::make_unique<Correlation>(m_targetEdm, m_grid, m_atoms, m_sigma, m_nma, false);
    }
}

void CrossCorrelationOracle::initAsSecondOrder() {
    make(m_pFirstOrderCCF);
    make(m_pSecondOrderCCF);
}

void CrossCorrelationOracle::initAsThirdOrder() {
    make(m_pFirstOrderCCF);
    make(m_pThirdOrderCCF);
}

void CrossCorrelationOracle::clearMemory() {
    m_pFirstOrderCCF.reset();
    m_pSecondOrderCCF.reset();
    m_pThirdOrderCCF.reset();
    m_knownTarget = {};
    m_firstOrder = {};
    m_secondOrder = {};
    m_thirdOrder = {};
}

void CrossCorrelationOracle::setRotationCenter(const cVector3& center) {
    const auto apply = [&](auto& correlation) { correlation.setRotationCenter(center); };
    applyTo(m_pFirstOrderCCF, "setRotationCenter", "m_pFirstOrderCCF", apply);
    applyTo(m_pSecondOrderCCF, "setRotationCenter", "m_pSecondOrderCCF", apply);
    applyTo(m_pThirdOrderCCF, "setRotationCenter", "m_pThirdOrderCCF", apply);
}

void CrossCorrelationOracle::initPatternEdm() {
    const auto apply = [](auto& correlation) { correlation.initPatternEdm(); };
    applyTo(m_pFirstOrderCCF, "initPatternEdm", "m_pFirstOrderCCF", apply);
    applyTo(m_pSecondOrderCCF, "initPatternEdm", "m_pSecondOrderCCF", apply);
    applyTo(m_pThirdOrderCCF, "initPatternEdm", "m_pThirdOrderCCF", apply);
}

void CrossCorrelationOracle::enableLogBarrier(double t, double translationBound, double rotationBound) {
    m_logBarrierEnabled = true;
    m_logBarrierT = t;
    m_logBarrierTranslation = translationBound;
    m_logBarrierRotation = rotationBound;
}

std::tuple<std::array<double, 3>, std::array<double, 3>, arma::Col<double>>
CrossCorrelationOracle::getTweenDof(const arma::Col<double>& x) const {
    return splitTweenDof(x, x.n_elem);
}

arma::Col<double> CrossCorrelationOracle::getTranslation(const arma::Col<double>& x) const {
    return keepThree(x, 0);
}

arma::Col<double> CrossCorrelationOracle::getRotation(const arma::Col<double>& x) const {
    return keepThree(x, 3);
}

arma::Col<double> CrossCorrelationOracle::logbarDhdx(std::size_t i, const arma::Col<double>& x) const {
    // Deliberate: every number but the translation's stands for the rotation.
    return 2.0 * (i == translationConstraint ? getTranslation(x) : getRotation(x));
}

/// h_i(x), negative inside the ball.
double CrossCorrelationOracle::constraint(std::size_t i, const arma::Col<double>& x) const {
    const bool ofTranslation = i == translationConstraint;
    const arma::Col<double> part = ofTranslation ? getTranslation(x) : getRotation(x);
    const double radius = ofTranslation ? m_logBarrierTranslation : m_logBarrierRotation;
    return arma::dot(part, part) - radius * radius;
}

// Deliberate: outside, the largest finite value replaces what was there, and a bound that holds is still
// counted on top of it. On the sphere itself the value is infinite.
double CrossCorrelationOracle::addBarrier(double value, double constraintValue) const {
    return constraintValue > 0.0 ? std::numeric_limits<double>::max()
                                 : value - std::log(-constraintValue) / m_logBarrierT;
}

/// Forgets what was evaluated on another target.
void CrossCorrelationOracle::noticeTarget() {
    const std::size_t size = m_grid->getTotalSize();
    if (m_knownTarget.size() == size &&
        std::memcmp(m_knownTarget.data(), m_targetEdm, size * sizeof(double)) == 0) {
        return;
    }
    m_knownTarget.assign(m_targetEdm, m_targetEdm + size);
    m_firstOrder = {};
    m_secondOrder = {};
    m_thirdOrder = {};
}

template <class Correlation>
bool CrossCorrelationOracle::isUntouched(const Evaluation& last, const Correlation* correlation) {
    return correlation != nullptr && last.correlation == correlation &&
           last.revision == correlation->getRevision();
}

template <class Correlation>
void CrossCorrelationOracle::evaluate(const arma::Col<double>& x, Correlation& correlation,
                                      const Evaluation& last) const {
    const auto [tau, theta, eta] = getTweenDof(x);
    const bool sameTarget = isUntouched(last, &correlation);
    const bool valueIsHere = isUntouched(m_firstOrder, m_pFirstOrderCCF.get()) && isSame(m_firstOrder.x, x);
    if (sameTarget && valueIsHere && correlation.adoptExecution(*m_pFirstOrderCCF)) {
        return;
    }
    correlation.setTweenDof(tau, theta, eta);
    if (sameTarget) {
        correlation.executeOnSameTarget();
    } else {
        correlation.execute();
    }
}

/// The correlation, made if missing and lazy, executed with the model at x.
template <class Correlation>
Correlation& CrossCorrelationOracle::moveTo(const arma::Col<double>& x,
                                            std::unique_ptr<Correlation>& correlation, Evaluation& last) {
    if (m_lazyInit) {
        make(correlation);
    }
    if (!correlation) {
        throw std::logic_error("CrossCorrelationOracle: a correlation object is missing; call "
                               "initAsSecondOrder() or initAsThirdOrder() first");
    }
    noticeTarget();
    evaluate(x, *correlation, last);
    last = {correlation.get(), correlation->getRevision(), x};
    return *correlation;
}

double CrossCorrelationOracle::getFunctionValue(const arma::Col<double>& x) {
    double value = -moveTo(x, m_pFirstOrderCCF, m_firstOrder).getSoftMaximum(m_softMaxBeta);
    if (m_logBarrierEnabled) {
        value = addBarrier(value, constraint(translationConstraint, x));
        value = addBarrier(value, constraint(rotationConstraint, x));
    }
    return value;
}

double CrossCorrelationOracle::getFunctionGradient(const arma::Col<double>& x, arma::Col<double>& gradient) {
    double value =
        -moveTo(x, m_pSecondOrderCCF, m_secondOrder).getSoftMaximumGradient(gradient, m_softMaxBeta);
    // Deliberate: the scalar replaces the gradient and its size; with the barrier on the sizes don't match.
    gradient = -1.0;
    if (!m_logBarrierEnabled) {
        return value;
    }
    for (const std::size_t i : {translationConstraint, rotationConstraint}) {
        const double h = constraint(i, x);
        gradient -= logbarDhdx(i, x) / h / m_logBarrierT;
        value = addBarrier(value, h);
    }
    return value;
}

double CrossCorrelationOracle::getFunctionGradiantAndHessian(const arma::Col<double>& x,
                                                             arma::Col<double>& gradient,
                                                             arma::Mat<double>& hessian) {
    ThirdOrderCrossCorrelation& correlation = moveTo(x, m_pThirdOrderCCF, m_thirdOrder);
    const double value =
        -correlation.getSoftMaximumGradientAndHessianOfPresentTarget(gradient, hessian, m_softMaxBeta);
    gradient = -gradient;
    hessian = -hessian;
    if (!m_logBarrierEnabled) {
        return value;
    }
    // Deliberate: the bound on the translation has no part here, unlike in the value alone.
    const double h = constraint(rotationConstraint, x);
    const arma::Col<double> u = logbarDhdx(rotationConstraint, x);
    arma::Mat<double> curvature(x.n_elem, x.n_elem, arma::fill::zeros);
    curvature.submat(3, 3, 5, 5).diag().fill(2.0);
    gradient -= u / h / m_logBarrierT;
    hessian += (u * u.t() / (h * h) - curvature / h) / m_logBarrierT;
    return addBarrier(value, h);
}

void CrossCorrelationOracle::print(const std::string& prefix, const std::string& suffix, double low,
                                   double high, double step) {
    constexpr std::array<double, 5> point{0.5334, -1.0279, 1.066, -2.3047, 1.2617};
    const double count = std::floor((high - low) / step);
    for (std::size_t i = 0; i < m_nModes; ++i) {
        std::ofstream file(prefix + "-mode-" + std::to_string(i) + "-" + suffix);
        // Deliberate: one element per mode and no rigid part, handed on as it is.
        arma::Col<double> x(m_nModes, arma::fill::zeros);
        for (std::size_t m = 0; m < std::min(m_nModes, point.size()); ++m) {
            x(m) = point[m];
        }
        const double start = x(i);
        for (std::uint64_t q = 0; static_cast<double>(q) < count; ++q) {
            x(i) = static_cast<double>(q) * step + start + low;
            const double value = getFunctionValue(x);
            file << x(i) << " " << value << "\n";
        }
    }
}
