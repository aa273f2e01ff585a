// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FORMATS_HALFFLOAT_H
#define SELVANE_FORMATS_HALFFLOAT_H

#include <cstdint>
#include <cstring>

/// The value of an IEEE 754 binary16 number: 1 bit of sign, 5 of exponent (bias 15), 10 of fraction. Every
/// such number is a float exactly; infinities and what is no number stay so.
inline float halfToFloat(std::uint16_t half) {
    constexpr std::uint32_t fractionShift = 23 - 10;
    constexpr std::uint32_t biasDifference = 127 - 15;
    constexpr std::uint32_t allOnes = 0x1F;
    const std::uint32_t sign = static_cast<std::uint32_t>(half & 0x8000U) << 16U;
    const std::uint32_t exponent = (half >> 10U) & allOnes;
    const std::uint32_t fraction = half & 0x3FFU;
    if (exponent == 0) {
        constexpr float smallest = 1.0F / (1U << 24U); // a subnormal number counts in these
        const float size = static_cast<float>(fraction) * smallest;
        return sign == 0 ? size : -size;
    }
    const std::uint32_t wide = exponent == allOnes ? 0xFFU : exponent + biasDifference;
    const std::uint32_t bits = sign | (wide << 23U) | (fraction << fractionShift);
    float value = 0.0F;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

#endif
