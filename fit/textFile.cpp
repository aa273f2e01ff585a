// SPDX-License-Identifier: GPL-3.0-or-later
#include "fit/textFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "IO/ResultFile.h"

void writeTextFile(const std::string& path, const std::string& text) {
    ResultFile file(path);
    const bool isWritten = file.stream() != nullptr &&
                           std::fwrite(text.data(), 1, text.size(), file.stream()) == text.size() &&
                           file.commit();
    if (!isWritten) {
        const char* const reason = std::strerror(errno);
        throw std::runtime_error(path + ": it cannot be written (" + reason +
                                 "). Make room, permit writing, or give another folder by --output.");
    }
}
