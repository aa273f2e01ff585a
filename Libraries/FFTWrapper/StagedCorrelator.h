// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_STAGEDCORRELATOR_H
#define SELVANE_FFTWRAPPER_STAGEDCORRELATOR_H

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/ComplexBatchPlan.h"
#include "FFTWrapper/PlaneTransform.h"

class cGrid;

namespace dft {

struct Dimensions;

/// The correlation of SpectralCorrelator for a target that is zero but for the low corner of the grid and a
/// result that is looked at once: to rounding the same numbers, but neither target nor result is stored.
///
/// Three sweeps over one half spectrum, each in cache: plane by plane along x the target's rows are
/// transformed along z and y; slab by slab along y the columns are transformed along x, multiplied by the
/// pattern's spectrum and transformed back; plane by plane the rows of the result come out. Zero rows and
/// planes are not transformed, be they beyond the corner or within it.
///
/// Who has several targets or patterns at once may walk through the sweeps plane by plane and slab by slab,
/// and through those of several correlators together.
///
/// Serves one thread at a time; holds one half spectrum.
template <class Real>
class BasicStagedCorrelator {
public:
    /// @param grid    gives n_i, n_j, n_k; not kept
    /// @param filled  nodes per axis, from the low corner, beyond which the target is zero
    /// @throws std::bad_alloc; std::length_error for a grid whose sizes and total disagree, or if filled is 0
    ///         or more than the grid's nodes on an axis; std::runtime_error if the library has no plan
    BasicStagedCorrelator(const cGrid& grid, const std::array<unsigned int, 3>& filled);

    /// One more with a spectrum of its own, that works in the buffers of this one, as far as they lie in
    /// cache: for two that are used in turn, by one thread.
    BasicStagedCorrelator sibling() const { return BasicStagedCorrelator(*this); }

    BasicStagedCorrelator(BasicStagedCorrelator&&) = default;

    /// Spectrum of a pattern, for correlate() of any correlator on the same grid. What was transformed before
    /// is lost.
    /// @param values  n_i*n_j*n_k doubles in cGrid order, for any Real
    /// @param factor  of all values
    BasicComplexArray<Real> spectrumOf(const double* values, double factor = 1.0);

    /// Memory for filled[2] numbers of the nodes (i, j, .) of a target that is to come, i < filled[0] and j <
    /// filled[1]. It is the spectrum's own: transformTarget() finds what was written there while it asks for
    /// the rows of plane i, and loses it with that plane.
    Real* targetRow(std::size_t i, std::size_t j) { return slab(j)[i * m_stride]; }

    /// Takes the target.
    /// @param fillRow  fillRow(i, j, row) writes the numbers of nodes (i, j, 0) .. (i, j, filled[2] - 1) and
    ///                 returns whether one of them isn't 0, for i < filled[0], j < filled[1] in flat order;
    ///                 true is allowed for any row
    template <class FillRow>
    void transformTarget(FillRow&& fillRow) {
        for (std::size_t i = 0; i < m_filled[0]; ++i) {
            transformPlane(i, [&](std::size_t j, Real* row) { return fillRow(i, j, row); });
        }
    }

    /// Plane i of transformTarget(), i < filled[0].
    /// @param fillRow  fillRow(j, row) as there
    template <class FillRow>
    void transformPlane(std::size_t i, FillRow&& fillRow) {
        BasicPlaneTransform<Real>& plane = m_buffers->plane;
        plane.forward([&](std::size_t j, Real* row) {
            prefetchPlaneRows(i, j);
            const bool isFilled = fillRow(j, row);
            std::fill(row + m_filled[2], row + m_size[2], Real{0});
            return isFilled;
        });
        storePlane(plane, i);
    }

    /// Correlates the target, once, with a pattern.
    /// @param spectrum  of the pattern, by spectrumOf(); only read
    /// @throws std::length_error if the spectrum is of another size than the grid's
    void correlate(const BasicComplexArray<Real>& spectrum);

    /// @throws std::length_error if the spectrum is of another size than the grid's
    void requireSize(const BasicComplexArray<Real>& spectrum) const;

    /// Slab j of it, j < n_j. The spectrum is of the grid's size.
    void correlateSlab(std::size_t j, const BasicComplexArray<Real>& spectrum);

    /// The same with two patterns, whose target is transformed only once.
    /// @param other  takes the result with the second pattern, as if it had correlated this target itself;
    ///               another correlator on a grid of the same size
    /// @throws std::length_error if a spectrum or `other` is of another size than the grid's
    void correlate(const BasicComplexArray<Real>& first, const BasicComplexArray<Real>& second,
                   BasicStagedCorrelator& other);

    /// Slab j of it, j < n_j.
    void correlateSlab(std::size_t j, const BasicComplexArray<Real>& first,
                       const BasicComplexArray<Real>& second, BasicStagedCorrelator& other);

    /// Memory for n_k numbers of the nodes (i, j, .), any node of the grid: that of the result's plane i,
    /// which readPlane() no longer needs once it hands out that plane. A result that was written over cannot
    /// be read again.
    Real* resultRow(std::size_t i, std::size_t j) { return slab(j)[i * m_stride]; }

    /// Hands the result out, any number of times.
    /// @param takeRow  takeRow(i, j, row) reads the n_k numbers of nodes (i, j, .), in flat order
    template <class TakeRow>
    void readResult(TakeRow&& takeRow) {
        for (std::size_t i = 0; i < m_size[0]; ++i) {
            readPlane(i, [&](std::size_t j, const Real* row) { takeRow(i, j, row); });
        }
    }

    /// Plane i of it.
    /// @param takeRow  takeRow(j, row) as there
    template <class TakeRow>
    void readPlane(std::size_t i, TakeRow&& takeRow) {
        loadPlane(i);
        m_buffers->plane.inverse(m_scale, [&](std::size_t j, const Real* row) {
            prefetchToLoad(i + 1, j);
            takeRow(j, row);
        });
    }

private:
    /// What a plane and a slab are worked on in, with the plans for it.
    struct Buffers {
        Buffers(const std::array<std::size_t, 3>& size, std::size_t filledRows, std::size_t stride);

        BasicPlaneTransform<Real> plane;
        BasicComplexArray<Real> slab, slabSpectrum;
        BasicComplexArray<Real> product; ///< with a second pattern, once there is one
        BasicComplexBatchPlan<Real> columnsForward, columnsBackward;
    };

    BasicStagedCorrelator(const Dimensions& n, const std::array<unsigned int, 3>& filled);
    BasicStagedCorrelator(const BasicStagedCorrelator& sibling);

    void storePlane(BasicPlaneTransform<Real>& plane, std::size_t i);
    void transformSlab(std::size_t j, std::size_t filledPlanes);
    template <class Prefetch>
    void multiplySlab(std::size_t j, const BasicComplexArray<Real>& spectrum,
                      BasicComplexArray<Real>& product, Prefetch&& prefetch);
    void loadPlane(std::size_t i);
    /// Asks for the memory of the rows that follow (i, j), where targetRow() is read and the plane stored.
    void prefetchPlaneRows(std::size_t i, std::size_t j);
    void prefetchToLoad(std::size_t i, std::size_t j);
    void prefetchSlabRow(std::size_t i, std::size_t j);
    void prefetchResultRow(std::size_t i, std::size_t j);
    Real (*slab(std::size_t j))[2] { return m_spectrum.data() + j * m_size[0] * m_stride; }

    std::array<std::size_t, 3> m_size;
    std::array<std::size_t, 3> m_filled;
    Real m_scale;
    std::size_t m_stride;   ///< pairs from one row of the spectrum to the next
    std::size_t m_slabSize; ///< pairs
    std::shared_ptr<Buffers> m_buffers;
    BasicComplexArray<Real> m_spectrum; ///< rows along z, x next, y slowest, so that a slab is contiguous
};

extern template class BasicStagedCorrelator<double>;
extern template class BasicStagedCorrelator<float>;

using StagedCorrelator = BasicStagedCorrelator<double>;
using SingleStagedCorrelator = BasicStagedCorrelator<float>;

} // namespace dft

#endif // SELVANE_FFTWRAPPER_STAGEDCORRELATOR_H
