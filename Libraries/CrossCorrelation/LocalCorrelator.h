// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_LOCALCORRELATOR_H
#define SELVANE_CROSSCORRELATION_LOCALCORRELATOR_H

#include <array>
#include <cstddef>
#include <vector>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/StagedCorrelator.h"

class cGrid;

/// A pattern and the mask that it is compared in, as LocalCorrelator takes them. Immutable, shared by all
/// correlators on one grid.
struct LocalSpectra {
    dft::ComplexArray weights;   ///< of P
    dft::ComplexArray mask;      ///< of m
    std::size_t maskedNodes = 0; ///< n
};

/// Correlates a target M with a pattern P, both over the mask m of the pattern alone, at every shift s. With
/// P of mean 0 and norm 1 over the n nodes of m, and 0 elsewhere,
///   overlap[s] = sum P(v + s) M(v),
///   V[s]       = sum m(v + s) M(v)^2 - (sum m(v + s) M(v))^2 / n,
///   score[s]   = overlap[s] / sqrt(max(V[s], f max V)),
/// sums over all v of the grid, v + s wrapped per axis, max V over all s of this target. So M is compared
/// with the pattern about its own mean under the mask and in units of its own deviation there, and the score
/// is a correlation coefficient; the floor f keeps places of hardly any density from winning by their noise.
/// Where no V is above the rounding of its sums, or the mask is empty, every score is 0.
///
/// Three sweeps as those of StagedCorrelator, for two forward and three inverse transforms of real fields;
/// holds three half spectra and neither M, V nor scores as fields of their own. Serves one thread at a time.
class LocalCorrelator {
public:
    /// @param grid    of all fields; not kept
    /// @param filled  nodes per axis, from the low corner, beyond which targets are zero
    /// @param floor   f, above 0 and at most 1
    /// @throws std::invalid_argument for another floor; as StagedCorrelator
    LocalCorrelator(const cGrid& grid, const std::array<unsigned int, 3>& filled, double floor);

    /// Transforms a pattern, for all correlators on the same grid. What this one correlated before is lost.
    /// @param weights  P, a value per node, z fastest
    /// @param mask     m, 0 or 1 per node
    /// @throws std::length_error for fields of another size
    LocalSpectra spectraOf(const std::vector<double>& weights, const std::vector<double>& mask);

    /// Memory for filled[2] numbers of the nodes (i, j, .) of a target that is to come, i < filled[0] and j <
    /// filled[1].
    double* targetRow(std::size_t i, std::size_t j) { return m_overlap.targetRow(i, j); }

    /// Correlates the target in targetRow(), times a factor. The target is lost.
    void correlate(const LocalSpectra& pattern, double factor);

    /// Hands the result out, any number of times.
    /// @param takeRow  takeRow(i, j, overlaps, scores) reads the n_k numbers each of nodes (i, j, .), in flat
    ///                 order
    template <class TakeRow>
    void readResult(TakeRow&& takeRow) {
        m_overlap.readResult([&](std::size_t i, std::size_t j, const double* overlaps) {
            divide(overlaps, m_sums.resultRow(i, j));
            takeRow(i, j, overlaps, m_scores.data());
        });
    }

    /// max V of the last target: 0 where there is nothing to compare.
    double largestVariance() const { return m_largestVariance; }

private:
    void transformTarget(double factor);
    void findVariances(std::size_t maskedNodes);
    void divide(const double* overlaps, const double* variances);

    std::array<std::size_t, 3> m_size;
    std::array<std::size_t, 3> m_filled;
    double m_floor;
    dft::StagedCorrelator m_overlap; ///< of M with P
    dft::StagedCorrelator m_squares; ///< of M^2 with m
    dft::StagedCorrelator m_sums;    ///< of M with m; and V in place of it, once both are known
    double m_largestVariance = 0.0;
    std::vector<double> m_scores; ///< a row
};

#endif
