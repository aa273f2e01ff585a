// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_MATH_MULTIVERSION_H
#define SELVANE_MATH_MULTIVERSION_H

#include <cstddef> // makes the C library declare itself

/// SELVANE_MULTIVERSION before the definition of a hot function compiles it for AVX2 and for plain x86-64;
/// the loader picks the version that the CPU can run, so the binary stays portable. Both give the same bits:
/// the build forbids fused multiply-add and reassociation, and a wide instruction rounds each lane as a
/// narrow one.
#if !defined(SELVANE_NO_MULTIVERSIONING) && defined(__x86_64__) && defined(__GLIBC__) &&                     \
    defined(__has_attribute)
#if __has_attribute(target_clones)
#define SELVANE_MULTIVERSION __attribute__((target_clones("avx2", "default")))
#endif
#endif
#ifndef SELVANE_MULTIVERSION
#define SELVANE_MULTIVERSION
#endif

#endif
