// SPDX-License-Identifier: GPL-3.0-or-later
// Transforms of rows and of columns in both precisions against the sums of the definition.
#include <cmath>
#include <complex>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "FFTWrapper/ComplexArray.h"
#include "FFTWrapper/ComplexBatchPlan.h"
#include "Math/pi.h"

namespace {

using dft::BatchLayout;
using dft::TransformSign;

template <class Real>
std::complex<double> elementOf(const dft::BasicComplexArray<Real>& array, const BatchLayout& layout,
                               int element, int transform) {
    const auto& pair = array.data()[element * layout.stride + transform * layout.distance];
    return {double{pair[0]}, double{pair[1]}};
}

template <class Real>
void expectSums(const BatchLayout& layout, TransformSign sign) {
    const auto pairs = static_cast<std::size_t>((layout.length - 1) * layout.stride +
                                                (layout.count - 1) * layout.distance + 1);
    dft::BasicComplexArray<Real> in(pairs), out(pairs), elsewhere(pairs);
    const dft::BasicComplexBatchPlan<Real> plan(layout, sign, in.data(), out.data());
    std::mt19937 random(5);
    std::uniform_real_distribution<Real> uniform(-1, 1);
    for (std::size_t p = 0; p < pairs; ++p) {
        in.data()[p][0] = uniform(random);
        in.data()[p][1] = uniform(random);
    }
    plan.execute();
    plan.execute(in.data(), elsewhere.data());
    const double tolerance = 4.0 * std::numeric_limits<Real>::epsilon() * layout.length;
    std::vector<std::complex<double>> roots;
    for (int e = 0; e < layout.length; ++e) {
        roots.push_back(std::polar(1.0, static_cast<double>(sign) * 2.0 * pi * e / layout.length));
    }
    for (int t = 0; t < layout.count; ++t) {
        for (int q = 0; q < layout.length; ++q) {
            std::complex<double> sum = 0.0;
            for (int e = 0; e < layout.length; ++e) {
                sum += elementOf(in, layout, e, t) * roots[static_cast<std::size_t>(e * q % layout.length)];
            }
            ASSERT_NEAR(std::abs(elementOf(out, layout, q, t) - sum), 0.0, tolerance) << t << ", " << q;
            ASSERT_EQ(elementOf(elsewhere, layout, q, t), elementOf(out, layout, q, t));
        }
    }
}

template <class Real>
void expectSumsOfAnyCount() {
    for (const int length : {1, 5, 8, 12, 17}) {
        for (const int count : {1, 2, 3, 4, 5, 7, 8, 11}) {
            for (const TransformSign sign : {TransformSign::Forward, TransformSign::Backward}) {
                expectSums<Real>({length, count, count, 1}, sign);
                expectSums<Real>({length, count, count + 2, 1}, sign);
                expectSums<Real>({length, count, 1, length}, sign);
            }
        }
    }
}

} // namespace

TEST(ComplexBatchPlan, EqualsTheSumsForAnyNumberOfRowsOrColumns) {
    expectSumsOfAnyCount<double>();
}

TEST(ComplexBatchPlan, EqualsTheSumsInSinglePrecision) {
    expectSumsOfAnyCount<float>();
}
