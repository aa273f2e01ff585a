// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/StagedCorrelator.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string>

#include "FFTWrapper/correlationSpectrum.h"

namespace dft {

namespace {

std::array<std::size_t, 3> requireFilled(const Dimensions& n, const std::array<unsigned int, 3>& filled) {
    const std::array<int, 3> size = {n.n_i, n.n_j, n.n_k};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (filled[axis] == 0 || filled[axis] > static_cast<unsigned int>(size[axis])) {
            throw std::length_error("a target of " + std::to_string(filled[axis]) + " nodes on a grid of " +
                                    std::to_string(size[axis]));
        }
    }
    return {filled[0], filled[1], filled[2]};
}

BatchLayout columnsOf(const std::array<std::size_t, 3>& size, std::size_t stride) {
    return {static_cast<int>(size[0]), static_cast<int>(size[2] / 2 + 1), static_cast<int>(stride), 1};
}

/// So many pairs or a few more, that each slab begins where the library's plans find the same alignment.
template <class Real>
std::size_t slabSize(std::size_t pairs) {
    constexpr std::size_t unit = BasicComplexBatchPlan<Real>::alignment / sizeof(Real[2]);
    return (pairs + unit - 1) / unit * unit;
}

/// Asks for pairs ahead of their use; memory is slow to begin a row, and the transforms leave it time.
template <int forWriting, class Real>
void prefetchPairs(const Real (*pairs)[2], std::size_t n) {
    constexpr std::size_t cacheLine = 64;
    for (std::size_t p = 0; p < n; p += cacheLine / sizeof(Real[2])) {
        __builtin_prefetch(pairs + p, forWriting, 2);
    }
}

} // namespace

template <class Real>
BasicStagedCorrelator<Real>::BasicStagedCorrelator(const cGrid& grid,
                                                   const std::array<unsigned int, 3>& filled)
    : BasicStagedCorrelator(Dimensions(grid), filled) {}

// The forward sweeps of target and pattern leave a factor of 2 each.
template <class Real>
BasicStagedCorrelator<Real>::BasicStagedCorrelator(const Dimensions& n,
                                                   const std::array<unsigned int, 3>& filled)
    : m_size{static_cast<std::size_t>(n.n_i), static_cast<std::size_t>(n.n_j),
             static_cast<std::size_t>(n.n_k)}
    , m_filled(requireFilled(n, filled))
    , m_scale(static_cast<Real>(0.25 / correlationScale(n.realSize)))
    , m_stride(strideOfColumns(m_size[2] / 2 + 1))
    , m_slabSize(slabSize<Real>(m_size[0] * m_stride))
    , m_buffers(std::make_shared<Buffers>(m_size, m_filled[1], m_stride))
    , m_spectrum(m_size[1] * m_slabSize) {}

template <class Real>
BasicStagedCorrelator<Real>::BasicStagedCorrelator(const BasicStagedCorrelator& sibling)
    : m_size(sibling.m_size)
    , m_filled(sibling.m_filled)
    , m_scale(sibling.m_scale)
    , m_stride(sibling.m_stride)
    , m_slabSize(sibling.m_slabSize)
    , m_buffers(sibling.m_buffers)
    , m_spectrum(m_size[1] * m_slabSize) {}

template <class Real>
BasicStagedCorrelator<Real>::Buffers::Buffers(const std::array<std::size_t, 3>& size, std::size_t filledRows,
                                              std::size_t stride)
    : plane(static_cast<int>(size[1]), static_cast<int>(size[2]), static_cast<int>(filledRows))
    , slab(slabSize<Real>(size[0] * stride))
    , slabSpectrum(slab.size())
    , columnsForward(columnsOf(size, stride), TransformSign::Forward, slab.data(), slabSpectrum.data())
    , columnsBackward(columnsOf(size, stride), TransformSign::Backward, slabSpectrum.data(), slab.data()) {}

template <class Real>
void BasicStagedCorrelator<Real>::storePlane(BasicPlaneTransform<Real>& plane, std::size_t i) {
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        std::memcpy(slab(j) + i * m_stride, plane.spectrumRow(j), plane.halfRowSize() * sizeof(Real[2]));
    }
}

template <class Real>
void BasicStagedCorrelator<Real>::prefetchPlaneRows(std::size_t i, std::size_t j) {
    constexpr std::size_t rowsAhead = 16;
    j += rowsAhead;
    if (j >= m_filled[1]) {
        j -= m_filled[1];
        ++i;
    }
    if (i >= m_filled[0] || j >= m_filled[1]) {
        return;
    }
    const std::size_t end = (j + 1) * m_size[1] / m_filled[1];
    for (std::size_t row = j * m_size[1] / m_filled[1]; row < end; ++row) {
        prefetchPairs<1>(slab(row) + i * m_stride, m_stride);
    }
}

template <class Real>
void BasicStagedCorrelator<Real>::prefetchToLoad(std::size_t i, std::size_t j) {
    if (i < m_size[0]) {
        prefetchPairs<0>(slab(j) + i * m_stride, m_stride);
    }
}

template <class Real>
void BasicStagedCorrelator<Real>::loadPlane(std::size_t i) {
    BasicPlaneTransform<Real>& plane = m_buffers->plane;
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        std::memcpy(plane.spectrumRow(j), slab(j) + i * m_stride, plane.halfRowSize() * sizeof(Real[2]));
    }
}

// Columns that end before the slab does are followed by zeros in a buffer; whole ones need none.
template <class Real>
void BasicStagedCorrelator<Real>::transformSlab(std::size_t j, std::size_t filledPlanes) {
    Buffers& b = *m_buffers;
    if (filledPlanes == m_size[0]) {
        b.columnsForward.execute(slab(j), b.slabSpectrum.data());
        return;
    }
    const std::size_t filledPairs = filledPlanes * m_stride;
    std::memcpy(b.slab.data(), slab(j), filledPairs * sizeof(Real[2]));
    std::memset(b.slab.data() + filledPairs, 0, (m_slabSize - filledPairs) * sizeof(Real[2]));
    b.columnsForward.execute();
}

template <class Real>
BasicComplexArray<Real> BasicStagedCorrelator<Real>::spectrumOf(const double* values, double factor) {
    BasicPlaneTransform<Real> plane(static_cast<int>(m_size[1]), static_cast<int>(m_size[2]),
                                    static_cast<int>(m_size[1]));
    for (std::size_t i = 0; i < m_size[0]; ++i) {
        plane.forward([&](std::size_t j, Real* row) {
            const double* const from = values + (i * m_size[1] + j) * m_size[2];
            std::transform(from, from + m_size[2], row,
                           [factor](double value) { return static_cast<Real>(factor * value); });
            return true;
        });
        storePlane(plane, i);
    }
    BasicComplexArray<Real> spectrum(m_spectrum.size());
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        transformSlab(j, m_size[0]);
        std::memcpy(spectrum.data() + j * m_slabSize, m_buffers->slabSpectrum.data(),
                    m_slabSize * sizeof(Real[2]));
    }
    return spectrum;
}

/// Asks for row i of slab j that is to be transformed.
template <class Real>
void BasicStagedCorrelator<Real>::prefetchSlabRow(std::size_t i, std::size_t j) {
    if (j < m_size[1] && i < m_filled[0]) {
        prefetchPairs<0>(slab(j) + i * m_stride, m_stride);
    }
}

/// Asks for row i of slab j that a result goes to.
template <class Real>
void BasicStagedCorrelator<Real>::prefetchResultRow(std::size_t i, std::size_t j) {
    prefetchPairs<1>(slab(j) + i * m_stride, m_stride);
}

/// The transformed slab j times a pattern's, which comes from memory meanwhile.
/// @param product  of a slab's size; may be the transformed slab itself
/// @param prefetch  prefetch(i) asks for more memory behind row i
template <class Real>
template <class Prefetch>
void BasicStagedCorrelator<Real>::multiplySlab(std::size_t j, const BasicComplexArray<Real>& spectrum,
                                               BasicComplexArray<Real>& product, Prefetch&& prefetch) {
    constexpr std::size_t rowsAhead = 8;
    const Real(*const pattern)[2] = spectrum.data() + j * m_slabSize;
    for (std::size_t i = 0; i < m_size[0]; ++i) {
        const std::size_t row = i * m_stride;
        if (i + rowsAhead < m_size[0]) {
            prefetchPairs<0>(pattern + row + rowsAhead * m_stride, m_stride);
        }
        multiplyConjugate(m_buffers->slabSpectrum.data() + row, pattern + row, product.data() + row,
                          m_stride);
        prefetch(i);
    }
}

template <class Real>
void BasicStagedCorrelator<Real>::correlateSlab(std::size_t j, const BasicComplexArray<Real>& spectrum) {
    Buffers& b = *m_buffers;
    transformSlab(j, m_filled[0]);
    multiplySlab(j, spectrum, b.slabSpectrum, [&](std::size_t i) { prefetchSlabRow(i, j + 1); });
    b.columnsBackward.execute(b.slabSpectrum.data(), slab(j));
}

template <class Real>
void BasicStagedCorrelator<Real>::correlateSlab(std::size_t j, const BasicComplexArray<Real>& first,
                                                const BasicComplexArray<Real>& second,
                                                BasicStagedCorrelator& other) {
    Buffers& b = *m_buffers;
    if (b.product.size() == 0) {
        b.product = BasicComplexArray<Real>(m_slabSize);
    }
    transformSlab(j, m_filled[0]);
    multiplySlab(j, second, b.product, [&](std::size_t i) { other.prefetchResultRow(i, j); });
    multiplySlab(j, first, b.slabSpectrum, [&](std::size_t i) { prefetchSlabRow(i, j + 1); });
    b.columnsBackward.execute(b.product.data(), other.slab(j));
    b.columnsBackward.execute(b.slabSpectrum.data(), slab(j));
}

template <class Real>
void BasicStagedCorrelator<Real>::requireSize(const BasicComplexArray<Real>& spectrum) const {
    requireSpectrumSize(spectrum.size(), m_spectrum.size());
}

template <class Real>
void BasicStagedCorrelator<Real>::correlate(const BasicComplexArray<Real>& spectrum) {
    requireSize(spectrum);
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        correlateSlab(j, spectrum);
    }
}

template <class Real>
void BasicStagedCorrelator<Real>::correlate(const BasicComplexArray<Real>& first,
                                            const BasicComplexArray<Real>& second,
                                            BasicStagedCorrelator& other) {
    requireSize(first);
    requireSize(second);
    if (&other == this || other.m_size != m_size) {
        throw std::length_error("a second result needs another correlator of the same size");
    }
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        correlateSlab(j, first, second, other);
    }
}

template class BasicStagedCorrelator<double>;
template class BasicStagedCorrelator<float>;

} // namespace dft
