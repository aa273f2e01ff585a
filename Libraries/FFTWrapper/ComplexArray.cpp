// SPDX-License-Identifier: GPL-3.0-or-later
#include "FFTWrapper/ComplexArray.h"

#include <cstdlib>
#include <limits>
#include <new>
#include <utility>

#include <sys/mman.h>

namespace dft {

namespace {

constexpr std::size_t cacheLine = 64;
constexpr std::size_t hugePage = std::size_t{1} << 21;

/// Large arrays ask for huge pages: transforms hop through them in steps of kilobytes, and with small pages
/// every hop misses in the table of pages.
template <class Real>
Real (*allocatePairs(std::size_t size))[2] {
    if (size == 0) {
        return nullptr;
    }
    if (size > (std::numeric_limits<std::size_t>::max() - hugePage) / sizeof(Real[2])) {
        throw std::bad_alloc();
    }
    const std::size_t needed = size * sizeof(Real[2]);
    const std::size_t unit = needed < hugePage ? cacheLine : hugePage;
    const std::size_t bytes = (needed + unit - 1) / unit * unit;
    void* const memory = std::aligned_alloc(unit, bytes);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (unit == hugePage) {
        madvise(memory, bytes, MADV_HUGEPAGE); // a wish; where it isn't granted the array works all the same
    }
    return static_cast<Real(*)[2]>(memory);
}

} // namespace

template <class Real>
BasicComplexArray<Real>::BasicComplexArray(std::size_t size)
    : m_pairs(allocatePairs<Real>(size)), m_size(size) {
    for (std::size_t p = 0; p < size; ++p) {
        m_pairs[p][0] = Real{0};
        m_pairs[p][1] = Real{0};
    }
}

template <class Real>
BasicComplexArray<Real>::BasicComplexArray(BasicComplexArray&& other) noexcept
    : m_pairs(std::move(other.m_pairs)), m_size(std::exchange(other.m_size, 0)) {}

template <class Real>
BasicComplexArray<Real>& BasicComplexArray<Real>::operator=(BasicComplexArray&& other) noexcept {
    m_pairs = std::move(other.m_pairs);
    m_size = std::exchange(other.m_size, 0);
    return *this;
}

template <class Real>
void BasicComplexArray<Real>::Free::operator()(Real (*pairs)[2]) const {
    std::free(pairs);
}

template class BasicComplexArray<double>;
template class BasicComplexArray<float>;

} // namespace dft
