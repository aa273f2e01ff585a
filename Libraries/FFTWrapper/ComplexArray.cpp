// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/ComplexArray.h"

#include <limits>
#include <new>
#include <utility>

#include <fftw3.h>

namespace dft {

namespace {

double (*allocatePairs(std::size_t size))[2] {
    if (size == 0) {
        return nullptr;
    }
    if (size > std::numeric_limits<std::size_t>::max() / sizeof(double[2])) {
        throw std::bad_alloc();
    }
    void* memory = fftw_malloc(size * sizeof(double[2]));
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<double(*)[2]>(memory);
}

} // namespace

ComplexArray::ComplexArray(std::size_t size) : m_pairs(allocatePairs(size)), m_size(size) {
    for (std::size_t p = 0; p < size; ++p) {
        m_pairs[p][0] = 0.0;
        m_pairs[p][1] = 0.0;
    }
}

ComplexArray::ComplexArray(ComplexArray&& other) noexcept
    : m_pairs(std::move(other.m_pairs)), m_size(std::exchange(other.m_size, 0)) {}

ComplexArray& ComplexArray::operator=(ComplexArray&& other) noexcept {
    m_pairs = std::move(other.m_pairs);
    m_size = std::exchange(other.m_size, 0);
    return *this;
}

void ComplexArray::Free::operator()(double (*pairs)[2]) const {
    fftw_free(pairs);
}

} // namespace dft
