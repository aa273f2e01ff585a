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

/// Mean and variance of a field that comes in pieces. Value number p, counted over all pieces, adds to lane
/// p mod 8 of a sum and of a sum of squares, so that the result depends on neither the CPU nor on where the
/// field was cut.
class MomentSums {
public:
    void add(const double* values, std::size_t n);

    /// Not a number before the first value.
    double mean() const;

    /// Mean of the squares minus square of the mean; may come out slightly negative by rounding.
    double variance() const;

private:
    static constexpr std::size_t lanes = 8;
    std::array<double, lanes> m_sums{};
    std::array<double, lanes> m_squares{};
    std::size_t m_count = 0;
};

/// Keeps what lies at least `sigmas` standard deviations above the mean and sets the rest to 0, value by
/// value. With mean mu and variance V: a negative mu is first added to every value; then every v with
/// sqrt(V) * sigmas > v - mu becomes 0. Survivors are not shifted back.
class SigmaFilter {
public:
    SigmaFilter(const MomentSums& moments, double sigmas);

    double operator()(double v) const {
        const double shifted = v + m_shift;
        return m_threshold > shifted - m_mean ? 0.0 : shifted;
    }

    /// Filters n values from one place into another.
    /// @return whether one of the results isn't 0
    bool apply(const double* in, std::size_t n, double* out) const;

private:
    double m_mean, m_shift, m_threshold;
};

/// The field through the SigmaFilter of its own moments, in place.
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
