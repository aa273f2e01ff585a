// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_NODEBOX_H
#define SELVANE_CROSSCORRELATION_NODEBOX_H

#include <array>
#include <cstddef>

/// A box of whole grid nodes, given by the indices of its corner nodes along x, y, z, both inside; empty when
/// low > high on an axis. A field on a box is flat with z fastest, like one on a grid.
struct NodeBox {
    std::array<int, 3> low{0, 0, 0};
    std::array<int, 3> high{-1, -1, -1};

    bool isEmpty() const { return low[0] > high[0] || low[1] > high[1] || low[2] > high[2]; }

    /// Nodes along an axis.
    std::size_t extent(std::size_t axis) const {
        return low[axis] > high[axis] ? 0 : static_cast<std::size_t>(high[axis] - low[axis]) + 1;
    }

    std::size_t size() const { return extent(0) * extent(1) * extent(2); }

    /// Index in the box of node (i, j, k), which must lie inside.
    std::size_t index(int i, int j, int k) const {
        return (static_cast<std::size_t>(i - low[0]) * extent(1) + static_cast<std::size_t>(j - low[1])) *
                   extent(2) +
               static_cast<std::size_t>(k - low[2]);
    }
};

#endif
