// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PDB/cMemoryPool.h"

namespace {

const std::string tooLarge = "memory requested higher than chunk size of our pool!!!\n";

} // namespace

TEST(CMemoryPool, PacksRequestsOneBehindTheOther) {
    cMemoryPool pool(64);
    char* first = static_cast<char*>(pool.alloc(24));
    EXPECT_EQ(static_cast<char*>(pool.alloc(40)) - first, 24);
}

TEST(CMemoryPool, BlocksNeverOverlapAndOutliveLaterChunks) {
    cMemoryPool pool(100);
    std::vector<char*> blocks;
    for (int i = 0; i < 50; ++i) {
        blocks.push_back(static_cast<char*>(pool.alloc(32)));
        std::memset(blocks.back(), i, 32);
        pool.dealloc(blocks.front());
    }
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(std::string(blocks[static_cast<std::size_t>(i)], 32),
                  std::string(32, static_cast<char>(i)));
    }
}

TEST(CMemoryPool, LargeRequestGrowsAnUnusedChunk) {
    cMemoryPool pool(16);
    ::testing::internal::CaptureStderr();
    std::memset(pool.alloc(1000), 1, 1000);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), tooLarge);
    std::memset(pool.alloc(1000), 2, 1000); // fits the capacity now, so no note
}

TEST(CMemoryPool, LargeRequestGetsAChunkOfItsOwn) {
    cMemoryPool pool(16);
    char* small = static_cast<char*>(pool.alloc(8));
    std::memset(small, 7, 8);
    ::testing::internal::CaptureStderr();
    std::memset(pool.alloc(1000), 1, 1000);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), tooLarge);
    EXPECT_EQ(small[7], 7);
}

TEST(CMemoryPool, ManyChunksAreFreedWithoutDeepRecursion) {
    cMemoryPool pool(8);
    for (int i = 0; i < 300000; ++i) {
        pool.alloc(8);
    }
}
