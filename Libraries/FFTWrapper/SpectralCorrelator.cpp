// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/SpectralCorrelator.h"

#include <cstring>

#include "FFTWrapper/correlationSpectrum.h"

namespace dft {

SpectralCorrelator::SpectralCorrelator(const cGrid& grid, const double* target, double* result)
    : SpectralCorrelator(Dimensions(grid), target, result) {}

SpectralCorrelator::SpectralCorrelator(const Dimensions& n, const double* target, double* result)
    : m_n_i(n.n_i)
    , m_n_j(n.n_j)
    , m_n_k(n.n_k)
    , m_realSize(n.realSize)
    , m_result(result)
    , m_spectrumF(n.complexSize())
    , m_spectrumProduct(n.complexSize())
    , m_planTarget(m_n_i, m_n_j, m_n_k, target, m_spectrumF.data())
    , m_planInverse(m_n_i, m_n_j, m_n_k, m_spectrumProduct.data(), m_result) {}

ComplexArray SpectralCorrelator::spectrumOf(const double* values) const {
    ComplexArray spectrum(m_spectrumF.size());
    RealToComplexPlan(m_n_i, m_n_j, m_n_k, values, spectrum.data()).execute();
    return spectrum;
}

void SpectralCorrelator::transformTarget() {
    m_planTarget.execute();
}

void SpectralCorrelator::correlate(const ComplexArray& spectrumG) {
    multiplyConjugate(m_spectrumF, spectrumG, m_spectrumProduct);
    m_planInverse.execute();
    divideByCorrelationScale(m_result, m_realSize);
}

void SpectralCorrelator::recoverTarget(double* out) const {
    std::memcpy(m_spectrumProduct.data(), m_spectrumF.data(), m_spectrumF.size() * sizeof(double[2]));
    ComplexToRealPlan(m_n_i, m_n_j, m_n_k, m_spectrumProduct.data(), out).execute();
    divideByCount(out, m_realSize);
}

} // namespace dft
