// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ANYORDERCROSSCORRELATION_H
#define SELVANE_CROSSCORRELATION_ANYORDERCROSSCORRELATION_H

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include <armadillo>

#include "CrossCorrelation/CorrelationPattern.h"
#include "CrossCorrelation/ElectronDensity.h"
#include "CrossCorrelation/HexaustFlexibleFitConformation.h"
#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/offerScores.h"
#include "FFTWrapper/SpectralCorrelator.h"
#include "Math/cGrid.h"
#include "Math/cVector3.h"

class NormalModeEngine;
class cInfo;
struct DerivativeReader;

/// What the correlations of first, second and third order share: the correlation of a target map with the
/// simulated density of a model at every translation of the grid, and the reading of its derivatives by the
/// degrees of freedom x (translation, small rotation, mode amplitudes).
///
/// For a shift s, with T the target and P(x) the density, indices wrapped around the grid of N voxels:
///   c[s](x) = (2 pi)^-3 * sum over v of T(v) P(x)(v + s).
/// Nothing is subtracted and no norm is divided out. The derivatives of c[s] are the same sums with the
/// derivative maps of P.
///
/// An object behaves as if execute() had filled one grid per derivative. It keeps the correlation grid, the
/// spectrum of T and a pointer to the immutable pattern of that moment, and makes derivatives from these when
/// they are read: from the moments of the target under the atoms for very few voxels, by direct sums over a
/// table of the pattern's nodes for a few, by transforms for many. So a reading is right even if T or the
/// pattern has changed since.
///
/// Used by one thread at a time; the grid, the modes and patterns are shared read-only. Neither copied nor
/// moved.
class AnyOrderCrossCorrelation {
public:
    AnyOrderCrossCorrelation(const AnyOrderCrossCorrelation&) = delete;
    AnyOrderCrossCorrelation& operator=(const AnyOrderCrossCorrelation&) = delete;

    /// Evaluates the pattern at the density's present state.
    void initPatternEdm();

    /// Moves the model to x = (tau, theta, eta) and evaluates the pattern there.
    void setTweenDof(const std::array<double, 3>& tau, const std::array<double, 3>& theta,
                     const arma::Col<double>& eta);

    /// The present pattern, null before the first evaluation.
    std::shared_ptr<const CorrelationPattern> getPattern() const { return m_pattern; }

    /// Whether the next execute() takes over the present pattern rather than staying with that of the last.
    bool isPatternChanged() const { return m_patternChanged; }

    /// Correlates the target, as it stands now, with the present pattern. One that was never evaluated is
    /// zero everywhere.
    void execute();

    /// As execute(), for a target that has not been rewritten since this object's last execution.
    /// @throws std::logic_error if no pattern was executed before
    void executeOnSameTarget();

    /// Takes over state, pattern and correlation of an object that differs in its order alone, in place of
    /// moving there and executing. The target must not have been rewritten since either's last execution.
    /// @return false, and nothing done, if the two turn about different centres
    bool adoptExecution(const AnyOrderCrossCorrelation& other);

    /// Counts the calls that changed this object.
    unsigned long getRevision() const { return m_revision; }

    /// c[s] for every voxel in flat order; zeros before the first execute().
    const std::vector<double>& getCorrelation() const { return m_ccf; }

    /// Largest element of the correlation grid.
    double getMaximum() const;

    /// S = M + (1/beta) log(sum over s of exp(beta (c[s] - M))), M the maximum.
    double getSoftMaximum(double beta) const;

protected:
    enum class Derivatives { None, First, Second };

    /// A voxel with its weight exp(-beta (S - c[s])) in the derivatives of the soft maximum.
    struct WeightedVoxel {
        std::size_t shift;
        double weight;
    };

    /// @param targetEdm   T, grid->getTotalSize() values, owned and rewritten by the caller; must not move
    /// @param derivatives those that will be read
    AnyOrderCrossCorrelation(double* targetEdm, std::shared_ptr<const cGrid> grid,
                             const std::vector<std::array<double, 3>>& atoms, double sigma,
                             std::shared_ptr<const NormalModeEngine> nma, Derivatives derivatives);
    ~AnyOrderCrossCorrelation();

    void moveRotationCenter(const cVector3& center);
    void usePattern(std::shared_ptr<const CorrelationPattern> pattern);
    static void announce(cInfo& info);

    /// Correlates the target, as it stands now, with the pattern of the last execute(), or with zeros if
    /// there was none; what derivatives are read from stays as it was.
    void executeWithOldPattern();

    std::size_t nDof() const;
    bool hasExecuted() const { return m_executedPattern != nullptr; }

    /// Derivatives of c[s] in a row: gradient, then the upper triangle of the Hessian row by row.
    std::size_t columns() const;

    /// One row per shift, from the target and the pattern of the last execute(); zeros before it.
    std::vector<double> derivativesAt(const std::vector<std::size_t>& shifts) const;

    /// The same by direct sums with a target that the caller knows to be that of the last execute().
    std::vector<double> derivativesAt(const std::vector<std::size_t>& shifts, const double* target) const;

    /// The target as it stood at the last execute().
    const double* targetAsExecuted() const;

    /// The voxels, in flat order, whose weight is large enough to be seen in a sum of doubles.
    std::vector<WeightedVoxel> weightedVoxels(double softMaximum, double beta) const;

    /// The row of sums over the voxels of weight times derivative.
    std::vector<double> weightedDerivatives(const std::vector<WeightedVoxel>& voxels,
                                            const double* target) const;

    /// The gradient of c[s] at every voxel, n numbers each.
    std::vector<double> gradientsAt(const std::vector<WeightedVoxel>& voxels, const double* target) const;

    /// A candidate that waits for its derivatives has a Hessian of no rows and one column, which no other
    /// has: elements that were in the set before, with or without derivatives, stay as they are.
    static void markIncomplete(HexaustFlexibleFitConformation& conformation) {
        conformation.m_hessian.set_size(0, 1);
    }
    static void markIncomplete(FlexibleFitConformation&) {}
    static bool isIncomplete(const HexaustFlexibleFitConformation& conformation) {
        return conformation.m_hessian.n_rows == 0 && conformation.m_hessian.n_cols == 1;
    }

    /// The candidate of a voxel without its derivatives.
    template <class Conformation>
    Conformation conformationAt(std::size_t s, double alpha, double beta, double gamma) const {
        const auto [i, j, k] = m_grid->m_flatIndex2Index[s];
        Conformation conformation(m_ccf[s], static_cast<int>(i), static_cast<int>(j), static_cast<int>(k),
                                  m_eta, m_grid, alpha, beta, gamma);
        conformation.setTweenDof(m_tau, m_theta, m_eta);
        return conformation;
    }

    /// Offers every voxel above ElectronDensity::EPSILON to the set. Candidates enter without derivatives,
    /// which take no part in its order; most of them are pushed out again by later voxels.
    template <class Conformation>
    void offerVoxels(LimitedSizeSet<Conformation>& set, double alpha, double beta, double gamma) const {
        offerScores(set, m_ccf.data(), m_ccf.size(), [&](std::size_t s) {
            auto conformation = conformationAt<Conformation>(s, alpha, beta, gamma);
            markIncomplete(conformation);
            return conformation;
        });
    }

    /// Calls fill(row, element) for the marked elements: those of this rotation that stayed.
    /// @param rowsAt gives the derivatives at a list of shifts
    template <class Conformation, class RowsAt, class Fill>
    void completeConformations(LimitedSizeSet<Conformation>& set, RowsAt&& rowsAt, Fill&& fill) const {
        std::vector<std::size_t> shifts;
        std::vector<Conformation*> incomplete;
        set.forEach([&](Conformation& conformation) {
            if (isIncomplete(conformation)) {
                shifts.push_back(
                    m_grid->indexToFlatIndex(conformation.m_i, conformation.m_j, conformation.m_k));
                incomplete.push_back(&conformation);
            }
        });
        if (shifts.empty()) {
            return;
        }
        const std::vector<double> rows = rowsAt(shifts);
        for (std::size_t p = 0; p < shifts.size(); ++p) {
            incomplete[p]->m_hessian.reset();
            fill(rows.data() + p * columns(), *incomplete[p]);
        }
    }

    /// One candidate per voxel in flat order, angles zero, completed by fill(row, element).
    template <class Conformation, class Fill>
    std::vector<Conformation> allConformations(Fill&& fill) const {
        std::vector<std::size_t> shifts(m_ccf.size());
        for (std::size_t s = 0; s < shifts.size(); ++s) {
            shifts[s] = s;
        }
        const std::vector<double> rows = derivativesAt(shifts);
        std::vector<Conformation> conformations(m_ccf.size());
        for (std::size_t s = 0; s < shifts.size(); ++s) {
            conformations[s] = conformationAt<Conformation>(s, 0.0, 0.0, 0.0);
            fill(rows.data() + s * columns(), conformations[s]);
        }
        return conformations;
    }

    double* m_targetEdm;
    std::vector<double> m_ccf;

private:
    struct PatternTransform;

    const ElectronDensity& density();
    void correlateWithPattern();
    const dft::ComplexArray& executedSpectrum();
    bool isTabulated() const;
    const DensityTable& tableAsExecuted() const;
    bool prefersDirectSums(std::size_t shifts, std::size_t nodes) const;
    DerivativeReader& readerOfWholeGrids() const;
    std::vector<double> derivativesOfMoments(const std::vector<std::size_t>& shifts,
                                             const double* target) const;
    std::vector<double> derivativesByTransforms(const std::vector<std::size_t>& shifts) const;
    std::vector<double> blendTarget(const NodeBox& box, const std::vector<WeightedVoxel>& voxels,
                                    const double* target) const;
    std::vector<double> blendTargetByTransforms(const NodeBox& box,
                                                const std::vector<WeightedVoxel>& voxels) const;

    std::shared_ptr<const cGrid> m_grid;
    std::vector<std::array<double, 3>> m_atoms;
    double m_sigma;
    std::shared_ptr<const NormalModeEngine> m_nma;
    Derivatives m_derivatives;
    std::shared_ptr<const ElectronDensity> m_density; ///< replaced, never changed: patterns share it
    std::optional<cVector3> m_rotationCenter;         ///< none: the model's own
    std::shared_ptr<const CorrelationPattern> m_pattern;
    std::shared_ptr<const CorrelationPattern> m_executedPattern; ///< the pattern of the last execute()
    bool m_patternChanged = false;
    unsigned long m_revision = 0;
    dft::SpectralCorrelator m_correlator;
    std::unique_ptr<PatternTransform> m_patternTransform; ///< for patterns that come without a spectrum
    std::array<double, 3> m_tau{0.0, 0.0, 0.0};
    std::array<double, 3> m_theta{0.0, 0.0, 0.0};
    arma::Col<double> m_eta;
    mutable DensityTable m_table; ///< of the pattern below, made when it pays
    mutable std::shared_ptr<const CorrelationPattern> m_tabulatedPattern;
    mutable std::unique_ptr<DerivativeReader> m_reader; ///< of the last execute(), made by the first reading
};

#endif
