// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include "CrossCorrelation/DerivativeReader.h"
#include "CrossCorrelation/ThirdOrderCrossCorrelation.h"
#include "CrossCorrelation/shiftedSums.h"
#include "Math/cGrid.h"
#include "NMAEngine/NormalModeEngine.h"

const double* ThirdOrderCrossCorrelation::targetAsExecuted() const {
    if (!m_reader) {
        m_reader = std::make_unique<DerivativeReader>();
        m_reader->target.resize(m_ccf.size());
        m_correlator.recoverTarget(m_reader->target.data());
    }
    return m_reader->target.data();
}

std::vector<double> ThirdOrderCrossCorrelation::derivativesAt(const std::vector<std::size_t>& shifts) const {
    if (!m_executedPattern) {
        return std::vector<double>(shifts.size() * columns(), 0.0);
    }
    // Operations per derivative column: a multiplication and an addition per node and shift against two
    // transforms of about 2.5 N log2 N each.
    const auto voxels = static_cast<double>(m_ccf.size());
    const double direct = 2.0 * static_cast<double>(shifts.size() * m_executedPattern->table.nodes.size());
    if (direct <= 5.0 * voxels * std::log2(voxels + 1.0)) {
        return shiftedSums(m_executedPattern->table, *m_grid, targetAsExecuted(), shifts);
    }
    return derivativesByTransforms(shifts);
}

std::vector<double>
ThirdOrderCrossCorrelation::derivativesByTransforms(const std::vector<std::size_t>& shifts) const {
    targetAsExecuted();
    DerivativeReader& reader = *m_reader;
    const bool transformTarget = !reader.engine;
    if (!reader.engine) {
        reader.map.assign(m_ccf.size(), 0.0);
        reader.correlation.resize(m_ccf.size());
        reader.engine = std::make_unique<dft::RealCorssCorelationEngine>(
            *m_grid, reader.target.data(), reader.map.data(), reader.correlation.data());
    }
    const DensityTable& table = m_executedPattern->table;
    std::vector<double> rows(shifts.size() * columns());
    for (std::size_t q = 0; q < columns(); ++q) {
        for (std::size_t n = 0; n < table.nodes.size(); ++n) {
            reader.map[table.nodes[n]] = table.row(n)[1 + q];
        }
        reader.engine->execute(transformTarget && q == 0, true);
        for (std::size_t p = 0; p < shifts.size(); ++p) {
            rows[p * columns() + q] = reader.correlation[shifts[p]];
        }
    }
    return rows;
}

void ThirdOrderCrossCorrelation::fillDerivatives(const double* row,
                                                 HexaustFlexibleFitConformation& conformation) const {
    const std::size_t n = nDof();
    conformation.m_gradient.set_size(n);
    conformation.m_hessian.set_size(n, n);
    const double* second = row + n;
    for (std::size_t i = 0; i < n; ++i) {
        conformation.m_gradient(i) = row[i];
        for (std::size_t j = i; j < n; ++j) {
            conformation.m_hessian(i, j) = *second;
            conformation.m_hessian(j, i) = *second++;
        }
    }
}

std::tuple<arma::Col<double>, arma::Mat<double>>
ThirdOrderCrossCorrelation::getGradAndHessian(std::size_t s) const {
    HexaustFlexibleFitConformation voxel;
    fillDerivatives(derivativesAt({s}).data(), voxel);
    return {voxel.m_gradient, voxel.m_hessian};
}

double ThirdOrderCrossCorrelation::getMaximumGradientAndHessian(arma::Col<double>& gradient,
                                                                arma::Mat<double>& hessian) const {
    const auto best = std::max_element(m_ccf.begin(), m_ccf.end());
    std::tie(gradient, hessian) = getGradAndHessian(static_cast<std::size_t>(best - m_ccf.begin()));
    return *best;
}
