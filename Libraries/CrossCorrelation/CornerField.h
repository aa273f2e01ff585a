// SPDX-License-Identifier: GPL-3.0-or-later
#ifndef SELVANE_CROSSCORRELATION_CORNERFIELD_H
#define SELVANE_CROSSCORRELATION_CORNERFIELD_H

#include <array>
#include <cstddef>

#include "Math/cGrid.h"

/// A field on a grid that is zero beyond a box of nodes at the grid's low corner. Refers to the box's values,
/// z fastest, and doesn't own them.
struct CornerField {
    const double* values;
    std::array<std::size_t, 3> size; ///< nodes of the box along x, y, z

    /// A field that fills its grid.
    static CornerField whole(const double* values, const cGrid& grid) {
        return {values, {grid.m_size[0], grid.m_size[1], grid.m_size[2]}};
    }

    double operator()(std::size_t i, std::size_t j, std::size_t k) const {
        return i < size[0] && j < size[1] && k < size[2] ? values[(i * size[1] + j) * size[2] + k] : 0.0;
    }
};

#endif
