// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H
#define SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H

struct fftw_plan_s;

namespace dft {

/// One-dimensional complex transforms of many rows or columns of one matrix at once, for transforms that go
/// through a grid in stages. Neither direction is scaled.
class ComplexBatchPlan {
public:
    /// The sign of the exponent.
    enum class Sign { Forward = -1, Backward = 1 };

    /// Where element e of transform t lies: at pair e * stride + t * distance.
    struct Layout {
        int length;
        int count;
        int stride;
        int distance;
    };

    /// Input and output have one layout.
    /// @param in, out  not owned, not the same; `in` may be destroyed
    /// @throws std::runtime_error with the layout if the library has no plan for it
    ComplexBatchPlan(const Layout& layout, Sign sign, double (*in)[2], double (*out)[2]);
    ~ComplexBatchPlan();

    ComplexBatchPlan(const ComplexBatchPlan&) = delete;
    ComplexBatchPlan& operator=(const ComplexBatchPlan&) = delete;

    /// Transforms the arrays that the plan was made with.
    void execute() const;

    /// Transforms other arrays of the same layout.
    /// @param in, out  as for the constructor, aligned to 16 bytes as every element of a ComplexArray is
    void execute(double (*in)[2], double (*out)[2]) const;

private:
    fftw_plan_s* m_plan;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H
