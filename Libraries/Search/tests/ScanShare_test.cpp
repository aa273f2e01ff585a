// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "Search/ScanShare.h"

namespace {

std::vector<std::size_t> countsOf(std::size_t rotations, std::size_t workers) {
    std::vector<std::size_t> counts;
    for (std::size_t i = 0; i < workers; ++i) {
        counts.push_back(ScanShare::of(i, workers, rotations).count);
    }
    return counts;
}

TEST(ScanShare, LateWorkersHaveFewerOrNone) {
    EXPECT_EQ(countsOf(10, 4), (std::vector<std::size_t>{3, 3, 3, 1}));
    EXPECT_EQ(countsOf(9, 6), (std::vector<std::size_t>{2, 2, 2, 2, 1, 0}));
    EXPECT_EQ(countsOf(0, 2), (std::vector<std::size_t>{0, 0}));
}

TEST(ScanShare, SharesFollowEachOtherAndCoverTheList) {
    for (std::size_t rotations = 0; rotations < 40; ++rotations) {
        for (std::size_t workers = 1; workers < 20; ++workers) {
            std::size_t next = 0;
            for (std::size_t i = 0; i < workers; ++i) {
                const ScanShare share = ScanShare::of(i, workers, rotations);
                EXPECT_EQ(share.worker, i);
                if (share.count > 0) {
                    EXPECT_EQ(share.first, next);
                }
                next += share.count;
            }
            EXPECT_EQ(next, rotations);
        }
    }
}

} // namespace
