// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include <gtest/gtest.h>

#include "Formats/halfFloat.h"

TEST(HalfFloat, EveryNumberIsItsFractionTimesItsPowerOfTwo) {
    for (unsigned int bits = 0; bits < 0x10000U; ++bits) {
        const unsigned int exponent = (bits >> 10U) & 31U;
        const unsigned int fraction = bits & 1023U;
        const float value = halfToFloat(static_cast<std::uint16_t>(bits));
        ASSERT_EQ(std::signbit(value), bits >= 0x8000U || false) << bits;
        if (exponent == 31) {
            ASSERT_EQ(std::isnan(value), fraction != 0) << bits;
            ASSERT_EQ(std::isinf(value), fraction == 0) << bits;
            continue;
        }
        const double whole = exponent == 0 ? fraction : 1024.0 + fraction;
        const int power = exponent == 0 ? -24 : static_cast<int>(exponent) - 25;
        ASSERT_EQ(std::fabs(value), std::ldexp(whole, power)) << bits;
    }
}
