// SPDX-License-Identifier: GPL-3.0-or-later
#include "Formats/InputBytes.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>
#include <vector>

#include <zlib.h>

#include "IO/openInput.h"

namespace {

constexpr std::size_t blockSize = 1 << 18;
constexpr int gzipOnly = 16 + MAX_WBITS; // neither zlib's own wrapping nor a guess
constexpr unsigned char gzipMark[] = {0x1F, 0x8B};

/// zlib's state, which is freed with it and stays at its address, as zlib wants it.
struct Inflation {
    Inflation() {
        if (inflateInit2(&zlib, gzipOnly) != Z_OK) {
            throw std::bad_alloc();
        }
    }
    ~Inflation() { inflateEnd(&zlib); }
    Inflation(const Inflation&) = delete;
    Inflation& operator=(const Inflation&) = delete;

    z_stream zlib{};
    bool isBetweenMembers = false;
};

} // namespace

struct InputBytes::Stream {
    explicit Stream(const std::string& name) : path(name), file(openInput(name)), block(blockSize) {
        file.seekg(0, std::ios::end);
        const auto end = file.tellg();
        if (end < 0) {
            fail(std::strerror(errno));
        }
        storedSize = static_cast<std::uint64_t>(end);
        file.seekg(0);
        refill();
        if (filled >= sizeof gzipMark && std::memcmp(block.data(), gzipMark, sizeof gzipMark) == 0) {
            inflation = std::make_unique<Inflation>();
        }
    }

    [[noreturn]] void fail(const std::string& reason) const { throw InputError(path, reason, true); }

    /// The next block of the file; an empty one at its end.
    void refill() {
        file.read(block.data(), static_cast<std::streamsize>(block.size()));
        if (file.bad()) {
            fail(std::strerror(errno));
        }
        used = 0;
        filled = static_cast<std::size_t>(file.gcount());
    }

    std::size_t readPlain(char* to, std::size_t count) {
        const std::size_t inBlock = std::min(count, filled - used);
        std::memcpy(to, block.data() + used, inBlock);
        used += inBlock;
        if (inBlock == count) {
            return count;
        }
        // The rest goes past the buffer.
        file.read(to + inBlock, static_cast<std::streamsize>(count - inBlock));
        if (file.bad()) {
            fail(std::strerror(errno));
        }
        return inBlock + static_cast<std::size_t>(file.gcount());
    }

    std::size_t inflateTo(char* to, std::size_t count) {
        std::size_t done = 0;
        while (done < count) {
            if (used == filled) {
                refill();
            }
            if (inflation->isBetweenMembers && !beginsMember()) {
                break;
            }
            if (filled == 0) {
                fail("the gzip stream stops in its middle: the file is truncated; fetch it again");
            }
            done += inflateBlock(to + done, count - done);
        }
        return done;
    }

    /// Passes over the zeros behind a member.
    /// @return whether another one follows; false at the end of the file
    bool beginsMember() {
        while (filled > 0 && block[used] == '\0') {
            if (++used == filled) {
                refill();
            }
        }
        if (filled == 0) {
            return false;
        }
        if (static_cast<unsigned char>(block[used]) != gzipMark[0]) {
            fail("something else follows the gzip stream; unpack the file and give the unpacked one");
        }
        inflateReset(&inflation->zlib);
        inflation->isBetweenMembers = false;
        return true;
    }

    std::size_t inflateBlock(char* to, std::size_t count) {
        constexpr std::size_t mostAtOnce = 1 << 30; // of zlib's counters
        z_stream& zlib = inflation->zlib;
        zlib.next_in = reinterpret_cast<Bytef*>(block.data() + used);
        zlib.avail_in = static_cast<uInt>(filled - used);
        zlib.next_out = reinterpret_cast<Bytef*>(to);
        zlib.avail_out = static_cast<uInt>(std::min(count, mostAtOnce));
        const uInt wanted = zlib.avail_out;
        const int status = inflate(&zlib, Z_NO_FLUSH);
        used = filled - zlib.avail_in;
        if (status == Z_MEM_ERROR) {
            throw std::bad_alloc();
        }
        inflation->isBetweenMembers = status == Z_STREAM_END;
        if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) {
            const std::string detail = zlib.msg == nullptr ? "no gzip data" : zlib.msg;
            fail("the gzip stream is corrupt (" + detail + "); fetch the file again");
        }
        return wanted - zlib.avail_out;
    }

    std::string path;
    std::ifstream file;
    std::vector<char> block;
    std::size_t used = 0;   ///< of the block
    std::size_t filled = 0; ///< of the block
    std::uint64_t storedSize = 0;
    std::uint64_t position = 0;
    std::uint64_t limit = std::numeric_limits<std::uint64_t>::max();
    std::unique_ptr<Inflation> inflation; ///< none for a plain file
};

InputBytes::InputBytes(const std::string& path) : m_stream(std::make_unique<Stream>(path)) {}
InputBytes::InputBytes(InputBytes&&) noexcept = default;
InputBytes& InputBytes::operator=(InputBytes&&) noexcept = default;
InputBytes::~InputBytes() = default;

bool InputBytes::isGzipped() const {
    return m_stream->inflation != nullptr;
}

std::uint64_t InputBytes::storedSize() const {
    return m_stream->storedSize;
}

void InputBytes::setLimit(std::uint64_t bytes) {
    m_stream->limit = bytes;
}

std::size_t InputBytes::read(char* to, std::size_t count) {
    Stream& stream = *m_stream;
    const std::size_t got = isGzipped() ? stream.inflateTo(to, count) : stream.readPlain(to, count);
    stream.position += got;
    if (stream.position > stream.limit) {
        stream.fail("goes on beyond " + std::to_string(stream.limit) +
                    " bytes, which is not what such a file unfolds to");
    }
    return got;
}

std::uint64_t InputBytes::skip(std::uint64_t count) {
    constexpr std::size_t step = 1 << 14;
    char passed[step];
    std::uint64_t done = 0;
    while (done < count) {
        const std::size_t got =
            read(passed, static_cast<std::size_t>(std::min<std::uint64_t>(step, count - done)));
        done += got;
        if (got < step) {
            break;
        }
    }
    return done;
}

std::uint64_t InputBytes::position() const {
    return m_stream->position;
}

const std::string& InputBytes::path() const {
    return m_stream->path;
}

std::string readText(const std::string& path) {
    constexpr std::uint64_t alwaysAllowed = std::uint64_t{64} << 20;
    constexpr std::uint64_t mostFolded = 64;
    constexpr std::size_t chunk = 1 << 20;
    InputBytes bytes(path);
    if (bytes.isGzipped()) {
        bytes.setLimit(std::max(alwaysAllowed, mostFolded * bytes.storedSize()));
    }
    std::string text;
    std::size_t used = 0;
    std::size_t got = 0;
    do {
        if (text.size() < used + chunk) {
            text.resize(std::max(used + chunk, 2 * used));
        }
        got = bytes.read(text.data() + used, text.size() - used);
        used += got;
    } while (got > 0);
    text.resize(used);
    return text;
}
