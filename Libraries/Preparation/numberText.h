// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_NUMBERTEXT_H
#define SELVANE_PREPARATION_NUMBERTEXT_H

#include <cstdio>
#include <string>

/// A number of a remark, to four digits.
inline std::string numberText(double value) {
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%.4g", value);
    return buffer;
}

#endif
