// SPDX-License-Identifier: GPL-3.0-or-later
#include "CrossCorrelation/offerScores.h"

#include "Math/multiversion.h"

SELVANE_MULTIVERSION
bool isAnyAbove(const double* values, std::size_t n, double floor) {
    int above = 0;
    for (std::size_t p = 0; p < n; ++p) {
        above |= values[p] > floor ? 1 : 0;
    }
    return above != 0;
}
