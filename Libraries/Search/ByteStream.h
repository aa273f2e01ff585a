// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_SEARCH_BYTESTREAM_H
#define SELVANE_SEARCH_BYTESTREAM_H

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

/// Numbers, texts and matrices as bytes and back, in the machine's own byte order.
namespace checkpoint {

/// Bytes are there but do not make sense. Where they came from is for the catcher to tell.
struct Damage {};

template <class Number>
void append(std::string& bytes, Number value) {
    static_assert(std::is_arithmetic_v<Number>);
    bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

/// Length and characters.
inline void append(std::string& bytes, std::string_view text) {
    append(bytes, std::uint64_t{text.size()});
    bytes.append(text);
}

/// Rows, columns and elements, column by column.
template <class Matrix>
void appendMatrix(std::string& bytes, const Matrix& matrix) {
    append(bytes, std::uint64_t{matrix.n_rows});
    append(bytes, std::uint64_t{matrix.n_cols});
    bytes.append(reinterpret_cast<const char*>(matrix.memptr()), matrix.n_elem * sizeof(double));
}

/// Takes values off a buffer that may hold anything; not owned. What is not there throws Damage.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : m_bytes(bytes) {}

    template <class Number>
    void take(Number& value) {
        static_assert(std::is_arithmetic_v<Number>);
        std::memcpy(&value, takeBytes(sizeof value).data(), sizeof value);
    }

    void take(bool& value) {
        unsigned char byte = 0;
        take(byte);
        value = byte != 0;
    }

    template <class Number>
    Number take() {
        Number value{};
        take(value);
        return value;
    }

    std::string_view takeText() { return takeBytes(take<std::uint64_t>()); }

    /// A matrix of the expected size.
    template <class Matrix>
    void takeMatrix(Matrix& matrix, std::uint64_t rows, std::uint64_t columns) {
        if (take<std::uint64_t>() != rows || take<std::uint64_t>() != columns) {
            throw Damage{};
        }
        const std::string_view values = takeBytes(rows * columns * sizeof(double));
        matrix.set_size(rows, columns);
        if (!values.empty()) {
            std::memcpy(matrix.memptr(), values.data(), values.size());
        }
    }

    std::string_view takeBytes(std::uint64_t size) {
        if (size > m_bytes.size()) {
            throw Damage{};
        }
        const std::string_view taken = m_bytes.substr(0, size);
        m_bytes.remove_prefix(size);
        return taken;
    }

    void requireEnd() const {
        if (!m_bytes.empty()) {
            throw Damage{};
        }
    }

    /// The number that is next, left in place.
    std::uint64_t peek() const { return ByteReader(*this).take<std::uint64_t>(); }

private:
    std::string_view m_bytes;
};

} // namespace checkpoint

#endif
