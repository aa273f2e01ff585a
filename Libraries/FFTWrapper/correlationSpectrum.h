// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_CORRELATIONSPECTRUM_H
#define SELVANE_FFTWRAPPER_CORRELATIONSPECTRUM_H

#include <cstddef>

#include "FFTWrapper/ComplexArray.h"

class cGrid;

/// What every correlation shares, written once so that all give the same bits. Internal to the module.
namespace dft {

/// The sizes of a grid as the FFT library takes them.
struct Dimensions {
    /// @throws std::length_error if an axis does not fit an int or the grid's total is not n_i * n_j * n_k,
    /// for the
    ///         arrays have that total
    explicit Dimensions(const cGrid& grid);

    /// Pairs in a half spectrum: n_i * n_j * (n_k / 2 + 1), integer division.
    std::size_t complexSize() const;

    int n_i;
    int n_j;
    int n_k;
    std::size_t realSize; ///< n_i * n_j * n_k
};

/// product[p] = conj(f[p]) g[p] for all pairs; the first factor is the conjugated one.
/// @throws std::length_error if the sizes differ
void multiplyConjugate(const ComplexArray& f, const ComplexArray& g, ComplexArray& product);

/// The same for n pairs; the product may stand where f stood.
void multiplyConjugate(const double (*f)[2], const double (*g)[2], double (*product)[2], std::size_t n);
void multiplyConjugate(const float (*f)[2], const float (*g)[2], float (*product)[2], std::size_t n);

/// @param size  pairs of the spectrum
/// @throws std::length_error unless it is as expected
void requireSpectrumSize(std::size_t size, std::size_t expected);

/// 8 n pi^3: (2 pi)^3 times the n of the unscaled inverse transform.
double correlationScale(std::size_t n);

/// Pairs from row to row in a matrix whose columns are transformed: with an odd stride the elements of a
/// column spread over the sets of the cache.
inline std::size_t strideOfColumns(std::size_t rowSize) {
    return rowSize | 1U;
}

/// Divides n values by correlationScale(n).
void divideByCorrelationScale(double* values, std::size_t n);

/// Divides n values by n: the inverse transform made a true inverse.
void divideByCount(double* values, std::size_t n);

} // namespace dft

#endif // SELVANE_FFTWRAPPER_CORRELATIONSPECTRUM_H
