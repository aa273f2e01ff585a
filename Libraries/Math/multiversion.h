// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_MULTIVERSION_H
#define SELVANE_MATH_MULTIVERSION_H

#include <cstddef> // makes the C library declare itself

/// SELVANE_MULTIVERSION before the definition of a hot function compiles it for AVX2 and for plain x86-64;
/// the loader picks the version that the CPU can run, so the binary stays portable. All give the same bits:
/// the build forbids fused multiply-add and reassociation, and a wide instruction rounds each lane as a
/// narrow one.
///
/// SELVANE_WIDE_MULTIVERSION adds a version for AVX-512, for loops where it pays, with compilers that can.
#if !defined(SELVANE_NO_MULTIVERSIONING) && defined(__x86_64__) && defined(__GLIBC__) &&                     \
    defined(__has_attribute)
#if __has_attribute(target_clones)
#define SELVANE_MULTIVERSION __attribute__((target_clones("avx2", "default")))
#if !defined(__clang__) && __GNUC__ >= 12
#define SELVANE_WIDE_MULTIVERSION __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#endif
#endif
#endif
#ifndef SELVANE_MULTIVERSION
#define SELVANE_MULTIVERSION
#endif
#ifndef SELVANE_WIDE_MULTIVERSION
#define SELVANE_WIDE_MULTIVERSION SELVANE_MULTIVERSION
#endif

#endif
