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

ComplexBatchPlan::Layout columnsOf(const std::array<std::size_t, 3>& size, std::size_t stride) {
    return {static_cast<int>(size[0]), static_cast<int>(size[2] / 2 + 1), static_cast<int>(stride), 1};
}

/// Asks for pairs ahead of their use; memory is slow to begin a row, and the transforms leave it time.
template <int forWriting>
void prefetchPairs(const double (*pairs)[2], std::size_t n) {
    for (std::size_t p = 0; p < n; p += 4) {
        __builtin_prefetch(pairs + p, forWriting, 2);
    }
}

} // namespace

StagedCorrelator::StagedCorrelator(const cGrid& grid, const std::array<unsigned int, 3>& filled)
    : StagedCorrelator(Dimensions(grid), filled) {}

// The forward sweeps of target and pattern leave a factor of 2 each.
StagedCorrelator::StagedCorrelator(const Dimensions& n, const std::array<unsigned int, 3>& filled)
    : m_size{static_cast<std::size_t>(n.n_i), static_cast<std::size_t>(n.n_j),
             static_cast<std::size_t>(n.n_k)}
    , m_filled(requireFilled(n, filled))
    , m_scale(0.25 / correlationScale(n.realSize))
    , m_stride(strideOfColumns(m_size[2] / 2 + 1))
    , m_slabSize(m_size[0] * m_stride)
    , m_buffers(std::make_shared<Buffers>(m_size, m_filled[1], m_stride))
    , m_spectrum(m_size[1] * m_slabSize) {}

StagedCorrelator::StagedCorrelator(const StagedCorrelator& sibling)
    : m_size(sibling.m_size)
    , m_filled(sibling.m_filled)
    , m_scale(sibling.m_scale)
    , m_stride(sibling.m_stride)
    , m_slabSize(sibling.m_slabSize)
    , m_buffers(sibling.m_buffers)
    , m_spectrum(m_size[1] * m_slabSize) {}

StagedCorrelator::Buffers::Buffers(const std::array<std::size_t, 3>& size, std::size_t filledRows,
                                   std::size_t stride)
    : plane(static_cast<int>(size[1]), static_cast<int>(size[2]), static_cast<int>(filledRows))
    , slab(size[0] * stride)
    , slabSpectrum(size[0] * stride)
    , columnsForward(columnsOf(size, stride), ComplexBatchPlan::Sign::Forward, slab.data(),
                     slabSpectrum.data())
    , columnsBackward(columnsOf(size, stride), ComplexBatchPlan::Sign::Backward, slabSpectrum.data(),
                      slab.data()) {}

void StagedCorrelator::storePlane(PlaneTransform& plane, std::size_t i) {
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        std::memcpy(slab(j) + i * m_stride, plane.spectrumRow(j), plane.halfRowSize() * sizeof(double[2]));
    }
}

void StagedCorrelator::prefetchPlaneRows(std::size_t i, std::size_t j) {
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

void StagedCorrelator::prefetchToLoad(std::size_t i, std::size_t j) {
    if (i < m_size[0]) {
        prefetchPairs<0>(slab(j) + i * m_stride, m_stride);
    }
}

void StagedCorrelator::loadPlane(std::size_t i) {
    PlaneTransform& plane = m_buffers->plane;
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        std::memcpy(plane.spectrumRow(j), slab(j) + i * m_stride, plane.halfRowSize() * sizeof(double[2]));
    }
}

// Columns that end before the slab does are followed by zeros in a buffer; whole ones need none.
void StagedCorrelator::transformSlab(std::size_t j, std::size_t filledPlanes) {
    Buffers& b = *m_buffers;
    if (filledPlanes == m_size[0]) {
        b.columnsForward.execute(slab(j), b.slabSpectrum.data());
        return;
    }
    const std::size_t filledPairs = filledPlanes * m_stride;
    std::memcpy(b.slab.data(), slab(j), filledPairs * sizeof(double[2]));
    std::memset(b.slab.data() + filledPairs, 0, (m_slabSize - filledPairs) * sizeof(double[2]));
    b.columnsForward.execute();
}

ComplexArray StagedCorrelator::spectrumOf(const double* values) {
    PlaneTransform plane(static_cast<int>(m_size[1]), static_cast<int>(m_size[2]),
                         static_cast<int>(m_size[1]));
    for (std::size_t i = 0; i < m_size[0]; ++i) {
        plane.forward([&](std::size_t j, double* row) {
            std::copy_n(values + (i * m_size[1] + j) * m_size[2], m_size[2], row);
            return true;
        });
        storePlane(plane, i);
    }
    ComplexArray spectrum(m_spectrum.size());
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        transformSlab(j, m_size[0]);
        std::memcpy(spectrum.data() + j * m_slabSize, m_buffers->slabSpectrum.data(),
                    m_slabSize * sizeof(double[2]));
    }
    return spectrum;
}

void StagedCorrelator::prefetchSlabRow(std::size_t i, std::size_t j) {
    if (j < m_size[1] && i < m_filled[0]) {
        prefetchPairs<0>(slab(j) + i * m_stride, m_stride);
    }
}

/// The transformed slab j times a pattern's. Meanwhile the next slab comes in.
/// @param product  of a slab's size; may be the transformed slab itself
void StagedCorrelator::multiplySlab(std::size_t j, const ComplexArray& spectrum, ComplexArray& product) {
    for (std::size_t i = 0; i < m_size[0]; ++i) {
        const std::size_t row = i * m_stride;
        multiplyConjugate(m_buffers->slabSpectrum.data() + row, spectrum.data() + j * m_slabSize + row,
                          product.data() + row, m_stride);
        prefetchSlabRow(i, j + 1);
    }
}

void StagedCorrelator::correlateSlab(std::size_t j, const ComplexArray& spectrum) {
    Buffers& b = *m_buffers;
    transformSlab(j, m_filled[0]);
    multiplySlab(j, spectrum, b.slabSpectrum);
    b.columnsBackward.execute(b.slabSpectrum.data(), slab(j));
}

void StagedCorrelator::correlateSlab(std::size_t j, const ComplexArray& first, const ComplexArray& second,
                                     StagedCorrelator& other) {
    Buffers& b = *m_buffers;
    if (b.product.size() == 0) {
        b.product = ComplexArray(m_slabSize);
    }
    transformSlab(j, m_filled[0]);
    multiplySlab(j, second, b.product);
    multiplySlab(j, first, b.slabSpectrum);
    b.columnsBackward.execute(b.product.data(), other.slab(j));
    b.columnsBackward.execute(b.slabSpectrum.data(), slab(j));
}

void StagedCorrelator::requireSize(const ComplexArray& spectrum) const {
    requireSpectrumSize(spectrum, m_spectrum.size());
}

void StagedCorrelator::correlate(const ComplexArray& spectrum) {
    requireSize(spectrum);
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        correlateSlab(j, spectrum);
    }
}

void StagedCorrelator::correlate(const ComplexArray& first, const ComplexArray& second,
                                 StagedCorrelator& other) {
    requireSize(first);
    requireSize(second);
    if (&other == this || other.m_size != m_size) {
        throw std::length_error("a second result needs another correlator of the same size");
    }
    for (std::size_t j = 0; j < m_size[1]; ++j) {
        correlateSlab(j, first, second, other);
    }
}

} // namespace dft
