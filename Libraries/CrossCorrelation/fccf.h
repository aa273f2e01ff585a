// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_FCCF_H
#define SELVANE_CROSSCORRELATION_FCCF_H

#include <array>
#include <cstddef>
#include <vector>

#include <armadillo>

/// Free functions on flat fields (one double per grid node) and the Jacobians of a rigid motion of one point.
namespace fccf {

/// sum_p f[p]; divided by the length if `normalize` (not a number for an empty field).
double getIntegral(const std::vector<double>& f, bool normalize);

/// sum_p f[p] g[p]; divided by the length if `normalize` (not a number for empty fields).
/// @throws std::length_error if the lengths differ
double getIntegral(const std::vector<double>& f, const std::vector<double>& g, bool normalize);

/// sum of f[p] g[p] over begin <= p < end. `normalize` divides by the whole length, not by end - begin.
/// @throws std::length_error if the lengths differ, std::out_of_range if `end` lies beyond them
double getIntegral(const std::vector<double>& f, const std::vector<double>& g, std::size_t begin,
                   std::size_t end, bool normalize);

/// The field through the SigmaFilter of its own mean and variance, in place.
void filterValues(std::vector<double>& values, double sigmas);

/// `value` raised to `low` unless above it, then lowered to `high` if that is smaller.
double bound(double value, double low, double high);

/// Indices p, ascending, with (v[p] - mean)^2 > variance * sigmas^2. Two-sided: strongly negative values
/// count.
std::vector<std::size_t> getRelevantPositions(const std::vector<double>& values, double sigmas);

/// d(displacement)/d(translation): the 3 x 3 identity.
arma::Mat<double> getTranslationDoffMatrix();

/// d(theta x d)/d(theta) for a point p and the centre c of the rotation, d = p - c:
///   |  0    d_z  -d_y |
///   | -d_z   0    d_x |
///   |  d_y -d_x    0  |
arma::Mat<double> getRotationDoffMatrix(const std::array<double, 3>& p, const std::array<double, 3>& c);

/// The 3 x 6 matrix (I | R) of the translation and rotation Jacobians, columns in the order of the
/// degrees-of-freedom vector: its product with (tau, theta) is tau + theta x (p - c).
arma::Mat<double> getRigidDofMatrix(const std::array<double, 3>& p, const std::array<double, 3>& c);

} // namespace fccf

#endif // SELVANE_CROSSCORRELATION_FCCF_H
