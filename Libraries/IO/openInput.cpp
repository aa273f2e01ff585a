// SPDX-License-Identifier: GPL-3.0-or-later
#include "IO/openInput.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <system_error>

std::ifstream openInput(const std::string& path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    const bool isThere = std::filesystem::exists(status);
    if (isThere && !std::filesystem::is_regular_file(status)) {
        throw InputError(path, "not a regular file", isThere);
    }
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) {
        throw InputError(path, std::strerror(errno), isThere);
    }
    return file;
}

std::vector<char> readInput(const std::string& path) {
    constexpr std::size_t blockSize = 65536;
    std::ifstream file = openInput(path);
    std::vector<char> bytes;
    std::size_t used = 0;
    while (file) {
        bytes.resize(used + blockSize);
        file.read(bytes.data() + used, static_cast<std::streamsize>(blockSize));
        used += static_cast<std::size_t>(file.gcount());
    }
    if (file.bad()) {
        throw InputError(path, std::strerror(errno), true);
    }
    bytes.resize(used);
    return bytes;
}
