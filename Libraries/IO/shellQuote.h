// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_IO_SHELLQUOTE_H
#define SELVANE_IO_SHELLQUOTE_H

#include <string>

/// The text as one word of a shell command: in single quotes, so that nothing in it is expanded.
inline std::string shellQuote(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

#endif
