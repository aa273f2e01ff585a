// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_OPENINPUT_H
#define SELVANE_IO_OPENINPUT_H

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

/// A file that cannot be read; the text is "path: reason".
class InputError : public std::runtime_error {
public:
    InputError(const std::string& path, const std::string& reason, bool isThere)
        : std::runtime_error(path + ": " + reason), m_reason(reason), m_isThere(isThere) {}

    const std::string& reason() const { return m_reason; }

    /// Whether something was found at the path.
    bool isThere() const { return m_isThere; }

private:
    std::string m_reason;
    bool m_isThere;
};

/// Opens an input file, in binary. Only a regular file has a length and an end: a pipe would wait for its
/// other end, a device need not end, and a directory opens but cannot be read.
/// @throws InputError
std::ifstream openInput(const std::string& path);

/// The whole of an input file.
/// @throws InputError
std::vector<char> readInput(const std::string& path);

#endif
