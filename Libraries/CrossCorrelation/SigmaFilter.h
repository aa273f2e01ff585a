// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_SIGMAFILTER_H
#define SELVANE_CROSSCORRELATION_SIGMAFILTER_H

#include <array>
#include <cstddef>

namespace fccf {

/// Mean and variance of a field that comes in pieces. Value number p, counted over all pieces, adds to lane
/// p mod 8 of a sum and of a sum of squares, so that the result depends on neither the CPU nor on where the
/// field was cut.
class FieldMoments {
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
    SigmaFilter(const FieldMoments& moments, double sigmas);

    /// The filter that leaves every value as it is: moments of no values compare with nothing.
    static SigmaFilter ofNothing() { return {FieldMoments(), 0.0}; }

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

} // namespace fccf

#endif
