// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/PlaneTransform.h"

#include <cstring>

#include "FFTWrapper/correlationSpectrum.h"
#include "Math/multiversion.h"

namespace dft {

namespace {

template <class Real>
SELVANE_MULTIVERSION void join(const Real* __restrict a, const Real* __restrict b, std::size_t n,
                               Real* __restrict joined) {
    for (std::size_t r = 0; r < n; ++r) {
        joined[2 * r] = a[r];
        joined[2 * r + 1] = b[r];
    }
}

template <class Real>
SELVANE_MULTIVERSION void part(const Real* __restrict joined, std::size_t n, Real factor, Real* __restrict a,
                               Real* __restrict b) {
    for (std::size_t r = 0; r < n; ++r) {
        a[r] = joined[2 * r] * factor;
        b[r] = joined[2 * r + 1] * factor;
    }
}

/// a = z + conj(mirror), b = (z - conj(mirror)) / i, the mirror read backwards from its start.
template <class Real>
SELVANE_MULTIVERSION void separate(const Real* __restrict z, const Real* __restrict mirror, std::size_t n,
                                   Real* __restrict a, Real* __restrict b) {
    for (std::size_t r = 0; r < n; ++r) {
        const Real zr = z[2 * r];
        const Real zi = z[2 * r + 1];
        const Real mr = *(mirror - 2 * r);
        const Real mi = *(mirror - 2 * r + 1);
        a[2 * r] = zr + mr;
        a[2 * r + 1] = zi - mi;
        b[2 * r] = zi + mi;
        b[2 * r + 1] = mr - zr;
    }
}

/// z = a + i b.
template <class Real>
SELVANE_MULTIVERSION void combine(const Real* __restrict a, const Real* __restrict b, std::size_t n,
                                  Real* __restrict z) {
    for (std::size_t r = 0; r < n; ++r) {
        z[2 * r] = a[2 * r] - b[2 * r + 1];
        z[2 * r + 1] = a[2 * r + 1] + b[2 * r];
    }
}

/// mirror = conj(a) + i conj(b), written backwards from its start.
template <class Real>
SELVANE_MULTIVERSION void combineMirrored(const Real* __restrict a, const Real* __restrict b, std::size_t n,
                                          Real* __restrict mirror) {
    for (std::size_t r = 0; r < n; ++r) {
        *(mirror - 2 * r) = a[2 * r] + b[2 * r + 1];
        *(mirror - 2 * r + 1) = b[2 * r] - a[2 * r + 1];
    }
}

BatchLayout columnsOf(std::size_t rows, std::size_t columns, std::size_t stride) {
    return {static_cast<int>(rows), static_cast<int>(columns), static_cast<int>(stride), 1};
}

} // namespace

template <class Real>
BasicPlaneTransform<Real>::BasicPlaneTransform(int rows, int columns, int filledRows)
    : m_rows(static_cast<std::size_t>(rows))
    , m_columns(static_cast<std::size_t>(columns))
    , m_filledRows(static_cast<std::size_t>(filledRows))
    , m_halfRow(m_columns / 2 + 1)
    , m_halfStride(strideOfColumns(m_halfRow))
    , m_first(m_columns)
    , m_second(m_columns)
    , m_joined(batchSize * m_columns)
    , m_transformed(batchSize * m_columns)
    , m_half((m_rows + 1) * m_halfStride)
    , m_spectrum(m_rows * m_halfStride)
    , m_forward(makeRowPlans(TransformSign::Forward))
    , m_backward(makeRowPlans(TransformSign::Backward))
    , m_columnsForward(columnsOf(m_rows, m_halfRow, m_halfStride), TransformSign::Forward, m_half.data(),
                       m_spectrum.data())
    , m_columnsBackward(columnsOf(m_rows, m_halfRow, m_halfStride), TransformSign::Backward,
                        m_spectrum.data(), m_half.data()) {}

template <class Real>
typename BasicPlaneTransform<Real>::RowPlans BasicPlaneTransform<Real>::makeRowPlans(TransformSign sign) {
    RowPlans plans;
    for (std::size_t count = 1; count <= batchSize; ++count) {
        const auto length = static_cast<int>(m_columns);
        plans.push_back(std::make_unique<BasicComplexBatchPlan<Real>>(
            BatchLayout{length, static_cast<int>(count), 1, length}, sign, m_joined.data(),
            m_transformed.data()));
    }
    return plans;
}

template <class Real>
void BasicPlaneTransform<Real>::joinRows(std::size_t slot) {
    join(m_first.data(), m_second.data(), m_columns, m_joined.data()[slot * m_columns]);
}

template <class Real>
void BasicPlaneTransform<Real>::transformRows(const RowPlans& plans, std::size_t realRows) {
    plans[(realRows + 1) / 2 - 1]->execute();
}

template <class Real>
void BasicPlaneTransform<Real>::separateRows(std::size_t begin, std::size_t end) {
    for (std::size_t j = begin; j < end; j += 2) {
        const auto* const z = m_transformed.data() + (j - begin) / 2 * m_columns;
        // The last of an odd number of rows has no partner; what would be its row is zeroed below.
        auto* const a = halfRow(j);
        auto* const b = halfRow(j + 1);
        separate(z[0], z[0], 1, a[0], b[0]);
        if (m_halfRow > 1) {
            separate(z[1], z[m_columns - 1], m_halfRow - 1, a[1], b[1]);
        }
    }
}

template <class Real>
void BasicPlaneTransform<Real>::zeroRows(std::size_t begin, std::size_t end) {
    std::memset(halfRow(begin), 0, (end - begin) * m_halfStride * sizeof(Real[2]));
}

template <class Real>
void BasicPlaneTransform<Real>::zeroSpectrum() {
    std::memset(m_spectrum.data(), 0, m_spectrum.size() * sizeof(Real[2]));
}

template <class Real>
void BasicPlaneTransform<Real>::transformColumnsForward() {
    zeroRows(m_filledRows, m_rows + 1);
    m_columnsForward.execute();
}

template <class Real>
void BasicPlaneTransform<Real>::transformColumnsBackward() {
    m_columnsBackward.execute();
}

template <class Real>
void BasicPlaneTransform<Real>::combineRows(std::size_t begin, std::size_t end) {
    for (std::size_t j = begin; j < end; j += 2) {
        auto* const z = m_joined.data() + (j - begin) / 2 * m_columns;
        const auto* const a = halfRow(j);
        const auto* const b = halfRow(j + 1);
        combine(a[0], b[0], m_halfRow, z[0]);
        const std::size_t mirrored = m_columns - m_halfRow;
        if (mirrored > 0) {
            combineMirrored(a[1], b[1], mirrored, z[m_columns - 1]);
        }
    }
}

template <class Real>
void BasicPlaneTransform<Real>::partRows(std::size_t slot, Real factor) {
    part(m_transformed.data()[slot * m_columns], m_columns, factor, m_first.data(), m_second.data());
}

template class BasicPlaneTransform<double>;
template class BasicPlaneTransform<float>;

} // namespace dft
