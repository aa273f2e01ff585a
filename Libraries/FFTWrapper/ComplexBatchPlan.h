// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H
#define SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H

#include <cstddef>
#include <memory>

struct fftw_plan_s;
struct fftwf_plan_s;

namespace dft {

/// Where element e of transform t lies: at pair e * stride + t * distance.
struct BatchLayout {
    int length;
    int count;
    int stride;
    int distance;
};

/// The sign of the exponent.
enum class TransformSign { Forward = -1, Backward = 1 };

/// The library's plan for transforms of one precision.
template <class Real>
struct LibraryPlan;
template <>
struct LibraryPlan<double> {
    using Type = fftw_plan_s;
};
template <>
struct LibraryPlan<float> {
    using Type = fftwf_plan_s;
};

/// One-dimensional complex transforms of many rows or columns of one matrix at once, for transforms that go
/// through a grid in stages. Neither direction is scaled.
///
/// In single precision the library takes four columns side by side at a time if their number is a multiple of
/// four, and else, at half the speed, two: so those that are left over have a plan of their own.
template <class Real>
class BasicComplexBatchPlan {
public:
    /// In bytes, of what a plan is to be executed on.
    static constexpr std::size_t alignment = 16;

    /// Input and output have one layout.
    /// @param in, out  not owned, not the same; `in` may be destroyed
    /// @throws std::runtime_error with the layout if the library has no plan for it
    BasicComplexBatchPlan(const BatchLayout& layout, TransformSign sign, Real (*in)[2], Real (*out)[2]);

    /// Transforms the arrays that the plan was made with.
    void execute() const;

    /// Transforms other arrays of the same layout.
    /// @param in, out  as for the constructor, with this alignment
    void execute(Real (*in)[2], Real (*out)[2]) const;

private:
    using Plan = typename LibraryPlan<Real>::Type;

    struct Destroy {
        void operator()(Plan* plan) const;
    };

    std::ptrdiff_t m_restBegin; ///< the pair that the second plan begins at
    std::unique_ptr<Plan, Destroy> m_plan;
    std::unique_ptr<Plan, Destroy> m_rest; ///< may be null
};

extern template class BasicComplexBatchPlan<double>;
extern template class BasicComplexBatchPlan<float>;

using ComplexBatchPlan = BasicComplexBatchPlan<double>;

} // namespace dft

#endif // SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H
