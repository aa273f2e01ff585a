// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_PLANETRANSFORM_H
#define SELVANE_FFTWRAPPER_PLANETRANSFORM_H

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/ComplexBatchPlan.h"

namespace dft {

/// Two-dimensional transform of one real plane of n_j rows of n_k numbers to and from its half spectrum, in
/// cache. The real side is never stored: rows come from a source and go to a sink.
///
/// Two real rows a and b make one complex row a + i b, whose transform Z separates into
///   2 A[r] = Z[r] + conj(Z[-r]),  2 B[r] = (Z[r] - conj(Z[-r])) / i.
/// The library's complex rows are twice as fast as its real ones, and any length will do.
template <class Real>
class BasicPlaneTransform {
public:
    /// @param rows  n_j, at least 1
    /// @param columns  n_k, at least 1
    /// @param filledRows  the first rows of the real side, beyond which forward() takes it as zero
    /// @throws std::bad_alloc; std::runtime_error if the library has no plan for the sizes
    BasicPlaneTransform(int rows, int columns, int filledRows);

    /// Pairs in a row of the half spectrum: n_k / 2 + 1.
    std::size_t halfRowSize() const { return m_halfRow; }

    /// Row j of the half spectrum: what forward() left and what inverse() starts from.
    Real (*spectrumRow(std::size_t j))[2] { return m_spectrum.data() + j * m_halfStride; }

    /// Half spectrum, times 2, of the plane that the source writes.
    /// @param fillRow  fillRow(j, row) writes n_k numbers and returns whether one of them isn't 0, for j = 0
    /// ..
    ///                 filledRows - 1 in this order; true is allowed for any row
    template <class FillRow>
    void forward(FillRow&& fillRow) {
        bool isZeroPlane = true;
        for (std::size_t j = 0; j < m_filledRows; j += 2 * batchSize) {
            const std::size_t end = std::min(j + 2 * batchSize, m_filledRows);
            bool isZeroBatch = true;
            for (std::size_t row = j; row < end; row += 2) {
                isZeroBatch &= !fillRow(row, m_first.data());
                if (row + 1 < end) {
                    isZeroBatch &= !fillRow(row + 1, m_second.data());
                } else {
                    std::fill(m_second.begin(), m_second.end(), Real{0});
                }
                joinRows((row - j) / 2);
            }
            if (isZeroBatch) {
                zeroRows(j, end);
                continue;
            }
            isZeroPlane = false;
            transformRows(m_forward, end - j);
            separateRows(j, end);
        }
        if (isZeroPlane) {
            zeroSpectrum();
        } else {
            transformColumnsForward();
        }
    }

    /// Unscaled plane of the half spectrum, times a factor.
    /// @param takeRow  takeRow(j, row) reads n_k numbers, for j = 0 .. n_j - 1 in this order
    template <class TakeRow>
    void inverse(Real factor, TakeRow&& takeRow) {
        transformColumnsBackward();
        for (std::size_t j = 0; j < m_rows; j += 2 * batchSize) {
            const std::size_t end = std::min(j + 2 * batchSize, m_rows);
            combineRows(j, end);
            transformRows(m_backward, end - j);
            for (std::size_t row = j; row < end; ++row) {
                if ((row - j) % 2 == 0) {
                    partRows((row - j) / 2, factor);
                }
                takeRow(row, (row - j) % 2 == 0 ? m_first.data() : m_second.data());
            }
        }
    }

private:
    /// Complex rows transformed at once: enough for wide instructions, few enough for the first-level cache.
    static constexpr std::size_t batchSize = 128 / sizeof(Real[2]);

    using RowPlans =
        std::vector<std::unique_ptr<BasicComplexBatchPlan<Real>>>; ///< by the number of rows, less 1

    RowPlans makeRowPlans(TransformSign sign);
    Real (*halfRow(std::size_t j))[2] { return m_half.data() + j * m_halfStride; }
    void joinRows(std::size_t slot);
    void transformRows(const RowPlans& plans, std::size_t realRows);
    void separateRows(std::size_t begin, std::size_t end);
    void zeroRows(std::size_t begin, std::size_t end);
    void zeroSpectrum();
    void transformColumnsForward();
    void transformColumnsBackward();
    void combineRows(std::size_t begin, std::size_t end);
    void partRows(std::size_t slot, Real factor);

    std::size_t m_rows;
    std::size_t m_columns;
    std::size_t m_filledRows;
    std::size_t m_halfRow;
    std::size_t m_halfStride;
    std::vector<Real> m_first, m_second; ///< a pair of real rows
    BasicComplexArray<Real> m_joined,
        m_transformed; ///< batchSize complex rows before and after their transform
    BasicComplexArray<Real>
        m_half; ///< between rows and columns; and a row of zeros to pair the last of an odd number
    BasicComplexArray<Real>
        m_spectrum; ///< beyond the columns: in place their transform would be slower for many lengths
    RowPlans m_forward, m_backward;
    BasicComplexBatchPlan<Real> m_columnsForward, m_columnsBackward;
};

extern template class BasicPlaneTransform<double>;
extern template class BasicPlaneTransform<float>;

using PlaneTransform = BasicPlaneTransform<double>;

} // namespace dft

#endif // SELVANE_FFTWRAPPER_PLANETRANSFORM_H
