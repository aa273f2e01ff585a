// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/AnyOrderCrossCorrelation.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "CrossCorrelation/DerivativeReader.h"
#include "FFTWrapper/RealToComplexPlan.h"
#include "IO/cInfo.h"
#include "Math/multiversion.h"
#include "NMAEngine/NormalModeEngine.h"

namespace {

/// Exponents below vanish: with weights that add up to 1, even 1e9 voxels of weight exp(-60) add less than
/// 1e-16 of their derivatives.
constexpr double negligibleExponent = -60.0;

/// The largest of n > 0 values, in interleaved lanes.
SELVANE_MULTIVERSION
double largestOf(const double* values, std::size_t n) {
    constexpr std::size_t lanes = 8;
    double largest[lanes];
    for (double& lane : largest) {
        lane = values[0];
    }
    std::size_t begin = 0;
    for (; begin + lanes <= n; begin += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            const double value = values[begin + lane];
            largest[lane] = largest[lane] < value ? value : largest[lane];
        }
    }
    return std::max(*std::max_element(largest, largest + lanes),
                    *std::max_element(values + std::min(begin, n - 1), values + n));
}

bool haveSameCenter(const std::optional<cVector3>& a, const std::optional<cVector3>& b) {
    return a.has_value() == b.has_value() && (!a || (a->x == b->x && a->y == b->y && a->z == b->z));
}

int axisLength(unsigned int n) {
    return static_cast<int>(n);
}

} // namespace

/// Transforms a density that stands, for the moment, in the array of the correlation.
struct AnyOrderCrossCorrelation::PatternTransform {
    PatternTransform(const cGrid& grid, double* field)
        : spectrum(std::size_t{grid.m_size[0]} * grid.m_size[1] * (grid.m_size[2] / 2 + 1))
        , plan(axisLength(grid.m_size[0]), axisLength(grid.m_size[1]), axisLength(grid.m_size[2]), field,
               spectrum.data()) {}

    dft::ComplexArray spectrum;
    dft::RealToComplexPlan plan;
    std::shared_ptr<const CorrelationPattern> pattern; ///< whose spectrum it is
};

AnyOrderCrossCorrelation::AnyOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                                   const std::vector<std::array<double, 3>>& atoms,
                                                   double sigma, std::shared_ptr<const NormalModeEngine> nma,
                                                   Derivatives derivatives)
    : m_targetEdm(targetEdm)
    , m_ccf(grid->getTotalSize(), 0.0)
    , m_grid(std::move(grid))
    , m_atoms(atoms)
    , m_sigma(sigma)
    , m_nma(std::move(nma))
    , m_derivatives(derivatives)
    , m_correlator(*m_grid, m_targetEdm, m_ccf.data())
    , m_eta(m_nma->m_nModes, arma::fill::zeros) {}

AnyOrderCrossCorrelation::~AnyOrderCrossCorrelation() = default;

/// The density at x = 0 is made on first need: a pattern may come from elsewhere.
const ElectronDensity& AnyOrderCrossCorrelation::density() {
    if (!m_density) {
        const arma::Col<double> eta(m_nma->m_nModes, arma::fill::zeros);
        m_density = std::make_shared<ElectronDensity>(m_atoms.data(), m_sigma, m_atoms.size(), m_grid, *m_nma,
                                                      eta, ElectronDensity::EPSILON);
    }
    return *m_density;
}

std::size_t AnyOrderCrossCorrelation::nDof() const {
    return m_nma->m_nModes + 6;
}

std::size_t AnyOrderCrossCorrelation::columns() const {
    return m_derivatives == Derivatives::None
               ? 0
               : DensityTable::derivativeColumns(nDof(), m_derivatives == Derivatives::Second);
}

void AnyOrderCrossCorrelation::moveRotationCenter(const cVector3& center) {
    ++m_revision;
    m_rotationCenter = center;
    auto moved = std::make_shared<ElectronDensity>(density());
    moved->setRotationCenter(center);
    m_density = std::move(moved);
}

void AnyOrderCrossCorrelation::usePattern(std::shared_ptr<const CorrelationPattern> pattern) {
    ++m_revision;
    m_pattern = std::move(pattern);
    m_patternChanged = true;
}

/// A model that is not moved stays for many targets: its spectrum is made at once.
void AnyOrderCrossCorrelation::initPatternEdm() {
    auto pattern = std::make_shared<CorrelationPattern>();
    std::vector<double> field(m_grid->getTotalSize(), 0.0);
    density().addDensity(field.data());
    pattern->density = m_density;
    pattern->spectrum = m_correlator.spectrumOf(field.data());
    usePattern(std::move(pattern));
}

void AnyOrderCrossCorrelation::setTweenDof(const std::array<double, 3>& tau,
                                           const std::array<double, 3>& theta, const arma::Col<double>& eta) {
    auto moved = std::make_shared<ElectronDensity>(density());
    moved->setTweenDof(tau, theta, eta);
    m_tau = tau;
    m_theta = theta;
    m_eta = eta;
    m_density = std::move(moved);
    auto pattern = std::make_shared<CorrelationPattern>();
    pattern->density = m_density;
    usePattern(std::move(pattern));
}

/// The spectrum of the executed pattern, made here unless the pattern brought it along. The correlation's
/// array serves for the density, since the next correlation overwrites it anyway.
const dft::ComplexArray& AnyOrderCrossCorrelation::executedSpectrum() {
    if (m_executedPattern->spectrum.size() > 0) {
        return m_executedPattern->spectrum;
    }
    if (!m_patternTransform) {
        m_patternTransform = std::make_unique<PatternTransform>(*m_grid, m_ccf.data());
    }
    if (m_patternTransform->pattern != m_executedPattern) {
        std::fill(m_ccf.begin(), m_ccf.end(), 0.0);
        m_executedPattern->density->addDensity(m_ccf.data());
        m_patternTransform->plan.execute();
        m_patternTransform->pattern = m_executedPattern;
    }
    return m_patternTransform->spectrum;
}

void AnyOrderCrossCorrelation::execute() {
    if (!m_pattern) {
        ++m_revision;
        std::fill(m_ccf.begin(), m_ccf.end(), 0.0);
        return;
    }
    m_correlator.transformTarget();
    correlateWithPattern();
}

void AnyOrderCrossCorrelation::executeOnSameTarget() {
    if (!m_executedPattern) {
        throw std::logic_error("execute() of a pattern must come before executeOnSameTarget()");
    }
    correlateWithPattern();
}

void AnyOrderCrossCorrelation::correlateWithPattern() {
    ++m_revision;
    m_reader.reset();
    if (m_patternChanged) {
        m_executedPattern = m_pattern;
        m_patternChanged = false;
    }
    m_correlator.correlate(executedSpectrum());
}

bool AnyOrderCrossCorrelation::adoptExecution(const AnyOrderCrossCorrelation& other) {
    if (!m_executedPattern || !other.m_executedPattern) {
        throw std::logic_error("execute() of a pattern must come before adoptExecution()");
    }
    if (&other == this) {
        return true;
    }
    if (!haveSameCenter(m_rotationCenter, other.m_rotationCenter)) {
        return false;
    }
    ++m_revision;
    m_reader.reset();
    m_density = other.m_density;
    m_tau = other.m_tau;
    m_theta = other.m_theta;
    m_eta = other.m_eta;
    m_executedPattern = other.m_executedPattern;
    m_pattern = other.m_pattern;
    m_patternChanged = true; // that object may have moved on
    std::copy(other.m_ccf.begin(), other.m_ccf.end(), m_ccf.begin());
    return true;
}

void AnyOrderCrossCorrelation::announce(cInfo& info) {
    info.printInfo(" Computing the Cross Correlation via FFT ");
}

void AnyOrderCrossCorrelation::executeWithOldPattern() {
    ++m_revision;
    if (!m_executedPattern) {
        std::fill(m_ccf.begin(), m_ccf.end(), 0.0);
        return;
    }
    if (m_derivatives != Derivatives::None) {
        targetAsExecuted(); // kept by the reader, since its spectrum goes
    }
    m_correlator.transformTarget();
    m_correlator.correlate(executedSpectrum());
}

double AnyOrderCrossCorrelation::getMaximum() const {
    return largestOf(m_ccf.data(), m_ccf.size());
}

double AnyOrderCrossCorrelation::getSoftMaximum(double beta) const {
    const double maximum = getMaximum();
    const double floor = maximum + negligibleExponent / beta;
    double sum = 0.0;
    for (const double c : m_ccf) {
        if (!(c < floor)) {
            sum += std::exp(beta * (c - maximum));
        }
    }
    return maximum + std::log(sum) / beta;
}

std::vector<AnyOrderCrossCorrelation::WeightedVoxel>
AnyOrderCrossCorrelation::weightedVoxels(double softMaximum, double beta) const {
    const double floor = softMaximum + negligibleExponent / beta;
    std::vector<WeightedVoxel> voxels;
    for (std::size_t s = 0; s < m_ccf.size(); ++s) {
        if (!(m_ccf[s] < floor)) {
            voxels.push_back({s, std::exp(-beta * (softMaximum - m_ccf[s]))});
        }
    }
    return voxels;
}
