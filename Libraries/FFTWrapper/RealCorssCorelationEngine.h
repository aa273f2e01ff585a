// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_REALCORSSCORELATIONENGINE_H
#define SELVANE_FFTWRAPPER_REALCORSSCORELATIONENGINE_H

#include <cstddef>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/ComplexToRealPlan.h"
#include "FFTWrapper/RealToComplexPlan.h"

class cGrid;

namespace dft {

struct Dimensions;

/// Circular cross-correlation of two real fields f and g on one grid, at every shift s:
///   result[s] = (2 pi)^-3 * sum_v f[v] g[v + s], v + s wrapped per axis.
///
/// Correlation theorem: conj(F) G, transformed back without scale, leaves a factor N to divide out. Nothing
/// is subtracted and no norm is divided out. The spectra of both fields are kept, so a field that did not
/// change since the last call need not be transformed again.
///
/// Engines of different threads may run at once, also on common inputs; one engine serves one thread at a
/// time.
class RealCorssCorelationEngine {
public:
    /// @param grid    gives n_i, n_j, n_k; not kept
    /// @param f, g    n_i*n_j*n_k doubles in cGrid order; not owned, only read, must not move
    /// @param result  same shape; not owned, must not move, overwritten by execute()
    /// @throws std::bad_alloc; std::length_error for a grid whose sizes and total disagree;
    /// std::runtime_error if the
    ///         library has no plan for the sizes
    RealCorssCorelationEngine(const cGrid& grid, double* f, double* g, double* result);

    RealCorssCorelationEngine(const RealCorssCorelationEngine&) = delete;
    RealCorssCorelationEngine& operator=(const RealCorssCorelationEngine&) = delete;

    /// Writes the correlation into the result array. A field whose flag is false enters with the spectrum of
    /// the last call that transformed it (all zero if there was none), whatever its array holds now.
    void execute(bool transformF, bool transformG);

private:
    RealCorssCorelationEngine(const Dimensions& n, double* f, double* g, double* result);

    std::size_t m_complexSize;
    std::size_t m_realSize;
    double* m_f;
    double* m_g;
    double* m_result;
    ComplexArray m_spectrumF;
    ComplexArray m_spectrumG;
    ComplexArray m_spectrumProduct;
    RealToComplexPlan m_planF;
    RealToComplexPlan m_planG;
    ComplexToRealPlan m_planInverse;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_REALCORSSCORELATIONENGINE_H
