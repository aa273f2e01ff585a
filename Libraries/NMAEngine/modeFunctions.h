// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_MODEFUNCTIONS_H
#define SELVANE_NMAENGINE_MODEFUNCTIONS_H

#include <array>
#include <tuple>
#include <vector>

#include <armadillo>

class NormalModeEngine;

// Free functions on modes. A flat vector of length 3N holds atom a at the entries 3a, 3a + 1, 3a + 2.

/// The rigid translations along x, y and z by one angstrom, each a column of length 3 nAtoms; not normalised.
std::tuple<arma::Col<double>, arma::Col<double>, arma::Col<double>> getTranslationBasis(unsigned long nAtoms);

/// The mass-weighted infinitesimal rotations of a whole structure about its centre of mass, 3N x 3: column i
/// holds sqrt(m_a) w_i x (x_a - c) for atom a, w_i being row i of the inverse square root of the inertia
/// tensor. The columns are orthonormal unless the atoms lie on a line; they are zero for a single atom.
/// @param positions  N, in angstrom, or a column of 3N coordinates
/// @param masses     N
/// @throws std::length_error  if the sizes don't match
void buildInfinitesimalRotationMatrix(const std::vector<std::array<double, 3>>& positions,
                                      const std::vector<double>& masses, arma::Mat<double>& out);
arma::Mat<double> buildInfinitesimalRotationMatrix(const std::vector<std::array<double, 3>>& positions,
                                                   const std::vector<double>& masses);
void buildInfinitesimalRotationMatrix(const arma::Col<double>& positions, const std::vector<double>& masses,
                                      arma::Mat<double>& out);
arma::Mat<double> buildInfinitesimalRotationMatrix(const arma::Col<double>& positions,
                                                   const std::vector<double>& masses);

/// Amplitudes of random direction and given energy: x uniform in [-1, 1] per mode from std::rand, scaled to
/// norm sqrt(scale), entry i divided by sqrt(eigenvalue i). So sum_i eigenvalue_i eta_i^2 = scale. The name's
/// first word is "generate". Eigenvalues that are not positive give entries that are not finite.
arma::Col<double> gererateRandomDeformations(const NormalModeEngine& engine, double scale);

/// Root mean square of the part of d outside the span of B, sqrt(d^T (1 - B B^T) d / n), per entry of d and
/// not per atom; 0 for an empty d.
/// @param d  n entries
/// @param B  n rows, orthonormal columns
double getRMSD(const arma::Col<double>& d, const arma::Mat<double>& B);

#endif
