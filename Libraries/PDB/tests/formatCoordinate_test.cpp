// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "PDB/formatCoordinate.h"

namespace {

std::string formatted(double value) {
    char text[coordinateCapacity];
    return std::string(text, formatCoordinate(value, text));
}

std::string printed(double value) {
    char text[coordinateCapacity];
    return std::string(text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "%8.3f", value)));
}

/// The value, its negative and the doubles next to them come out as printf gives them.
void expectAsPrinted(double value) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double near : {std::nextafter(value, -infinity), value, std::nextafter(value, infinity)}) {
        ASSERT_EQ(formatted(near), printed(near)) << value;
        ASSERT_EQ(formatted(-near), printed(-near)) << value;
    }
}

} // namespace

TEST(FormatCoordinate, FillsEightColumns) {
    EXPECT_EQ(formatted(0.0), "   0.000");
    EXPECT_EQ(formatted(12.3456), "  12.346");
    EXPECT_EQ(formatted(-12.3456), " -12.346");
    EXPECT_EQ(formatted(9999.999), "9999.999");
    EXPECT_EQ(formatted(-999.999), "-999.999");
}

TEST(FormatCoordinate, ZeroKeepsItsSign) {
    EXPECT_EQ(formatted(-0.0), "  -0.000");
    EXPECT_EQ(formatted(-0.0004), "  -0.000");
    EXPECT_EQ(formatted(0.0004), "   0.000");
}

TEST(FormatCoordinate, ValueTooLongForItsColumnsTakesMore) {
    EXPECT_EQ(formatted(9999.9995), printed(9999.9995));
    EXPECT_EQ(formatted(9999.9996), "10000.000");
    EXPECT_EQ(formatted(-999.9996), "-1000.000");
    EXPECT_EQ(formatted(99999.9996), "100000.000");
    EXPECT_EQ(formatted(999999.9996), "1000000.000");
    EXPECT_EQ(formatted(-999999.9996), "-1000000.000");
}

TEST(FormatCoordinate, TiesAreThoseOfTheExactValue) {
    EXPECT_EQ(formatted(0.0625), "   0.062"); // exact ties, to even
    EXPECT_EQ(formatted(0.1875), "   0.188");
    for (const double tie : {0.0005, 0.0015, 2.5e-3, 1.0005, 12.3455, 999.9995, 9999.9995, 123456.7895}) {
        expectAsPrinted(tie);
    }
    for (int n = 0; n < 40000; ++n) {
        expectAsPrinted((n * 499 + 0.5) / 1000.0);
        expectAsPrinted(n * 499 / 16.0);
    }
}

TEST(FormatCoordinate, RoundingMarginKeepsThePrintedDigits) {
    for (int n = 0; n < 5000; ++n) {
        for (const double off : {-2e-6, -1e-6, -1e-9, 1e-9, 1e-6, 2e-6}) {
            expectAsPrinted((n * 199999 + 0.5 + off) / 1000.0);
        }
    }
}

TEST(FormatCoordinate, ExtremeValuesAreThoseOfPrintf) {
    using Limits = std::numeric_limits<double>;
    for (const double value : {999999.9994, 999999.9995, 1e6, 1e8, 1e15, 4.5e15, 1e22, Limits::max(),
                               Limits::min(), Limits::denorm_min(), 1e-310, 4294967.295, 4294967.296}) {
        expectAsPrinted(value);
    }
    for (const double value : {Limits::infinity(), Limits::quiet_NaN()}) {
        EXPECT_EQ(formatted(value), printed(value));
        EXPECT_EQ(formatted(-value), printed(-value));
    }
}

TEST(FormatCoordinate, RandomCoordinatesAreThoseOfPrintf) {
    std::mt19937_64 random(1);
    for (const double range : {0.01, 1.0, 100.0, 2000.0, 2e6}) {
        std::uniform_real_distribution<double> value(-range, range);
        for (int n = 0; n < 100000; ++n) {
            const double exact = value(random);
            ASSERT_EQ(formatted(exact), printed(exact));
        }
    }
}

TEST(FormatCoordinate, RandomBitPatternsAreThoseOfPrintf) {
    std::mt19937_64 random(2);
    for (int n = 0; n < 20000; ++n) {
        const std::uint64_t bits = random();
        double value = 0.0;
        std::memcpy(&value, &bits, sizeof value);
        ASSERT_EQ(formatted(value), printed(value));
    }
}
