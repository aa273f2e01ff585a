// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_OFFERSCORES_H
#define SELVANE_CROSSCORRELATION_OFFERSCORES_H

#include <algorithm>
#include <cstddef>

#include "CrossCorrelation/LimitedSizeSet.h"
#include "CrossCorrelation/scoreFloor.h"

/// Whether some of n values lies above a floor; not-a-number doesn't.
bool isAnyAbove(const double* values, std::size_t n, double floor);

/// Offers the scores above scoreFloor to a set, in their order. Those that a full set would
/// refuse are passed over many at a time.
/// @param make  make(p) gives the candidate with score number p
template <class Candidate, class Make>
void offerScores(LimitedSizeSet<Candidate>& set, const double* scores, std::size_t n, Make&& make) {
    const auto floorOf = [&set] {
        return set.isFull() ? std::max(scoreFloor, set.last().m_rigidScore) : scoreFloor;
    };
    constexpr std::size_t stride = 128;
    double floor = floorOf();
    for (std::size_t begin = 0; begin < n; begin += stride) {
        const std::size_t end = std::min(begin + stride, n);
        if (!isAnyAbove(scores + begin, end - begin, floor)) {
            continue;
        }
        for (std::size_t p = begin; p < end; ++p) {
            if (scores[p] > floor) {
                set.add(make(p));
                floor = floorOf();
            }
        }
    }
}

#endif
