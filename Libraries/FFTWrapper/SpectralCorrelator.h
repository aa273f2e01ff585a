// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_SPECTRALCORRELATOR_H
#define SELVANE_FFTWRAPPER_SPECTRALCORRELATOR_H

#include <cstddef>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/ComplexToRealPlan.h"
#include "FFTWrapper/RealToComplexPlan.h"

class cGrid;

namespace dft {

struct Dimensions;

/// Correlates one target with any number of patterns whose spectra are given: the lean form of
/// RealCorssCorelationEngine for a scan in which the target changes and the patterns stay. With T the target,
///   result[s] = (2 pi)^-3 * sum_v T[v] g[v + s], v + s wrapped per axis,
/// bit for bit what the engine gives for f = T, as long as corresponding arrays have the same alignment to 16
/// bytes (any array from new or a vector has).
///
/// A pattern's spectrum is computed once by spectrumOf() and shared read-only, also between threads; one
/// correlator serves one thread at a time. Holds two complex arrays.
class SpectralCorrelator {
public:
    /// @param grid    gives n_i, n_j, n_k; not kept
    /// @param target  n_i*n_j*n_k doubles in cGrid order; not owned, only read, must not move
    /// @param result  same shape; not owned, must not move, overwritten by correlate()
    /// @throws std::bad_alloc; std::length_error for a grid whose sizes and total disagree;
    /// std::runtime_error if the
    ///         library has no plan for the sizes
    SpectralCorrelator(const cGrid& grid, const double* target, double* result);

    SpectralCorrelator(const SpectralCorrelator&) = delete;
    SpectralCorrelator& operator=(const SpectralCorrelator&) = delete;

    /// Half spectrum of any real field on the grid, for correlate(). Safe on any thread at any time.
    /// @param values  n_i*n_j*n_k doubles in cGrid order
    ComplexArray spectrumOf(const double* values) const;

    /// Takes the target as it stands now; what follows works from this snapshot.
    void transformTarget();

    /// Writes the correlation of the snapshot with the pattern into the result array.
    /// @throws std::length_error if the spectrum is of another size than the grid's
    void correlate(const ComplexArray& spectrumG);

    /// Writes the snapshot of the target back as a field, to rounding. Uses the correlator's scratch
    /// spectrum, so it counts as a use by one thread although the observable state stays.
    /// @param out  n_i*n_j*n_k doubles, overwritten; may be the target itself
    void recoverTarget(double* out) const;

private:
    SpectralCorrelator(const Dimensions& n, const double* target, double* result);

    int m_n_i;
    int m_n_j;
    int m_n_k;
    std::size_t m_realSize;
    double* m_result;
    ComplexArray m_spectrumF;
    mutable ComplexArray m_spectrumProduct; ///< scratch: every inverse transform destroys its input
    RealToComplexPlan m_planTarget;
    ComplexToRealPlan m_planInverse;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_SPECTRALCORRELATOR_H
