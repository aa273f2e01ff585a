// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_PREPARATION_FASTSIZE_H
#define SELVANE_PREPARATION_FASTSIZE_H

#include <cstddef>

/// The smallest number of nodes, no less than n, that transforms fast: a product of 2, 3, 5 and 7 alone.
std::size_t fastSize(std::size_t n);

#endif
