// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_TESTS_GZIPBYTES_H
#define SELVANE_FORMATS_TESTS_GZIPBYTES_H

#include <stdexcept>
#include <string>

#include <zlib.h>

/// The text as one member of a gzip file.
inline std::string gzipped(const std::string& text, int level = Z_DEFAULT_COMPRESSION) {
    constexpr int asGzip = 16 + MAX_WBITS;
    z_stream zlib{};
    if (deflateInit2(&zlib, level, Z_DEFLATED, asGzip, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::string packed(deflateBound(&zlib, static_cast<uLong>(text.size())), '\0');
    zlib.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    zlib.avail_in = static_cast<uInt>(text.size());
    zlib.next_out = reinterpret_cast<Bytef*>(packed.data());
    zlib.avail_out = static_cast<uInt>(packed.size());
    const int status = deflate(&zlib, Z_FINISH);
    packed.resize(zlib.total_out);
    deflateEnd(&zlib);
    if (status != Z_STREAM_END) {
        throw std::runtime_error("deflate");
    }
    return packed;
}

#endif
