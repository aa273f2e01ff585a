// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/RealCorssCorelationEngine.h"

#include "FFTWrapper/correlationSpectrum.h"

namespace dft {

RealCorssCorelationEngine::RealCorssCorelationEngine(const cGrid& grid, double* f, double* g, double* result)
    : RealCorssCorelationEngine(Dimensions(grid), f, g, result) {}

RealCorssCorelationEngine::RealCorssCorelationEngine(const Dimensions& n, double* f, double* g,
                                                     double* result)
    : m_complexSize(n.complexSize())
    , m_realSize(n.realSize)
    , m_f(f)
    , m_g(g)
    , m_result(result)
    , m_spectrumF(m_complexSize)
    , m_spectrumG(m_complexSize)
    , m_spectrumProduct(m_complexSize)
    , m_planF(n.n_i, n.n_j, n.n_k, m_f, m_spectrumF.data())
    , m_planG(n.n_i, n.n_j, n.n_k, m_g, m_spectrumG.data())
    , m_planInverse(n.n_i, n.n_j, n.n_k, m_spectrumProduct.data(), m_result) {}

void RealCorssCorelationEngine::execute(bool transformF, bool transformG) {
    if (transformF) {
        m_planF.execute();
    }
    if (transformG) {
        m_planG.execute();
    }
    multiplyConjugate(m_spectrumF, m_spectrumG, m_spectrumProduct);
    m_planInverse.execute();
    divideByCorrelationScale(m_result, m_realSize);
}

} // namespace dft
