// SPDX-License-Identifier: GPL-3.0-or-later
#include "examples/files.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace example {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream bytes;
    if (!in || !(bytes << in.rdbuf())) {
        throw std::runtime_error("cannot read " + path);
    }
    return bytes.str();
}

void writeFile(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        throw std::runtime_error("cannot write " + path);
    }
}

} // namespace example
