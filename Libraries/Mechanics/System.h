// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MECHANICS_SYSTEM_H
#define SELVANE_MECHANICS_SYSTEM_H

#include <array>
#include <memory>
#include <vector>

#include <armadillo>

#include "Mechanics/OwnedMatrix.h"

class cInfo;
class cPDBAtom;
class cTrajectory;
template <typename T>
class NeighbourList;

/// Elastic network of a structure: one spring between every two atoms nearer than a cut-off, as the
/// mass-weighted second derivatives of the network's energy
///   E = k/2 sum over pairs of (|x_i - x_j| - d_ij)^2
/// at the structure itself (anisotropic network model: A. R. Atilgan et al., 2001).
///
/// In place of a network it can hold the covariance of a trajectory.
///
/// Degrees of freedom are ordered atom by atom, x, y, z within an atom: index 3a + c. A const one cannot be
/// changed through any of its members.
class System {
public:
    /// @param neighbours  every pair twice, once from each side, no atom with itself; the indices are places
    ///                    in masses
    /// @param masses      one per atom, in dalton
    /// @param k           spring constant
    /// @param info        sink of the memory report and of error messages; not owned, may be null
    System(const NeighbourList<std::array<double, 3>>& neighbours, const std::vector<double>& masses,
           double k, cInfo* info);

    /// Finds the pairs itself. The atoms' m_index are their places in atoms.
    /// @param cutoff  in angstrom; pairs strictly nearer get a spring
    System(std::vector<cPDBAtom>& atoms, double cutoff, double k, cInfo* info);

    /// A system without springs, of which the frames of a trajectory are known instead: the mass vectors and
    /// the mass-weighted covariance of cTrajectory::getCovariance. m_hessian is null, m_springConstant is 0.
    /// The covariance is that of the frames there are now, and outlives the trajectory if need be.
    /// @param masses  one per atom, in dalton
    /// @throws std::invalid_argument  without a trajectory
    /// @throws std::logic_error       a trajectory without frames
    /// @throws std::length_error      another number of masses than of atoms in a frame
    System(cTrajectory* trajectory, const std::vector<double>& masses, cInfo* info);

    /// Fills the three mass vectors. The inverse roots are taken in double precision of masses, but in single
    /// precision of the atoms' own single-precision masses.
    void buildIsqrtMassMatrix(const std::vector<double>& masses);
    void buildIsqrtMassMatrix(const std::vector<cPDBAtom>& atoms);
    /// m_sqrtMass from m_mass.
    void buildSqrtMassMatrix();

    /// Builds m_hessian = M^(-1/2) H M^(-1/2) of
    ///   H_ij = -(k / d^2) r r^T for every record, r = x_i - x_j;  H_ii = -(sum of H_ij over the records of
    ///   i).
    /// An atom without a neighbour ends the process with status 0 and a message. Two atoms at one position
    /// have no direction: their block is zero, and it is for the caller, who knows their names, to say so.
    /// The peak of memory is the matrix itself, 16 bytes per entry, and 8 bytes per record.
    /// @throws std::length_error  if nAtoms isn't the number of masses
    /// @throws std::out_of_range  for an atom index outside 0 .. nAtoms - 1
    /// @throws std::logic_error   for a pair that is listed twice from one side, or an atom paired with
    /// itself
    void buildMassWeightedStiffnessMatrix(const NeighbourList<std::array<double, 3>>& neighbours,
                                          unsigned int nAtoms);

    cInfo* const m_info;                             ///< not owned, may be null
    arma::Col<double> m_isqrtMass;                   ///< 3N, 1 / sqrt(mass of atom a) at 3a + c
    arma::Col<double> m_sqrtMass;                    ///< 3N, sqrt(mass of atom a) at 3a + c
    arma::Col<double> m_mass;                        ///< 3N, mass of atom a at 3a + c
    OwnedMatrix m_hessian;                           ///< 3N x 3N, mass-weighted, exactly symmetric
    const arma::Mat<double>* m_covariance = nullptr; ///< 3N x 3N, mass-weighted; null for a network
    const unsigned int m_nDof;                       ///< 3N
    const double m_springConstant;                   ///< k; 0 without springs

private:
    std::shared_ptr<const arma::Mat<double>> m_trajectoryCovariance; ///< behind m_covariance
};

#endif
