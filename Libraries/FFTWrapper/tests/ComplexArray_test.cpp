// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>

#include "FFTWrapper/ComplexArray.h"

using dft::ComplexArray;

static_assert(!std::is_copy_constructible_v<ComplexArray> && !std::is_copy_assignable_v<ComplexArray>);
static_assert(std::is_nothrow_move_constructible_v<ComplexArray> &&
              std::is_nothrow_move_assignable_v<ComplexArray>);

TEST(ComplexArray, StartsAsZeros) {
    ComplexArray array(7);
    ASSERT_EQ(array.size(), 7u);
    for (std::size_t p = 0; p < array.size(); ++p) {
        EXPECT_EQ(array.data()[p][0], 0.0);
        EXPECT_EQ(array.data()[p][1], 0.0);
    }
}

TEST(ComplexArray, IsAlignedForWideLoads) {
    const ComplexArray array(3);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(array.data()) % 16, 0u);
    const dft::SingleComplexArray single(3);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(single.data()) % 16, 0u);
}

TEST(ComplexArray, DefaultAndZeroSizedHoldNothing) {
    EXPECT_EQ(ComplexArray().size(), 0u);
    EXPECT_EQ(ComplexArray(0).size(), 0u);
}

TEST(ComplexArray, MoveHandsOverTheMemoryAndLeavesAnEmptyArray) {
    ComplexArray a(4);
    a.data()[3][1] = 2.5;
    const auto* pairs = a.data();
    ComplexArray b(std::move(a));
    EXPECT_EQ(b.data(), pairs);
    EXPECT_EQ(a.size(), 0u);
    ComplexArray c(9);
    c = std::move(b);
    ASSERT_EQ(c.size(), 4u);
    EXPECT_EQ(c.data()[3][1], 2.5);
    EXPECT_EQ(b.size(), 0u);
}

TEST(ComplexArray, SizeBeyondTheAddressSpaceThrows) {
    EXPECT_THROW(ComplexArray(std::numeric_limits<std::size_t>::max() / 8), std::bad_alloc);
}
