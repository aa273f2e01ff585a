// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/resources.h"

#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>

namespace {

TEST(Resources, MemoryIsPositiveAndNoMoreIsFreeThanThereIs) {
    const resources::Memory memory = resources::memory();
    EXPECT_GT(memory.total, 0.0);
    EXPECT_GE(memory.available, 0.0);
    EXPECT_LE(memory.available, memory.total);
}

TEST(Resources, FreeDiskOfADirectoryIsKnown) {
    const double free = resources::freeDisk(std::filesystem::temp_directory_path().string());
    EXPECT_TRUE(std::isfinite(free));
    EXPECT_GE(free, 0.0);
}

TEST(Resources, FreeDiskOfNoDirectoryIsUnknown) {
    EXPECT_TRUE(std::isinf(resources::freeDisk("/no/such/directory")));
}

} // namespace
