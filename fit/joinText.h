// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_JOINTEXT_H
#define SELVANE_FIT_JOINTEXT_H

#include <cmath>
#include <sstream>
#include <string>

/// All parts one behind the other, as a stream writes them.
template <class... Parts>
std::string joinText(const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

/// A length or a density without the noise of its last bits.
inline double rounded(double value) {
    constexpr double digits = 1e4;
    return std::round(value * digits) / digits + 0.0; // no negative zero
}

#endif
