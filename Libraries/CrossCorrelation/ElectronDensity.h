// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_ELECTRONDENSITY_H
#define SELVANE_CROSSCORRELATION_ELECTRONDENSITY_H

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include <armadillo>

#include "CrossCorrelation/DensityTable.h"
#include "CrossCorrelation/NodeBox.h"
#include "CrossCorrelation/scoreFloor.h"
#include "Math/cBBox.h"

class NormalModeEngine;
class cGrid;
struct AtomGaussian;
enum class DensityOrder;

/// The density that an atomic model produces on a grid, with its derivatives by a small set of degrees of
/// freedom.
///
/// Every atom is one isotropic Gaussian of standard deviation sigma, cut to a box of whole nodes and scaled
/// so that its contributions on the grid add up to exactly 1:
///   rho(x_n) = sum over atoms a that reach node n of w_a c exp(-|x_n - p_a - u_a|^2 / (2 sigma^2)).
/// The degrees of freedom q = (t, w, eta), D = 6 + modes of them, move the atoms to first order about a
/// centre C:
///   u_a = J_a q = t + w x (p_a - C) + G_a eta,
/// t in angstrom, w in radians, eta in the modes' own scale. All atoms count the same: neither mass nor
/// element enters.
///
/// An exponential factorises over the axes, so an atom costs a few exponentials per axis and a contact with a
/// node a few products. Every sum over atoms runs in ascending order of the atoms.
///
/// Arrays on the grid are flat with z fastest; derivative arrays are stored degree of freedom first, node
/// last. A copy is cheap (56 bytes an atom): the Jacobians are shared until one of the two moves its rotation
/// centre. Evaluations may run on several threads at once, but not beside a change.
class ElectronDensity {
public:
    /// The density below which a Gaussian is cut, and the floor of a candidate's score.
    static constexpr double EPSILON = scoreFloor;

    /// @param positions nAtoms reference positions, copied
    /// @param sigma     standard deviation of a Gaussian, in angstrom
    /// @param eta       the first mode amplitudes; engine.m_nModes entries
    /// @param epsilon   the density at which a Gaussian is cut; EPSILON everywhere
    /// @throws std::invalid_argument if sigma leaves no density above epsilon (beyond about 74 angstrom)
    /// @throws std::logic_error of the matrix library if eta does not fit the modes
    ElectronDensity(const std::array<double, 3>* positions, double sigma, unsigned long nAtoms,
                    std::shared_ptr<const cGrid> grid, const NormalModeEngine& engine,
                    const arma::Col<double>& eta, double epsilon);

    /// Moves the centre that small rotations turn about. Displacements, contacts and weights follow only at
    /// the next setTweenDof.
    void setRotationCenter(const std::array<double, 3>& center);
    void setRotationCenter(const cVector3& center);

    /// Rebuilds the weights around the present positions; the contacts follow from the positions alone.
    void initAtomContributionMap();

    /// Sets q = (translation, rotation, eta) and rebuilds contacts and weights.
    void setTweenDof(const std::array<double, 3>& translation, const std::array<double, 3>& rotation,
                     const arma::Col<double>& eta);

    /// rho at every node.
    /// @throws std::length_error unless values has one entry per node
    void eval(std::vector<double>& values) const;

    /// rho, and gradient[k][n] = d rho(n) / d q[k], for weights and contacts held fixed.
    /// @throws std::length_error on arrays of another size, with the expected one
    void evalRigidFlex(std::vector<double>& values, std::vector<std::vector<double>>& gradient) const;

    /// The same, and hessian[r D + s][n] = d2 rho(n) / d q[r] d q[s].
    void evalRigidFlex(std::vector<double>& values, std::vector<std::vector<double>>& gradient,
                       std::vector<std::vector<double>>& hessian) const;

    /// y = J_a^T (x - p_a - u_a) / sigma^2 for the node at x: the gradient of the logarithm of one Gaussian.
    arma::Col<double> evalRigidFlexGradYFunction(int atom, const std::array<double, 3>& node) const;

    /// Density, gradient and Hessian at the reached nodes only; the same numbers as evalRigidFlex.
    DensityTable tabulate(bool withHessian = true) const;

    /// Adds rho to a field of the whole grid, touching reachedBox() alone.
    void addDensity(double* field) const;

    /// The D gradient fields, one after another, on reachedBox().
    std::vector<double> gradientOnBox() const;

    /// For each field f on reachedBox(), a row of sums over its nodes n:
    ///   sum f(n) d rho(n) / dq_i, then sum f(n) d2 rho(n) / dq_i dq_j in the order of DensityTable.
    /// They come from moments of f under each atom's Gaussian, at the cost of a few values of rho whatever
    /// the number of degrees of freedom.
    /// @throws std::length_error for a field of another size
    std::vector<double> weighDerivatives(const std::vector<std::vector<double>>& fields,
                                         bool withHessian) const;

    /// The nodes that an atom reaches: a box of whole nodes around its nearest node, cut at the grid's faces.
    NodeBox reachOf(std::size_t atom) const;

    /// The smallest box of nodes that holds all that some atom reaches.
    NodeBox reachedBox() const;

    std::size_t nDof() const { return m_nDof; }
    std::size_t atomCount() const { return m_positions.size(); }
    double atomWeight(std::size_t atom) const { return m_atomWeights[atom]; }
    double gaussianNorm() const { return m_gaussianNorm; }
    double cutoffDiameter() const { return m_cutoffDiameter; }

    // Operations on grids, which need no model; each is a free function with a file of its own.

    /// padField()
    static void zeroPadd(const double* source, const cGrid& sourceGrid, const cGrid& targetGrid,
                         double* target);
    static void zeroPadd(const std::vector<double>& source, const cGrid& sourceGrid, const cGrid& targetGrid,
                         std::vector<double>& target);

    /// rotateMap()
    static void rotateNonZeroPadded(const std::vector<double>& source, const cGrid& sourceGrid,
                                    const std::array<double, 3>& eulerAngles, const cGrid& targetGrid,
                                    double* target, double threshold);

    /// modelBox()
    static cBBox getBoundingBox(const std::vector<std::array<double, 3>>& positions, double sigma,
                                double epsilon, double scale);
    static cBBox getBoundingBox(const arma::Col<double>& coordinates, double sigma, double epsilon,
                                double scale);

private:
    void place(std::size_t atom, AtomGaussian& gaussian) const;
    template <class Visit>
    void forEachRow(DensityOrder order, Visit&& visit) const;
    void evalColumns(std::vector<double>& values, std::vector<std::vector<double>>& gradient,
                     std::vector<std::vector<double>>* hessian) const;
    std::array<double, 3> atomPosition(std::size_t atom) const;
    void moveAtoms(const arma::Col<double>& q);
    void checkValues(const std::vector<double>& values) const;
    void checkGradient(const std::vector<std::vector<double>>& gradient) const;

    std::vector<std::array<double, 3>> m_positions;
    std::shared_ptr<const std::vector<double>> m_atomDofMatrix; ///< J_a, 3 x D row by row, atom after atom
    std::vector<std::array<double, 3>> m_displacements;
    std::size_t m_nModes;
    std::size_t m_nDof;
    double m_sigma;
    double m_invSigma2;
    double m_twoSigma2;
    double m_gaussianNorm;
    std::vector<double> m_atomWeights;
    double m_cutoffDiameter;
    std::shared_ptr<const cGrid> m_grid;
};

#endif
