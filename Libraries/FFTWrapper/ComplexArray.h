// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FFTWRAPPER_COMPLEXARRAY_H
#define SELVANE_FFTWRAPPER_COMPLEXARRAY_H

#include <cstddef>
#include <memory>

namespace dft {

/// Owner of an array of complex numbers as pairs (real, imaginary), aligned for the FFT library. Moves, never
/// copies.
class ComplexArray {
public:
    /// No pairs.
    ComplexArray() = default;

    /// @param size  number of pairs; all start as zero
    /// @throws std::bad_alloc if the memory is not to be had
    explicit ComplexArray(std::size_t size);

    ComplexArray(ComplexArray&& other) noexcept;
    ComplexArray& operator=(ComplexArray&& other) noexcept;

    std::size_t size() const { return m_size; }
    double (*data())[2] { return m_pairs.get(); }
    const double (*data() const)[2] { return m_pairs.get(); }

private:
    struct Free {
        void operator()(double (*pairs)[2]) const;
    };

    std::unique_ptr<double[][2], Free> m_pairs;
    std::size_t m_size = 0;
};

} // namespace dft

#endif // SELVANE_FFTWRAPPER_COMPLEXARRAY_H
