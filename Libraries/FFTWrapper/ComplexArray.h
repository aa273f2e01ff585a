// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_COMPLEXARRAY_H
#define SELVANE_FFTWRAPPER_COMPLEXARRAY_H

#include <cstddef>
#include <memory>

namespace dft {

/// Owner of an array of complex numbers as pairs (real, imaginary), aligned for the FFT library. Moves, never
/// copies.
/// @tparam Real  double or float, as everywhere in this module
template <class Real>
class BasicComplexArray {
public:
    /// No pairs.
    BasicComplexArray() = default;

    /// @param size  number of pairs; all start as zero
    /// @throws std::bad_alloc if the memory is not to be had
    explicit BasicComplexArray(std::size_t size);

    BasicComplexArray(BasicComplexArray&& other) noexcept;
    BasicComplexArray& operator=(BasicComplexArray&& other) noexcept;

    std::size_t size() const { return m_size; }
    Real (*data())[2] { return m_pairs.get(); }
    const Real (*data() const)[2] { return m_pairs.get(); }

private:
    struct Free {
        void operator()(Real (*pairs)[2]) const;
    };

    std::unique_ptr<Real[][2], Free> m_pairs;
    std::size_t m_size = 0;
};

extern template class BasicComplexArray<double>;
extern template class BasicComplexArray<float>;

using ComplexArray = BasicComplexArray<double>;
using SingleComplexArray = BasicComplexArray<float>;

} // namespace dft

#endif // SELVANE_FFTWRAPPER_COMPLEXARRAY_H
