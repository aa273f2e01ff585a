// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "CrossCorrelation/DerivativeReader.h"
#include "CrossCorrelation/ElectronDensity.h"
#include "IO/cInfo.h"
#include "Math/cGrid.h"
#include "Math/cVector3.h"
#include "NMAEngine/NormalModeEngine.h"

ThirdOrderCrossCorrelation::ThirdOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                                                       const std::vector<std::array<double, 3>>& atoms,
                                                       double sigma,
                                                       std::shared_ptr<const NormalModeEngine> nma,
                                                       bool initPattern)
    : m_targetEdm(targetEdm)
    , m_grid(std::move(grid))
    , m_atoms(atoms)
    , m_sigma(sigma)
    , m_nma(std::move(nma))
    , m_ccf(m_grid->getTotalSize(), 0.0)
    , m_correlator(*m_grid, m_targetEdm, m_ccf.data())
    , m_eta(m_nma->m_nModes, arma::fill::zeros) {
    if (initPattern) {
        initPatternEdm();
    }
}

ThirdOrderCrossCorrelation::~ThirdOrderCrossCorrelation() = default;

ElectronDensity& ThirdOrderCrossCorrelation::density() {
    if (!m_density) {
        const arma::Col<double> eta(m_nma->m_nModes, arma::fill::zeros);
        m_density = std::make_unique<ElectronDensity>(m_atoms.data(), m_sigma, m_atoms.size(), m_grid, *m_nma,
                                                      eta, ElectronDensity::EPSILON);
    }
    return *m_density;
}

std::size_t ThirdOrderCrossCorrelation::nDof() const {
    return m_nma->m_nModes + 6;
}

std::size_t ThirdOrderCrossCorrelation::columns() const {
    return nDof() + nDof() * (nDof() + 1) / 2;
}

void ThirdOrderCrossCorrelation::setRotationCenter(const cVector3& center) {
    density().setRotationCenter(center);
}

void ThirdOrderCrossCorrelation::initPatternEdm() {
    auto pattern = std::make_shared<CorrelationPattern>();
    pattern->table = density().tabulate();
    std::vector<double> field(m_grid->getTotalSize(), 0.0);
    for (std::size_t n = 0; n < pattern->table.nodes.size(); ++n) {
        field[pattern->table.nodes[n]] = pattern->table.row(n)[0];
    }
    pattern->spectrum = m_correlator.spectrumOf(field.data());
    m_pattern = std::move(pattern);
}

void ThirdOrderCrossCorrelation::setTweenDof(const std::array<double, 3>& tau,
                                             const std::array<double, 3>& theta,
                                             const arma::Col<double>& eta) {
    m_tau = tau;
    m_theta = theta;
    m_eta = eta;
    density().setTweenDof(m_tau, m_theta, m_eta);
    initPatternEdm();
}

void ThirdOrderCrossCorrelation::adoptPattern(std::shared_ptr<const CorrelationPattern> pattern) {
    if (!pattern || pattern->table.nDof != nDof()) {
        throw std::invalid_argument("ThirdOrderCrossCorrelation: the pattern has other degrees of freedom");
    }
    m_pattern = std::move(pattern);
}

void ThirdOrderCrossCorrelation::execute() {
    if (!m_pattern) {
        throw std::logic_error("ThirdOrderCrossCorrelation: initPatternEdm() must come before execute()");
    }
    m_reader.reset();
    m_correlator.transformTarget();
    m_correlator.correlate(m_pattern->spectrum);
    m_executedPattern = m_pattern;
}

void ThirdOrderCrossCorrelation::execute(cInfo& info) {
    info.printInfo(" Computing the Cross Correlation via FFT ");
    execute();
}

double ThirdOrderCrossCorrelation::getMaximum() const {
    return *std::max_element(m_ccf.begin(), m_ccf.end());
}

double ThirdOrderCrossCorrelation::getSoftMaximum(double beta) const {
    const double maximum = getMaximum();
    double sum = 0.0;
    for (const double c : m_ccf) {
        sum += std::exp(beta * (c - maximum));
    }
    return maximum + std::log(sum) / beta;
}

double ThirdOrderCrossCorrelation::getSoftMaximumGradientAndHessian(arma::Col<double>& gradient,
                                                                    arma::Mat<double>& hessian,
                                                                    double beta) const {
    const std::size_t n = nDof();
    gradient.zeros(n);
    hessian.zeros(n, n);
    const double softMaximum = getSoftMaximum(beta);
    std::vector<std::size_t> weighted;
    for (std::size_t s = 0; s < m_ccf.size(); ++s) {
        if (std::exp(-beta * (softMaximum - m_ccf[s])) != 0.0) {
            weighted.push_back(s);
        }
    }
    const std::vector<double> derivatives = derivativesAt(weighted);
    HexaustFlexibleFitConformation voxel;
    for (std::size_t p = 0; p < weighted.size(); ++p) {
        fillDerivatives(derivatives.data() + p * columns(), voxel);
        const double w = std::exp(-beta * (softMaximum - m_ccf[weighted[p]]));
        for (std::size_t i = 0; i < n; ++i) {
            gradient(i) += w * voxel.m_gradient(i);
            // Deliberate: gradient(i) is the running sum up to this voxel, not the finished gradient.
            const double difference = gradient(i) - voxel.m_gradient(i);
            for (std::size_t j = 0; j < n; ++j) {
                hessian(i, j) += w * (voxel.m_hessian(i, j) - beta * difference * voxel.m_gradient(j));
            }
        }
    }
    return softMaximum;
}
