// SPDX-License-Identifier: GPL-3.0-or-later
#include "PDB/formatCoordinate.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace {

constexpr std::ptrdiff_t width = 8;

/// Below this many thousandths their product is off by less than 1e-7 of one, a tenth of tieMargin.
constexpr double largestThousandths = 1e9;
constexpr double tieMargin = 1e-6;

char* formatByLibrary(double value, char* out) {
    return out + std::snprintf(out, coordinateCapacity, "%8.3f", value);
}

} // namespace

char* formatCoordinate(double value, char* out) {
    const double scaled = std::fabs(value) * 1000.0;
    if (!(scaled < largestThousandths)) {
        return formatByLibrary(value, out);
    }
    auto thousandths = static_cast<std::uint32_t>(scaled);
    const double rest = scaled - thousandths;
    if (std::fabs(rest - 0.5) < tieMargin) {
        return formatByLibrary(value, out); // the rounded product does not tell which side of a tie this is
    }
    thousandths += rest > 0.5 ? 1U : 0U;

    char text[16]; // from its end; the longest is "-1000000.000"
    std::memset(text, ' ', sizeof text);
    char* const end = text + sizeof text;
    char* first = end;
    const auto putDigit = [&] {
        *--first = static_cast<char>('0' + thousandths % 10);
        thousandths /= 10;
    };
    for (int decimal = 0; decimal < 3; ++decimal) {
        putDigit();
    }
    *--first = '.';
    do {
        putDigit();
    } while (thousandths > 0);
    if (std::signbit(value)) {
        *--first = '-';
    }
    const std::ptrdiff_t length = end - first > width ? end - first : width;
    std::memcpy(out, end - length, static_cast<std::size_t>(length));
    return out + length;
}
