// SPDX-License-Identifier: GPL-3.0-or-later
#include "Interface/ConformationOracle.h"

#include <utility>

#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/fccf.h"
#include "Interface/tweenDof.h"

ConformationOracle::ConformationOracle(const std::vector<double>& targetEdm,
                                       std::shared_ptr<ElectronDensity> density, std::size_t nDof)
    : m_density(std::move(density))
    , m_targetEdm(targetEdm)
    , m_patternEdm(targetEdm.size(), 0.0)
    , m_gradPatternEdm(nDof)
    , m_hessPatternEdm(nDof * nDof)
    , m_nDof(nDof) {}

double ConformationOracle::getFunctionValue(const arma::Col<double>& x) {
    // Deliberate: the gradient maps are used as they are, so that a first call of this kind fails on their
    // size; a solver asks for derivatives first.
    moveTo(x);
    m_density->evalRigidFlex(m_patternEdm, m_gradPatternEdm);
    return -overlap(m_patternEdm);
}

double ConformationOracle::getFunctionGradient(const arma::Col<double>& x, arma::Col<double>& gradient) {
    sizeMaps(m_gradPatternEdm);
    moveTo(x);
    m_density->evalRigidFlex(m_patternEdm, m_gradPatternEdm);
    for (std::size_t i = 0; i < m_nDof; ++i) {
        gradient(i) = -overlap(m_gradPatternEdm[i]);
    }
    return -overlap(m_patternEdm);
}

double ConformationOracle::getFunctionGradiantAndHessian(const arma::Col<double>& x,
                                                         arma::Col<double>& gradient,
                                                         arma::Mat<double>& hessian) {
    sizeMaps(m_gradPatternEdm);
    sizeMaps(m_hessPatternEdm);
    moveTo(x);
    m_density->evalRigidFlex(m_patternEdm, m_gradPatternEdm, m_hessPatternEdm);
    for (std::size_t i = 0; i < m_nDof; ++i) {
        gradient(i) = -overlap(m_gradPatternEdm[i]);
        for (std::size_t j = 0; j < m_nDof; ++j) {
            hessian(i, j) = -overlap(m_hessPatternEdm[i * m_nDof + j]);
        }
    }
    return -overlap(m_patternEdm);
}

std::tuple<std::array<double, 3>, std::array<double, 3>, arma::Col<double>>
ConformationOracle::getTweenDof(const arma::Col<double>& x) const {
    return splitTweenDof(x, m_nDof);
}

void ConformationOracle::sizeMaps(std::vector<std::vector<double>>& maps) const {
    for (auto& map : maps) {
        map.resize(m_targetEdm.size());
    }
}

void ConformationOracle::moveTo(const arma::Col<double>& x) {
    const auto [translation, rotation, eta] = getTweenDof(x);
    m_density->setTweenDof(translation, rotation, eta);
}

double ConformationOracle::overlap(const std::vector<double>& map) const {
    return fccf::getIntegral(m_targetEdm, map, true);
}
