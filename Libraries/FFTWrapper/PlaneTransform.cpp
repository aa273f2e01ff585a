// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/PlaneTransform.h"

#include <cstring>

#include "FFTWrapper/correlationSpectrum.h"
#include "Math/multiversion.h"

namespace dft {

namespace {

SELVANE_MULTIVERSION
void join(const double* __restrict a, const double* __restrict b, std::size_t n, double* __restrict joined) {
    for (std::size_t r = 0; r < n; ++r) {
        joined[2 * r] = a[r];
        joined[2 * r + 1] = b[r];
    }
}

SELVANE_MULTIVERSION
void part(const double* __restrict joined, std::size_t n, double factor, double* __restrict a,
          double* __restrict b) {
    for (std::size_t r = 0; r < n; ++r) {
        a[r] = joined[2 * r] * factor;
        b[r] = joined[2 * r + 1] * factor;
    }
}

/// a = z + conj(mirror), b = (z - conj(mirror)) / i, the mirror read backwards from its start.
SELVANE_MULTIVERSION
void separate(const double* __restrict z, const double* __restrict mirror, std::size_t n,
              double* __restrict a, double* __restrict b) {
    for (std::size_t r = 0; r < n; ++r) {
        const double zr = z[2 * r];
        const double zi = z[2 * r + 1];
        const double mr = *(mirror - 2 * r);
        const double mi = *(mirror - 2 * r + 1);
        a[2 * r] = zr + mr;
        a[2 * r + 1] = zi - mi;
        b[2 * r] = zi + mi;
        b[2 * r + 1] = mr - zr;
    }
}

/// z = a + i b.
SELVANE_MULTIVERSION
void combine(const double* __restrict a, const double* __restrict b, std::size_t n, double* __restrict z) {
    for (std::size_t r = 0; r < n; ++r) {
        z[2 * r] = a[2 * r] - b[2 * r + 1];
        z[2 * r + 1] = a[2 * r + 1] + b[2 * r];
    }
}

/// mirror = conj(a) + i conj(b), written backwards from its start.
SELVANE_MULTIVERSION
void combineMirrored(const double* __restrict a, const double* __restrict b, std::size_t n,
                     double* __restrict mirror) {
    for (std::size_t r = 0; r < n; ++r) {
        *(mirror - 2 * r) = a[2 * r] + b[2 * r + 1];
        *(mirror - 2 * r + 1) = b[2 * r] - a[2 * r + 1];
    }
}

ComplexBatchPlan::Layout columnsOf(std::size_t rows, std::size_t columns, std::size_t stride) {
    return {static_cast<int>(rows), static_cast<int>(columns), static_cast<int>(stride), 1};
}

} // namespace

PlaneTransform::PlaneTransform(int rows, int columns, int filledRows)
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
    , m_forward(makeRowPlans(ComplexBatchPlan::Sign::Forward))
    , m_backward(makeRowPlans(ComplexBatchPlan::Sign::Backward))
    , m_columnsForward(columnsOf(m_rows, m_halfRow, m_halfStride), ComplexBatchPlan::Sign::Forward,
                       m_half.data(), m_spectrum.data())
    , m_columnsBackward(columnsOf(m_rows, m_halfRow, m_halfStride), ComplexBatchPlan::Sign::Backward,
                        m_spectrum.data(), m_half.data()) {}

PlaneTransform::RowPlans PlaneTransform::makeRowPlans(ComplexBatchPlan::Sign sign) {
    RowPlans plans;
    for (std::size_t count = 1; count <= batchSize; ++count) {
        const auto length = static_cast<int>(m_columns);
        plans.push_back(std::make_unique<ComplexBatchPlan>(
            ComplexBatchPlan::Layout{length, static_cast<int>(count), 1, length}, sign, m_joined.data(),
            m_transformed.data()));
    }
    return plans;
}

void PlaneTransform::joinRows(std::size_t slot) {
    join(m_first.data(), m_second.data(), m_columns, m_joined.data()[slot * m_columns]);
}

void PlaneTransform::transformRows(const RowPlans& plans, std::size_t realRows) {
    plans[(realRows + 1) / 2 - 1]->execute();
}

void PlaneTransform::separateRows(std::size_t begin, std::size_t end) {
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

void PlaneTransform::zeroRows(std::size_t begin, std::size_t end) {
    std::memset(halfRow(begin), 0, (end - begin) * m_halfStride * sizeof(double[2]));
}

void PlaneTransform::zeroSpectrum() {
    std::memset(m_spectrum.data(), 0, m_spectrum.size() * sizeof(double[2]));
}

void PlaneTransform::transformColumnsForward() {
    zeroRows(m_filledRows, m_rows + 1);
    m_columnsForward.execute();
}

void PlaneTransform::transformColumnsBackward() {
    m_columnsBackward.execute();
}

void PlaneTransform::combineRows(std::size_t begin, std::size_t end) {
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

void PlaneTransform::partRows(std::size_t slot, double factor) {
    part(m_transformed.data()[slot * m_columns], m_columns, factor, m_first.data(), m_second.data());
}

} // namespace dft
