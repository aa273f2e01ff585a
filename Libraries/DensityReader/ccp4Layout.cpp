// SPDX-License-Identifier: GPL-3.0-or-later
#include "DensityReader/ccp4Layout.h"

namespace ccp4 {

std::optional<std::array<int, 3>> invertAxisOrder(const std::array<int, 3>& axisOrder) {
    constexpr int unset = -1;
    std::array<int, 3> xyz2crs{unset, unset, unset};
    for (int crs = 0; crs < 3; ++crs) {
        const int axis = axisOrder[static_cast<std::size_t>(crs)];
        if (axis < 1 || axis > 3) {
            return std::nullopt;
        }
        int& entry = xyz2crs[static_cast<std::size_t>(axis - 1)];
        if (entry != unset) {
            return std::nullopt;
        }
        entry = crs;
    }
    return xyz2crs;
}

std::array<int, 3> toAxes(const std::array<int, 3>& perCrs, const std::array<int, 3>& xyz2crs) {
    std::array<int, 3> perAxis{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        perAxis[axis] = perCrs[static_cast<std::size_t>(xyz2crs[axis])];
    }
    return perAxis;
}

std::array<std::size_t, 3> crsStrides(const std::array<std::size_t, 3>& shape,
                                      const std::array<int, 3>& xyz2crs) {
    const std::array<std::size_t, 3> axisStrides{shape[1] * shape[2], shape[2], 1};
    std::array<std::size_t, 3> strides{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        strides[static_cast<std::size_t>(xyz2crs[axis])] = axisStrides[axis];
    }
    return strides;
}

} // namespace ccp4
