// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_BENCHMARKS_TRANSFORMPAIR_H
#define SELVANE_BENCHMARKS_TRANSFORMPAIR_H

#include <cstddef>
#include <memory>
#include <vector>

#include "FFTWrapper/ComplexToRealPlan.h"
#include "FFTWrapper/RealToComplexPlan.h"

/// One forward and one inverse transform of a cube of doubles, out of place and on plain memory: the unit in
/// which the cost of a rotation is counted.
class TransformPair {
public:
    TransformPair(int edge, const std::vector<double>& field)
        : m_field(field)
        , m_result(field.size())
        , m_spectrum(
              std::make_unique<double[][2]>(static_cast<std::size_t>(edge) * static_cast<std::size_t>(edge) *
                                            (static_cast<std::size_t>(edge) / 2 + 1)))
        , m_forward(edge, edge, edge, m_field.data(), m_spectrum.get())
        , m_inverse(edge, edge, edge, m_spectrum.get(), m_result.data()) {}

    void execute() {
        m_forward.execute();
        m_inverse.execute();
    }

    /// The field times its number of voxels, after execute().
    const std::vector<double>& result() const { return m_result; }

private:
    std::vector<double> m_field;
    std::vector<double> m_result;
    std::unique_ptr<double[][2]> m_spectrum;
    dft::RealToComplexPlan m_forward;
    dft::ComplexToRealPlan m_inverse;
};

#endif
