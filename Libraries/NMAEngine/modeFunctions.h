// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_NMAENGINE_MODEFUNCTIONS_H
#define SELVANE_NMAENGINE_MODEFUNCTIONS_H

#include <armadillo>
#include <array>
#include <tuple>
#include <vector>

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

#endif
