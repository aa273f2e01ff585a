// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_INTERFACE_CROSSCORRELATIONORACLE_H
#define SELVANE_INTERFACE_CROSSCORRELATIONORACLE_H

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <armadillo>

#include "Optimization/ThirdOrderOracle.h"

class FirstOrderCrossCorrelation;
class NormalModeEngine;
class SecondOrderCrossCorrelation;
class ThirdOrderCrossCorrelation;
class cGrid;
class cVector3;

/// How badly a model fits a rotated map at its best translation, as a smooth function of the degrees of
/// freedom x: with c[s](x) the correlation at shift s,
///   f(x) = -S(x) + B(x),  S = M + (1/beta) log(sum over s of exp(beta (c[s] - M))),  M = max over s of c[s].
/// A large beta makes S follow the highest peak; it multiplies correlation values directly, so their scale
/// matters.
///
/// B is zero unless a log barrier is on. It then keeps translation and rotation increments in balls: with
/// h_1 = |x[0..2]|^2 - r_tau^2 and h_2 = |x[3..5]|^2 - r_theta^2, each adds -log(-h)/t inside, and a point
/// outside has the largest finite value. Amplitudes are not bounded.
///
/// Values come from a first-order correlation, gradients from a second-order and Hessians from a third-order
/// one, which are made by the init functions or, if lazy, when first needed. The derivatives are those of the
/// correlations: contacts and weights of the density held fixed.
///
/// As long as the target stays, it is transformed once per correlation, and a call with derivatives at the
/// point of the last value takes over its correlation: so a solver that evaluates a trial point and then asks
/// for its derivatives pays for one pair of transforms a step. A copy of the target tells whether it stayed.
/// The oracle belongs to one thread.
class CrossCorrelationOracle : public ThirdOrderOracle {
public:
    /// @param targetEdm   the rotated map, grid->getTotalSize() values; not owned, may be rewritten between
    ///                    calls, must not move
    /// @param atoms       must outlive the oracle
    /// @param softMaxBeta beta
    /// @param lazyInit    whether a correlation that is missing is made on first need
    CrossCorrelationOracle(double* targetEdm, std::shared_ptr<const cGrid> grid,
                           const std::vector<std::array<double, 3>>& atoms, double sigma,
                           std::shared_ptr<const NormalModeEngine> nma, double softMaxBeta, bool lazyInit);
    virtual ~CrossCorrelationOracle();
    CrossCorrelationOracle(const CrossCorrelationOracle&) = delete;
    CrossCorrelationOracle& operator=(const CrossCorrelationOracle&) = delete;

    /// Makes the first- and second-order correlations, each only if missing.
    void initAsSecondOrder();

    /// Makes the first- and third-order correlations, each only if missing.
    void initAsThirdOrder();

    /// Frees the correlations.
    void clearMemory();

    /// Moves the rotation centre of each correlation that exists, and says so on the standard output.
    void setRotationCenter(const cVector3& center);

    /// Evaluates the pattern of each correlation that exists, and says so on the standard output.
    void initPatternEdm();

    /// Turns the barrier on. A larger t makes it flatter inside.
    void enableLogBarrier(double t, double translationBound, double rotationBound);

    /// x in its parts: translation in angstrom, infinitesimal rotation in radians, mode amplitudes.
    /// @throws std::logic_error if x has fewer than six elements
    std::tuple<std::array<double, 3>, std::array<double, 3>, arma::Col<double>>
    getTweenDof(const arma::Col<double>& x) const;

    /// x[0..2] in place, zeros elsewhere.
    /// @throws std::logic_error if x has fewer than six elements, as the two below
    arma::Col<double> getTranslation(const arma::Col<double>& x) const;

    /// x[3..5] in place, zeros elsewhere.
    arma::Col<double> getRotation(const arma::Col<double>& x) const;

    /// Gradient of a constraint of the barrier: 2 getTranslation(x) for i = 1, else 2 getRotation(x).
    arma::Col<double> logbarDhdx(std::size_t i, const arma::Col<double>& x) const;

    /// f(x) with both barrier terms. Of a violated bound, the largest finite double stands for all that came
    /// before it.
    /// @throws std::logic_error if the first-order correlation is missing, or x has another length than n
    double getFunctionValue(const arma::Col<double>& x) override;

    /// f(x) with both barrier terms. Not a gradient: what comes back in `gradient` is one element, -1.
    /// @throws std::logic_error if the second-order correlation is missing or x has another length than n,
    ///         and the matrix library's "subtraction" error with the barrier on
    double getFunctionGradient(const arma::Col<double>& x, arma::Col<double>& gradient) override;

    /// f(x), gradient (n) and Hessian (n x n), of the barrier terms that of the rotation alone.
    /// @throws std::logic_error if the third-order correlation is missing, or x has another length than n
    double getFunctionGradiantAndHessian(const arma::Col<double>& x, arma::Col<double>& gradient,
                                         arma::Mat<double>& hessian) override;

    /// Writes a profile of f per mode i to prefix-mode-i-suffix: lines of a value and f there. The point is a
    /// vector of one element per mode and not a degrees-of-freedom vector, so with modes this fails at its
    /// first evaluation.
    /// @throws std::logic_error as getFunctionValue
    void print(const std::string& prefix, const std::string& suffix, double low, double high, double step);

    /// The correlations; null while missing.
    FirstOrderCrossCorrelation* getFirstOrder() const { return m_pFirstOrderCCF.get(); }
    SecondOrderCrossCorrelation* getSecondOrder() const { return m_pSecondOrderCCF.get(); }
    ThirdOrderCrossCorrelation* getThirdOrder() const { return m_pThirdOrderCCF.get(); }

private:
    /// What the last call left in a correlation that nobody else has touched since.
    struct Evaluation {
        const void* correlation = nullptr;
        unsigned long revision = 0;
        arma::Col<double> x;
    };

    template <class Correlation>
    void make(std::unique_ptr<Correlation>& correlation) const;
    template <class Correlation>
    static bool isUntouched(const Evaluation& last, const Correlation* correlation);
    void noticeTarget();
    template <class Correlation>
    Correlation& moveTo(const arma::Col<double>& x, std::unique_ptr<Correlation>& correlation,
                        Evaluation& last);
    template <class Correlation>
    void evaluate(const arma::Col<double>& x, Correlation& correlation, const Evaluation& last) const;
    double constraint(std::size_t i, const arma::Col<double>& x) const;
    double addBarrier(double value, double constraintValue) const;

    double* m_targetEdm;
    std::shared_ptr<const cGrid> m_grid;
    const std::vector<std::array<double, 3>>& m_atoms;
    double m_sigma;
    std::shared_ptr<const NormalModeEngine> m_nma;
    std::unique_ptr<FirstOrderCrossCorrelation> m_pFirstOrderCCF;
    std::unique_ptr<SecondOrderCrossCorrelation> m_pSecondOrderCCF;
    std::unique_ptr<ThirdOrderCrossCorrelation> m_pThirdOrderCCF;
    std::vector<double> m_knownTarget; ///< the target of the evaluations below
    Evaluation m_firstOrder;
    Evaluation m_secondOrder;
    Evaluation m_thirdOrder;
    double m_softMaxBeta;
    std::size_t m_nModes;
    bool m_lazyInit;
    bool m_logBarrierEnabled = false;
    double m_logBarrierT = 0.0;
    double m_logBarrierTranslation = 0.0;
    double m_logBarrierRotation = 0.0;
};

#endif
