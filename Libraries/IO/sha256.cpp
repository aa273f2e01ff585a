// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/sha256.h"

#include <algorithm>
#include <fstream>
#include <vector>

#include "IO/openInput.h"

namespace {

/// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::array<std::uint32_t, 64> roundConstants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

constexpr std::uint32_t turned(std::uint32_t word, unsigned int by) {
    return (word >> by) | (word << (32U - by));
}

} // namespace

void Sha256::addBlock() {
    std::array<std::uint32_t, 64> words{};
    for (std::size_t t = 0; t < 16; ++t) {
        for (std::size_t byte = 0; byte < 4; ++byte) {
            words[t] = (words[t] << 8U) | m_block[4 * t + byte];
        }
    }
    for (std::size_t t = 16; t < words.size(); ++t) {
        const std::uint32_t near = words[t - 2], far = words[t - 15];
        words[t] = words[t - 16] + words[t - 7] + (turned(near, 17) ^ turned(near, 19) ^ (near >> 10U)) +
                   (turned(far, 7) ^ turned(far, 18) ^ (far >> 3U));
    }
    // The eight working words a to h of the standard.
    std::array<std::uint32_t, 8> w = m_state;
    for (std::size_t t = 0; t < words.size(); ++t) {
        const std::uint32_t first = w[7] + (turned(w[4], 6) ^ turned(w[4], 11) ^ turned(w[4], 25)) +
                                    ((w[4] & w[5]) ^ (~w[4] & w[6])) + roundConstants[t] + words[t];
        const std::uint32_t second = (turned(w[0], 2) ^ turned(w[0], 13) ^ turned(w[0], 22)) +
                                     ((w[0] & w[1]) ^ (w[0] & w[2]) ^ (w[1] & w[2]));
        std::copy_backward(w.begin(), w.end() - 1, w.end());
        w[4] += first;
        w[0] = first + second;
    }
    for (std::size_t n = 0; n < w.size(); ++n) {
        m_state[n] += w[n];
    }
}

void Sha256::add(const void* bytes, std::size_t size) {
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (size > 0) {
        const std::size_t filled = m_size % blockSize;
        const std::size_t length = std::min(size, blockSize - filled);
        std::copy(next, next + length, m_block.begin() + static_cast<std::ptrdiff_t>(filled));
        m_size += length;
        next += length;
        size -= length;
        if (m_size % blockSize == 0) {
            addBlock();
        }
    }
}

std::string Sha256::digest() {
    const std::uint64_t bits = 8 * m_size;
    const unsigned char end = 0x80;
    add(&end, 1);
    const unsigned char zero = 0;
    while (m_size % blockSize != blockSize - sizeof bits) {
        add(&zero, 1);
    }
    for (unsigned int shift = 64; shift > 0; shift -= 8) {
        const auto byte = static_cast<unsigned char>(bits >> (shift - 8));
        add(&byte, 1);
    }
    const std::string digits = "0123456789abcdef";
    std::string text;
    for (const std::uint32_t word : m_state) {
        for (unsigned int shift = 32; shift > 0; shift -= 4) {
            text += digits[(word >> (shift - 4)) & 0xFU];
        }
    }
    return text;
}

std::string sha256OfFile(const std::string& path) {
    std::ifstream file = openInput(path);
    constexpr std::size_t pieceSize = std::size_t{1} << 16;
    std::vector<char> piece(pieceSize);
    Sha256 sha;
    while (file) {
        file.read(piece.data(), static_cast<std::streamsize>(piece.size()));
        sha.add(piece.data(), static_cast<std::size_t>(file.gcount()));
    }
    if (file.bad()) {
        throw InputError(path, "cannot be read", true);
    }
    return sha.digest();
}
