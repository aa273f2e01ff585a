// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_FIT_USABLECORES_H
#define SELVANE_FIT_USABLECORES_H

#include <cstddef>
#include <string>

/// Cores that this process may keep busy, at least 1: those that it is bound to, and no more than the time
/// that its control group and the groups above it are granted, rounded up.
/// @param root  folder in which /proc and /sys are looked for
std::size_t usableCores(const std::string& root = "");

#endif
