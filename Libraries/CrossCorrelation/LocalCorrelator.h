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
template <class Real>
struct BasicLocalSpectra {
    dft::BasicComplexArray<Real> weights; ///< of P
    dft::BasicComplexArray<Real> mask;    ///< of m
    std::size_t maskedNodes = 0;          ///< n
};

using LocalSpectra = BasicLocalSpectra<double>;
using SingleLocalSpectra = BasicLocalSpectra<float>;

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
/// holds three half spectra, and of M, V and the scores no more than a plane, but for the rows of the result
/// that are asked for. Serves one thread at a time.
///
/// In single precision the target should come in units of about its norm, for its squares have to fit. With u
/// = 2^-24 log2 N for N nodes and some C of about 1, the errors are then no more than
///   |d overlap| <= C u |M|,  |d V| <= C u (sqrt(n) |M^2| + 2 sqrt(max sum m M^2) |M|),
///   |d score| <= |d overlap| / sqrt(f max V) + max |score| |d V| / (f max V),
/// norms over the grid. Equal floats would tie, which leaves it to the order of arrival what a set of
/// candidates keeps; so overlaps are raised by less than half their last bit, the more the larger V is there.
/// @tparam Real  double or float, of fields and spectra
template <class Real>
class BasicLocalCorrelator {
public:
    using Spectra = BasicLocalSpectra<Real>;

    /// @param grid    of all fields; not kept
    /// @param filled  nodes per axis, from the low corner, beyond which targets are zero
    /// @param floor   f, above 0 and at most 1
    /// @throws std::invalid_argument for another floor; as StagedCorrelator
    BasicLocalCorrelator(const cGrid& grid, const std::array<unsigned int, 3>& filled, double floor);

    /// Transforms a pattern, for all correlators on the same grid. What this one correlated before is lost.
    /// @param weights  P, a value per node, z fastest
    /// @param mask     m, 0 or 1 per node
    /// @throws std::length_error for fields of another size
    Spectra spectraOf(const std::vector<double>& weights, const std::vector<double>& mask);

    /// Memory for filled[2] numbers of the nodes (i, j, .) of a target, j < filled[1], until
    /// transformPlane(i).
    Real* targetRow(std::size_t j) { return m_target.data() + j * m_filled[2]; }

    /// Takes plane i of the target, times a factor. A correlation begins with all of them, i < filled[0].
    void transformPlane(std::size_t i, double factor);

    /// Correlates the target.
    /// @throws std::length_error if the pattern is of another grid
    void correlate(const Spectra& pattern);

    /// What is asked for of a result.
    struct Bounds {
        double score = -1.0;
        double overlap = -1.0;
    };

    /// Hands the result out, once: at least every row in which a score or an overlap is above its bound; each
    /// row if one of the bounds is below 0.
    /// @param takeRow  takeRow(i, j, overlaps, scores) reads the n_k doubles each of nodes (i, j, .), in flat
    ///                 order
    template <class TakeRow>
    void readResult(const Bounds& bounds, TakeRow&& takeRow) {
        keepRows(bounds);
        for (std::size_t i = 0; i < m_size[0]; ++i) {
            for (std::size_t j = 0; j < m_size[1]; ++j) {
                if (m_isKept[i * m_size[1] + j] != 0) {
                    divide(m_overlap.resultRow(i, j), m_sums.resultRow(i, j));
                    takeRow(i, j, m_overlaps.data(), m_scores.data());
                }
            }
        }
    }

    /// max V of the last result that was read: 0 where there is nothing to compare.
    double largestVariance() const { return m_largestVariance; }

private:
    void keepRows(const Bounds& bounds);
    void findVariances(std::size_t i);
    void keepRowsOfPlane(std::size_t i, const Bounds& bounds, Real leastVariance);
    void divide(const Real* overlaps, const Real* variances);

    std::array<std::size_t, 3> m_size;
    std::array<std::size_t, 3> m_filled;
    double m_floor;
    dft::BasicStagedCorrelator<Real> m_overlap;     ///< of M with P; in the end of kept rows the overlaps
    dft::BasicStagedCorrelator<Real> m_squares;     ///< of M^2 with m
    dft::BasicStagedCorrelator<Real> m_sums;        ///< of M with m; in the end of kept rows V
    std::vector<Real> m_target;                     ///< a plane of M
    std::vector<Real> m_variances;                  ///< a plane of V
    std::vector<Real> m_mostVariance, m_mostSquare; ///< a row: the largest so far with this k
    std::vector<double> m_overlaps, m_scores;       ///< a row
    std::vector<char> m_isKept;                     ///< by row of the result
    Real m_perMaskedNode = 0;                       ///< 1 / n of the last pattern, or 0
    double m_largestVariance = 0.0;
    std::size_t m_firstPlane = 0; ///< where the last result had max V
};

extern template class BasicLocalCorrelator<double>;
extern template class BasicLocalCorrelator<float>;

using LocalCorrelator = BasicLocalCorrelator<double>;
using SingleLocalCorrelator = BasicLocalCorrelator<float>;

#endif
