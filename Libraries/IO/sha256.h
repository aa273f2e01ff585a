// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_SHA256_H
#define SELVANE_IO_SHA256_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

/// The SHA-256 digest of a sequence of bytes (FIPS 180-4), by which others can tell which file was meant.
class Sha256 {
public:
    void add(const void* bytes, std::size_t size);

    /// 64 digits of lower case. Nothing may be added after it.
    std::string digest();

private:
    void addBlock();

    static constexpr std::size_t blockSize = 64;
    std::array<std::uint32_t, 8> m_state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                            0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<unsigned char, blockSize> m_block{};
    std::uint64_t m_size = 0; ///< bytes so far
};

/// The digest of a file, which is read piece by piece.
/// @throws InputError
std::string sha256OfFile(const std::string& path);

#endif
