// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_INPUTBYTES_H
#define SELVANE_FORMATS_INPUTBYTES_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>

/// The bytes of a plain or a gzipped file from its beginning to its end. Its first bytes decide which it is,
/// whatever its name. A gzipped file may consist of several members and end in zeros, as tapes and copies by
/// blocks leave them.
///
/// Memory is a fixed buffer and the window of the decompression, however long the file is.
class InputBytes {
public:
    /// @throws InputError for what is no regular file or cannot be opened
    explicit InputBytes(const std::string& path);
    InputBytes(InputBytes&&) noexcept;
    InputBytes& operator=(InputBytes&&) noexcept;
    ~InputBytes();

    bool isGzipped() const;

    /// Length of the file on the disk, bytes: for a gzipped one, the compressed length.
    std::uint64_t storedSize() const;

    /// The most bytes that may be read from the beginning on. A gzipped file can unfold to a thousand times
    /// its size, so a reader that wants all of one sets a limit.
    void setLimit(std::uint64_t bytes);

    /// Reads on.
    /// @return the number of bytes, less than `count` only at the end
    /// @throws InputError for a gzip stream that is corrupt or stops in its middle, for a file that cannot be
    ///         read, and when the file goes on beyond the limit
    std::size_t read(char* to, std::size_t count);

    /// Reads and forgets.
    /// @return the number of bytes, less than `count` only at the end
    std::uint64_t skip(std::uint64_t count);

    /// Bytes read or skipped so far.
    std::uint64_t position() const;

    const std::string& path() const;

private:
    struct Stream;
    std::unique_ptr<Stream> m_stream;
};

/// The whole of a plain or gzipped file. Text does not shrink below a 64th of its size: a gzipped file that
/// unfolds to more than that, and to more than 64 MiB, is refused.
/// @throws InputError
std::string readText(const std::string& path);

#endif
