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

    /// Input and output have one layout and may be one array, in which case a call may name another array in
    /// their place.
    /// @param in, out  not owned; `in` is destroyed if it isn't `out`
    /// @throws std::runtime_error with the layout if the library has no plan for it
    ComplexBatchPlan(const Layout& layout, Sign sign, double (*in)[2], double (*out)[2]);
    ~ComplexBatchPlan();

    ComplexBatchPlan(const ComplexBatchPlan&) = delete;
    ComplexBatchPlan& operator=(const ComplexBatchPlan&) = delete;

    /// Transforms the arrays that the plan was made with.
    void execute() const;

    /// Transforms another array in place; for plans made in place.
    /// @param data  aligned to 16 bytes, as every element of a ComplexArray is
    void executeOn(double (*data)[2]) const;

private:
    fftw_plan_s* m_plan;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_COMPLEXBATCHPLAN_H
