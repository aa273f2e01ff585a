// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_CONTENTHASH_H
#define SELVANE_SEARCH_CONTENTHASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>

/// A 64-bit hash of a sequence of values, for telling contents apart and not for keeping secrets: FNV-1a (G.
/// Fowler, L. C. Noll, K.-P. Vo) taken by words of eight bytes in place of single ones. Each step is a
/// bijection of the state, so two sequences that differ in one word never agree.
///
/// A value of not-a-number and both zeros count by their bits.
class ContentHash {
public:
    /// The length is hashed, too, so that what stands behind a text cannot be taken for its end.
    void addBytes(const void* bytes, std::size_t size) {
        const char* next = static_cast<const char*>(bytes);
        addWord(size);
        while (size > 0) {
            const std::size_t length = size < sizeof(std::uint64_t) ? size : sizeof(std::uint64_t);
            std::uint64_t word = 0;
            std::memcpy(&word, next, length);
            addWord(word);
            next += length;
            size -= length;
        }
    }

    void addText(std::string_view text) { addBytes(text.data(), text.size()); }

    template <class Number>
    void add(Number value) {
        static_assert(std::is_arithmetic_v<Number>);
        std::uint64_t word = 0;
        std::memcpy(&word, &value, sizeof value);
        addWord(word);
    }

    /// The elements of a container of numbers whose elements lie one after the other.
    template <class Container>
    void addAll(const Container& values) {
        static_assert(std::is_arithmetic_v<std::decay_t<decltype(*values.data())>>);
        addBytes(values.data(), values.size() * sizeof *values.data());
    }

    std::uint64_t value() const { return m_state; }

private:
    void addWord(std::uint64_t word) {
        m_state = (m_state ^ word) * 1099511628211ULL;
        m_state ^= m_state >> 32; // a product carries differences upwards only
    }

    std::uint64_t m_state = 14695981039346656037ULL;
};

#endif
